#!/usr/bin/env bash
# Prints how well the recogniser does on Mandarin commands over the English acoustic model.
#
#   bench/mandarin.sh [options of the program]
#
# The program is that of the preset bench; BUILD names another build folder.
#
# No recordings of whole commands by people are to be had. The table has three sets in their place:
#
#   synthetic       commands spoken by espeak-ng in 17 voices
#   syllables 3, 5  syllables recorded by two speakers (package gcin-voice), cut at both ends where
#                   they are silent and joined into commands in 7 ways: no speech as people speak
#                   it, but human voices
#
# What is no command are other Chinese sentences made in the same ways, and English recordings.
# Packages: espeak-ng gcin-voice pocketsphinx-testdata ffmpeg.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD:-build/bench}
folder=build/recordings/mandarin
syllables=/usr/share/gcin-voice/ogg
english=/usr/share/pocketsphinx/test/data/librivox
# Voice, words a minute, pitch.
voices=(
    '+m1 150 50' '+m2 150 50' '+m3 150 50' '+m4 150 50' '+m5 150 50' '+m6 150 50' '+m7 150 50'
    '+f1 150 50' '+f2 150 50' '+f3 150 50' '+f4 150 50'
    '_ 130 50' '_ 150 35' '_ 150 65' '_ 175 50' '+m3 130 40' '+f2 170 60'
)
# Silence behind each syllable in seconds, speed.
joins=('0 1' '0.03 1' '0.06 1' '0.1 1' '0 1.15' '0.03 1.15' '0.03 0.9')

# What is quieter than this before and behind a recorded syllable is cut off: joined with their own
# silences the syllables would stand apart.
edge='silenceremove=start_periods=1:start_threshold=-50dB:detection=peak'

to_samples=(-f s16le -ar 16000 -ac 1 -y)

synthesise() { # pinyin, voice, speed, pitch, file
    [[ -s $5 ]] && return
    espeak-ng -v "cmn-latn-pinyin${2#_}" -s "$3" -p "$4" --stdout "$1" |
        ffmpeg -nostdin -v error -i pipe:0 "${to_samples[@]}" "$5"
}

join() { # syllables, speaker, silence, speed, file
    [[ -s $5 ]] && return
    local inputs=() filters='' links='' count=0 syllable
    for syllable in $1; do
        inputs+=(-i "$syllables/$syllable/$2.ogg")
        filters+="[$count:a]aresample=16000,$edge,areverse,$edge,areverse,apad=pad_dur=$3[s$count];"
        links+="[s$count]"
        count=$((count + 1))
    done
    ffmpeg -nostdin -v error "${inputs[@]}" -filter_complex \
        "$filters${links}concat=n=$count:v=0:a=1,atempo=$4[out]" -map '[out]' "${to_samples[@]}" "$5"
}

# Writes the list of one set: its commands as the grammar, each trial's file and words.
make_list() { # set
    local set=$1 kind words pinyin names each file group grammar=''
    while IFS=$'\t' read -r kind words pinyin names; do
        [[ $kind == command ]] && grammar+="${grammar:+ | }$words"
    done <bench/mandarin.tsv
    printf '!%s\t%s\n' "$set" "$grammar"
    while IFS=$'\t' read -r kind words pinyin names; do
        [[ $kind == command || $kind == other ]] || continue
        group=$set
        [[ $kind == other ]] && group=other
        if [[ $set == synthetic ]]; then
            for each in "${voices[@]}"; do
                file=$folder/${pinyin// /}.${each// /_}.raw
                synthesise "$pinyin" $each "$file"
                printf '%s\t%s\t%s\n' "$group" "$file" "$words"
            done
        else
            for each in "${joins[@]}"; do
                file=$folder/${pinyin// /}.$set.${each// /_}.raw
                join "$names" "${set#syllables}" $each "$file"
                printf '%s\t%s\t%s\n' "$group" "$file" "$words"
            done
        fi
    done <bench/mandarin.tsv
}

mkdir -p "$folder"
for set in synthetic syllables3 syllables5; do
    make_list "$set" >"$folder/$set.tsv"
    # English, without the header of the files.
    for file in "$english"/*.wav; do
        copy=$folder/$(basename "$file").raw
        tail -c +45 "$file" >"$copy"
        printf 'other\t%s\t\n' "$copy" >>"$folder/$set.tsv"
    done
    printf '\n%s:\n\n' "$set"
    "$build/bin/accuracy" "$@" "$folder/$set.tsv"
done
