#!/usr/bin/env bash
# usage: keys_test.sh TOOL DOCS-FOLDER
#
# The tables of docs/configuration.md and docs/engine.md have the keys of apps/config_keys.cpp and no
# others, so that a configuration is checked against what is documented.
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
tool=$1 docs=$2

documented=$(
    awk -F'|' '
        /^## `vantelInit`/ { below = "init." }
        /^## `vantelNew`/ { below = "" }
        /^\| `"/ { print below $2 }' "$docs/configuration.md" |
        sed -E 's/", `"/ /' | awk '
        { below = match($0, /^init\./) ? "init." : ""
          while (match($0, /`("[A-Za-z]+"\.?)+`/)) {
              key = substr($0, RSTART, RLENGTH); $0 = substr($0, RSTART + RLENGTH)
              gsub(/[`"]/, "", key); print below key } }'
    awk -F'|' '
        /^## / { below = $0 ~ /Library/ ? "init" : $0 ~ /Voice/ ? "vad" : $0 ~ /Gramm/ ? "gram" \
                       : $0 ~ /Recogniser/ ? "asr" : "" }
        /^\|/ && !inside { inside = 1; keys = $2 ~ /^ key/ }
        !/^\|/ { inside = 0 }
        /^\| "/ && keys && below != "" {
            while (match($2, /"[A-Za-z]+"/)) {
                print below "." substr($2, RSTART + 1, RLENGTH - 2)
                $2 = substr($2, RSTART + RLENGTH) } }' "$docs/engine.md"
)
# Objects stand in the documents where they have members of their own; the confidence's scale has
# its members in the text.
documented=$(grep -vxE 'vad|gram|asr|asr.confidenceScale' <<<"$documented" | sort -u)
known=$("$tool" config keys | cut -d' ' -f1 | grep -v '^asr.confidenceScale' | sort -u)
expect_equal "keys in the documents (>) and in apps/config_keys.cpp (<)" "$known" "$documented"
exit "$((failures > 0))"
