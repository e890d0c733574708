#!/usr/bin/env bash
# usage: example_test.sh TOOL
#
# The example is complete and right: as it is printed, plain, and with everything switched on.
set -euo pipefail
tool=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$tool" config example >"$work/commented.json"
"$tool" config example --plain >"$work/plain.json"
sed 's|^\( *\)// \( *["}]\)|\1\2|' "$work/commented.json" >"$work/all.json"
"$tool" config check "$work"/{commented,plain,all}.json
if grep // "$work/plain.json"; then
    echo "the plain example has comments"
    exit 1
fi
