#!/usr/bin/env bash
# usage: package_test.sh BUILD-FOLDER SOURCE-FOLDER C-COMPILER RECORDING
#
# Makes the package and unpacks it somewhere else. There the quick start has to come true: the tool
# recognises a command, and the example compiles, links and runs, by hand and through CMake.
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
build=$1 source=$2 compiler=$3 recording=$4
wine=$source/scripts/run-under-wine
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

(cd "$build" && cpack -B "$work/made" >"$work/log") || { cat "$work/log"; exit 1; }
cd "$work"
cmake -E tar xf made/*.zip
cd vantel-*-windows-x86_64
for path in QUICKSTART.md include/vantel/vantel.h bin/{vantel,quillon,ostrel}.dll \
    lib/lib{vantel,quillon,ostrel}.dll.a share/vantel/README.txt \
    share/vantel/model/en-us/cmudict-en-us.dict; do
    [[ -s $path ]] || { echo "the package has no $path"; exit 1; }
done

# No folder of the building machine is left in what travels.
if grep -l "$build" bin/* lib/*.a; then exit 1; fi

if [[ -s share/vantel/silero_vad_v5.onnx && -s share/vantel/win32-x64/onnxruntime.dll ]]; then
    "$wine" bin/vantel.exe run --fast --audio "$recording" | tee "$work/events"
    grep -q '"go forward ten meters"' "$work/events"
else
    echo "the package has no detector of speech: the tool was not tried"
fi

says_hello() { # says_hello PROGRAM: typed text gets a reply
    "$wine" "$1" | tr -d '\r' | grep '^event 1005: .*Good to hear' >/dev/null
}
"$compiler" examples/text.c -Iinclude -Iinclude/vantel -Llib -lvantel -lquillon -o bin/text.exe
says_hello bin/text.exe

cmake -S examples -B "$work/host" -G Ninja -DCMAKE_SYSTEM_NAME=Windows \
    -DCMAKE_C_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$PWD" >/dev/null
cmake --build "$work/host" >/dev/null
cp "$work/host/text.exe" bin
says_hello bin/text.exe
