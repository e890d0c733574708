#!/usr/bin/env bash
# usage: install_test.sh BUILD-FOLDER SOURCE-FOLDER C-COMPILER
#
# Installs the build into a fresh folder; a program outside the tree then finds, links and runs the
# library there, once through the CMake package and once through pkg-config.
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/installed

cmake --install "$build" --prefix "$prefix" >/dev/null
cp -r "$source/examples" "$work/outside"

cmake -S "$work/outside" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_C_COMPILER="$compiler" >/dev/null
cmake --build "$work/cmake" >/dev/null
prints_status "$work/cmake/events"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name vantel.pc)")
flags=$(pkg-config --cflags --libs vantel)
library_folder=$(pkg-config --variable=libdir vantel)
# shellcheck disable=SC2086  # the flags are several words
"$compiler" -std=c11 "$source/examples/events.c" $flags -Wl,-rpath,"$library_folder" \
    -o "$work/events"
prints_status "$work/events"
