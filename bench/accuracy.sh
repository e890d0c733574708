#!/usr/bin/env bash
# Prints how well the recogniser does on recordings of people: commands right, other speech and noise
# taken for commands, clean and in noise.
#
#   bench/accuracy.sh [--quick] [options of the program]
#
# The program is that of the preset bench; BUILD names another build folder.
#
# The recordings are those of Debian packages, named in bench/accuracy.tsv; what of them is installed
# is used, and the table says how many that were. Packages: pocketsphinx-testdata alsa-utils
# asterisk-core-sounds-en-g722 ktuberling-data, and ffmpeg to decode them.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${BUILD:-build/bench}
folder=build/recordings
list=$folder/list.tsv
mkdir -p "$folder"
: >"$list"
missing=0
while IFS=$'\t' read -r group source text; do
    case $group in
    '' | '#'*) continue ;;
    '!'*) printf '%s\t%s\n' "$group" "$source" >>"$list"; continue ;;
    esac
    if [[ ! -f $source ]]; then
        missing=$((missing + 1))
        continue
    fi
    file=$folder/$(tr / _ <<<"${source#/usr/share/}").raw
    if [[ ! -s $file ]]; then
        format=()
        [[ $source == *.raw ]] && format=(-f s16le -ar 16000 -ac 1)
        ffmpeg -nostdin -v error "${format[@]}" -i "$source" -f s16le -ar 16000 -ac 1 -y "$file"
    fi
    printf '%s\t%s\t%s\n' "$group" "$file" "$text" >>"$list"
done <bench/accuracy.tsv
((missing == 0)) || echo "$missing recordings are not installed"
"$build/bin/accuracy" "$@" "$list"
