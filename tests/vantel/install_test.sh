#!/usr/bin/env bash
# usage: install_test.sh BUILD-FOLDER SOURCE-FOLDER C-COMPILER RECORDING
#
# Installs the build into a fresh folder; programs outside the tree then find, link and run the
# library there: the examples through the CMake package, the README's program, as it stands there,
# through pkg-config.
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
build=$1 source=$2 compiler=$3 recording=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/installed
command='{"api":"go","param":{"direction":"forward","meters":10}}'

cmake --install "$build" --prefix "$prefix" >/dev/null
cp -r "$source/examples" "$work/outside"
cmake -S "$work/outside" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_COMPILER="$compiler" >/dev/null
cmake --build "$work/cmake" >/dev/null
cd "$work/outside"
expect_equal "the recording's command" "$command" "$("$work/cmake/command" "$recording")"
"$work/cmake/text" | grep 'event 1005: .*Good to hear' >/dev/null || fail "text got no reply"
"$work/cmake/dialog_client" | grep 'event 1005: .*On my way' >/dev/null || fail "no second reply"

# The page's first configuration is a whole one.
awk '/^```json$/ { inside = !seen++; next } /^```$/ { inside = 0 } inside' \
    "$source/docs/configuration.md" >"$work/page.json"
said=$("$prefix/bin/vantel" run --fast --config "$work/page.json" "$recording" 2>&1) ||
    fail "no command with the page's configuration: $said"
# The model of the streaming recogniser is not installed, and the tool says so.
expect_equal "warnings about the page's configuration" "" \
    "$(grep '^vantel:' <<<"$said" | grep -v 'no model streaming_en_us$' || true)"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name vantel.pc)")
library_folder=$(pkg-config --variable=libdir vantel)
link() { # link PACKAGE SOURCE PROGRAM
    local flags
    read -ra flags <<<"$(pkg-config --cflags --libs "$1")"
    "$compiler" -std=c11 "$2" "${flags[@]}" -Wl,-rpath,"$library_folder" -o "$3"
}
# shellcheck disable=SC2016  # fences of Markdown
sed -n '/^```c$/,/^```$/{/^```/d;p}' "$source/README.md" >"$work/microphone.c"
link vantel "$work/microphone.c" "$work/microphone"
coproc program { "$work/microphone"; }
# shellcheck disable=SC2154  # coproc sets it
in=${program[1]} out=${program[0]} pid=$program_PID
wait_for() { # wait_for LINE: on the program's output
    local line
    while IFS= read -r -t 60 -u "$out" line; do [[ $line == "$1" ]] && return; done
    fail "the README's program did not print $1"
}
wait_for '{"status":"listening"}' # what comes before belongs to no turn
cat "$recording" >&"$in"
head -c 32000 /dev/zero >&"$in"
wait_for "$command"
exec {in}>&-
wait "$pid" || fail "the README's program ended with $?"

printf '#include <contracts/ostrel.h>\nint main(void) { return ostrel_library_load("{}"); }\n' \
    >"$work/engine.c"
link vantel-ostrel "$work/engine.c" "$work/engine"
"$work/engine" || fail "the engine alone does not load"

# A whole path, since the folder may have a name as short as "/vantel".
folder="(^|[^[:alnum:]_./-])$(sed 's/[][().*+?^${}|\\]/\\&/g' <<<"$source")(/|$)"
for library in "$library_folder"/lib{vantel,quillon,ostrel}.so; do
    ! strings --data "$library" | grep -E "$folder" || fail "$library names a folder of its build"
done

((failures == 0))
