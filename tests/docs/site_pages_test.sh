#!/usr/bin/env bash
# usage: site_pages_test.sh SOURCE-FOLDER
#
# The pages name only what is there: links and their headings, files, functions in files; and every
# event and error has its row, with the number and text that the code has.
# shellcheck disable=SC2016  # backquotes of Markdown
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
cd "$1"
pages=(README.md CONTRIBUTING.md CHANGELOG.md docs/*.md packaging/windows/QUICKSTART.md)
checked=0

anchors() { # of a page, as sites make them of its headings
    sed -n 's/^##* //p' "$1" | tr '[:upper:]' '[:lower:]' | sed 's/[^a-z0-9 _-]//g; s/ /-/g'
}
for page in "${pages[@]}"; do
    while IFS= read -r link; do
        [[ $link != *://* ]] || continue
        checked=$((checked + 1))
        target=$page
        [[ -z ${link%%#*} ]] || target=$(dirname "$page")/${link%%#*}
        [[ -e $target ]] || { fail "$page: the link $link leads nowhere"; continue; }
        [[ $link != *#* ]] || anchors "$target" | grep -Fx "${link#*#}" >/dev/null ||
            fail "$page: $target has no heading for #${link#*#}"
    done < <(grep -oP '\]\(\K[^)\s]+(?=\))' "$page")
    while IFS= read -r path; do
        [[ -d ${path%%/*} && $path != build/* ]] || continue
        checked=$((checked + 1))
        [[ -e $path ]] || fail "$page: there is no $path"
    done < <(grep -oP '`\K[a-z]+(/[\w.-]+)+/?(?=`)' "$page")
    while read -r name path; do
        checked=$((checked + 1))
        grep -w "$name" "$path" >/dev/null 2>&1 || fail "$page: $path has no $name"
    done < <(tr '\n' ' ' <"$page" | grep -oP '`\w+` +\(`[\w/.]+\.(cpp|h)`' | tr -d '`(')
done

while read -r name number; do
    checked=$((checked + 1))
    grep -P "^\| [^|]*\b$number\b[^|]*\|[^|]*\`$name\`" docs/events.md >/dev/null ||
        fail "docs/events.md has no row for $name, $number"
done < <(sed -n 's/^ *\(VANTEL_EVENT_[A-Z_]*\) = \([0-9]*\).*/\1 \2/p' include/vantel/vantel.h)

texts=$(tr -d '\n' <src/agent/error_report.cpp | sed 's/" *"//g; s/, *"/, "/g')
while read -r name number; do
    checked=$((checked + 1))
    row=$(grep -F "| $number | \`$name\` | \"" docs/errors.md) ||
        { fail "docs/errors.md has no row for $name, $number"; continue; }
    text=$(cut -d'"' -f2 <<<"$row")
    [[ $texts == *"{VANTEL_ERROR_$name, \"$text\"}"* ]] ||
        fail "docs/errors.md has another text for $name"
done < <(sed -n 's/^ *VANTEL_ERROR_\([A-Z_]*\) = \(-[0-9]*\).*/\1 \2/p' include/vantel/errors.h)

((checked > 300)) || fail "only $checked things were found to check"
((failures == 0))
