#!/usr/bin/env bash
# Prints how well the recogniser does on recordings of people: commands right, other speech and noise
# taken for commands, clean and in noise.
#
#   bench/accuracy.sh [--quick] [options of the program accuracy]
#   SPEECH=FOLDER bench/accuracy.sh [--quick] [options of the program accuracy_people]
#
# The programs are those of the preset bench; BUILD names another build folder. ffmpeg decodes the
# recordings.
#
# Without SPEECH they are those of Debian packages, named in bench/accuracy.tsv; what of them is
# installed is used, and the table says how many that were. Packages: pocketsphinx-testdata alsa-utils
# asterisk-core-sounds-en-g722 ktuberling-data.
#
# SPEECH is a folder of clips with one command each, which go through detector and recogniser as in a
# dialog: NAME/NAME.gram with NAME/labels.tsv (file and what is said: words, or the command's
# parameters as JSON), and noise/kitchen.*. Other speech are the clips of one grammar for another,
# shouts, announcements and a book; music is one of the noises. Packages for those: hedgewars-data
# asterisk-core-sounds-en-g722 pocketsphinx-testdata. --quick takes every fourth clip.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD:-build/bench}
folder=build/recordings
list=$folder/list.tsv
mkdir -p "$folder"
: >"$list"

# Prints the name of the decoded file.
decode() { # source
    local file format=()
    file=$folder/$(tr / _ <<<"${1#/usr/share/}").raw
    if [[ ! -s $file ]]; then
        [[ $1 == *.raw ]] && format=(-f s16le -ar 16000 -ac 1)
        ffmpeg -nostdin -v fatal "${format[@]}" -i "$1" -f s16le -ar 16000 -ac 1 -y "$file"
    fi
    printf '%s' "$file"
}

list_packages() {
    local missing=0 group source text
    while IFS=$'\t' read -r group source text; do
        case $group in
        '' | '#'*) continue ;;
        '!'*) printf '%s\t%s\n' "$group" "$source" >>"$list"; continue ;;
        esac
        if [[ ! -f $source ]]; then
            missing=$((missing + 1))
            continue
        fi
        printf '%s\t%s\t%s\n' "$group" "$(decode "$source")" "$text" >>"$list"
    done <bench/accuracy.tsv
    ((missing == 0)) || echo "$missing recordings are not installed"
}

# Lists at most forty sounds of half a second to six, taken evenly from the files given.
list_other() { # kind, files
    local kind=$1 step=$((($# + 38) / 40)) source file bytes
    shift
    while (($# > 0)); do
        source=$1
        shift $((step < $# ? step : $#))
        [[ -f $source ]] || continue
        file=$(decode "$source")
        bytes=$(stat -c %s "$file")
        ((bytes < 16000 || bytes > 192000)) || printf 'other\t%s\t%s\n' "$file" "$kind" >>"$list"
    done
}

list_people() {
    local name clip text source
    local hedgewars=/usr/share/games/hedgewars/Data
    for name in "$SPEECH"/*/; do
        name=$(basename "$name")
        [[ -f $SPEECH/$name/$name.gram ]] || continue
        printf 'grammar\t%s\n' "$SPEECH/$name/$name.gram" >>"$list"
        while IFS=$'\t' read -r clip text; do
            printf '%s\t%s\t%s\n' "$name" "$(decode "$SPEECH/$name/$clip")" "$text" >>"$list"
        done <"$SPEECH/$name/labels.tsv"
    done
    for source in "$SPEECH"/noise/kitchen.*; do
        [[ ! -f $source ]] || printf 'kitchen\t%s\n' "$(decode "$source")" >>"$list"
    done
    for source in "$hedgewars"/Music/*.ogg; do
        [[ ! -f $source ]] || printf 'music\t%s\n' "$(decode "$source")" >>"$list"
    done
    list_other shouts "$hedgewars"/Sounds/voices/{British,Classic,Default,HillBilly,Mobster,Pirate,Surfer}/*.ogg
    list_other announcements /usr/share/asterisk/sounds/en_US_f_Allison/*.g722
    list_other 'a book' /usr/share/pocketsphinx/test/data/librivox/*.wav
}

if [[ -n ${SPEECH:-} ]]; then
    list_people
    [[ ${1:-} != --quick ]] || set -- --every 4 "${@:2}"
    exec "$build/bin/accuracy_people" "$@" "$list"
fi
list_packages
exec "$build/bin/accuracy" "$@" "$list"
