#!/usr/bin/env bash
# Prints how well the recogniser does on Mandarin commands over the English acoustic model, whole
# turns through the detector.
#
#   [SPEECH=FOLDER] bench/mandarin.sh [--quick] [options of the program accuracy_people]
#
# The program is that of the preset bench; BUILD names another build folder. --quick takes every
# fourth clip.
#
# No recordings of whole commands by people are to be had. What stands in for them:
#
#   home:synthetic   commands of bench/mandarin.tsv spoken by espeak-ng in 17 voices
#   home:speaker 3, 5  the same from syllables recorded by two speakers (package gcin-voice), cut at
#                    both ends where they are silent and joined in 7 ways: no speech as people speak
#                    it, but human voices
#   joined           commands of two recorded words, with nothing or 80 ms between them
#   words            single recorded words; short for the method
#
# The last two are there with a SPEECH folder (bench/accuracy.sh): mandarin/labels.tsv with a word a
# file. Other speech are Chinese sentences made in the same ways, the recorded words, and English.
# Packages: espeak-ng gcin-voice pocketsphinx-testdata ffmpeg.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD:-build/bench}
folder=build/recordings/mandarin
list=$folder/list.tsv
syllables=/usr/share/gcin-voice/ogg
mkdir -p "$folder"
: >"$list"

# Voice, words a minute, pitch.
voices=(
    '+m1 150 50' '+m2 150 50' '+m3 150 50' '+m4 150 50' '+m5 150 50' '+m6 150 50' '+m7 150 50'
    '+f1 150 50' '+f2 150 50' '+f3 150 50' '+f4 150 50'
    '_ 130 50' '_ 150 35' '_ 150 65' '_ 175 50' '+m3 130 40' '+f2 170 60'
)
# Silence behind each syllable in seconds, speed.
joins=('0 1' '0.03 1' '0.06 1' '0.1 1' '0 1.15' '0.03 1.15' '0.03 0.9')

# Of other sentences: enough for a rate.
other_voices=("${voices[@]:0:4}")
other_joins=("${joins[@]:0:4}")

# The commands of the set "joined".
joined=(
    '关闭 电灯' '关闭 空调' '关闭 窗户' '关闭 窗帘' '关闭 电视' '关闭 音乐' '关闭 收音机' '关闭 洗衣机'
    '关闭 录音机' '关闭 电风扇' '关闭 暖气' '关闭 导航' '播放 音乐' '播放 新闻' '播放 电影' '停止 播放'
    '停止 导航' '继续 播放' '开始 导航' '开始 录音机' '提高 温度' '降低 温度' '提高 声音' '降低 声音'
    '今天 天气' '明天 天气' '返回 客厅' '取消 电话'
)
words=35 # of the recorded ones, the first, are the set "words"

# What is quieter than this before and behind a recorded syllable is cut off: joined with their own
# silences the syllables would stand apart.
edge='silenceremove=start_periods=1:start_threshold=-50dB:detection=peak'

to_samples=(-f s16le -ar 16000 -ac 1 -y)

synthesise() { # pinyin, voice, speed, pitch, file
    [[ -s $5 ]] && return
    espeak-ng -v "cmn-latn-pinyin${2#_}" -s "$3" -p "$4" --stdout "$1" |
        ffmpeg -nostdin -v error -i pipe:0 "${to_samples[@]}" "$5"
}

# Joins recordings, the edges cut, with silence behind each.
join() { # silence, speed, file, recordings
    local silence=$1 speed=$2 file=$3 inputs=() filters='' links='' count=0 recording
    shift 3
    [[ -s $file ]] && return
    for recording in "$@"; do
        inputs+=(-i "$recording")
        filters+="[$count:a]aresample=16000,$edge,areverse,$edge,areverse,apad=pad_dur=$silence[s$count];"
        links+="[s$count]"
        count=$((count + 1))
    done
    ffmpeg -nostdin -v error "${inputs[@]}" -filter_complex \
        "$filters${links}concat=n=$count:v=0:a=1,atempo=$speed[out]" -map '[out]' \
        "${to_samples[@]}" "$file"
}

add() { # kind, file, text
    printf '%s\t%s\t%s\n' "$1" "$2" "$3" >>"$list"
}

add_grammar() { # name, alternatives
    printf '#JSGF V1.0;\ngrammar %s;\npublic <top> = %s;\n' "$1" "$2" >"$folder/$1.gram"
    add grammar "$folder/$1.gram" ''
}

# The sentences of one kind, commands or others, in the voices and joins given.
add_sentences() { # kind of the table, synthetic or speaker, ways
    local wanted=$1 speaker=$2 kind text pinyin names each file recordings
    shift 2
    while IFS=$'\t' read -r kind text pinyin names; do
        [[ $kind == "$wanted" ]] || continue
        for each in "$@"; do
            if [[ $speaker == synthetic ]]; then
                file=$folder/${pinyin// /}.${each// /_}.raw
                synthesise "$pinyin" $each "$file"
            else
                file=$folder/${pinyin// /}.$speaker.${each// /_}.raw
                recordings=()
                for name in $names; do recordings+=("$syllables/$name/$speaker.ogg"); done
                join $each "$file" "${recordings[@]}"
            fi
            [[ $speaker == synthetic ]] || local source="speaker $speaker"
            if [[ $kind == command ]]; then
                add "home:${source:-synthetic}" "$file" "$text"
            else
                add other "$file" "sentences, ${source:-synthetic}"
            fi
        done
    done <bench/mandarin.tsv
}

add_recorded_words() {
    local -A recorded=()
    local file text count=0 alternatives='' command gap target parts each
    while IFS=$'\t' read -r file text; do
        recorded[$text]=$SPEECH/mandarin/$file
        target=$folder/word-${file%.*}.raw
        [[ -s $target ]] || ffmpeg -nostdin -v error -i "${recorded[$text]}" "${to_samples[@]}" "$target"
        if ((count++ < words)); then
            alternatives+="${alternatives:+ | }$text"
            add words "$target" "$text"
        else
            add other "$target" 'single words'
        fi
    done <"$SPEECH/mandarin/labels.tsv"
    add_grammar words "$alternatives"

    alternatives=''
    for command in "${joined[@]}"; do
        alternatives+="${alternatives:+ | }$command"
        for gap in 0 0.08; do
            parts=()
            for each in $command; do parts+=("${recorded[$each]}"); done
            target=$folder/joined-${command// /}.$gap.raw
            join $gap 1 "$target" "${parts[@]}"
            add joined "$target" "$command"
        done
    done
    add_grammar joined "$alternatives"
}

alternatives=''
while IFS=$'\t' read -r kind text _; do
    [[ $kind != command ]] || alternatives+="${alternatives:+ | }$text"
done <bench/mandarin.tsv
add_grammar home "$alternatives"
add_sentences command synthetic "${voices[@]}"
add_sentences other synthetic "${other_voices[@]}"
for speaker in 3 5; do
    add_sentences command $speaker "${joins[@]}"
    add_sentences other $speaker "${other_joins[@]}"
done
for file in /usr/share/pocketsphinx/test/data/librivox/*.wav; do
    copy=$folder/$(basename "$file").raw
    tail -c +45 "$file" >"$copy" # without the header
    add other "$copy" English
done
if [[ -n ${SPEECH:-} ]]; then
    add_recorded_words
    for file in "$SPEECH"/{coffee,wake}/*[05].flac "$SPEECH"/noise/kitchen.*; do
        [[ -f $file ]] || continue
        copy=$folder/$(basename "$file").raw
        [[ -s $copy ]] || ffmpeg -nostdin -v error -i "$file" "${to_samples[@]}" "$copy"
        case $file in
        */noise/*) add kitchen "$copy" '' ;;
        *) add other "$copy" English ;;
        esac
    done
fi
[[ ${1:-} != --quick ]] || set -- --every 4 "${@:2}"
exec "$build/bin/accuracy_people" "$@" "$list"
