#!/usr/bin/env bash
# usage: pages_test.sh TOOL FOLDER-OF-PAGES
#
# The manual page has every command with its options, and bash completes them.
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
tool=$1 pages=$2

page=$(sed 's/\\-/-/g; s/\\f[BIR]//g' "$pages/vantel.1")
for command in run listen "grammar check" "grammar try" "grammar words" "config check" "config example"; do
    # shellcheck disable=SC2086  # a command is one word or two
    help=$("$tool" $command --help)
    section=$(awk -v head=".SS \"vantel $command [OPTIONS]" \
        'index($0, ".S") == 1 { inside = index($0, head) == 1 } inside' <<<"$page")
    for option in $(grep -oE '^  (RECORDING|FILE|SENTENCE|-)[-a-zA-Z,]*' <<<"$help" | tr ',' ' '); do
        grep -qE -- "(^|[ ,])$option([ ,]|\$)" <<<"$section" ||
            { echo "no $option of $command in the manual page"; failures=$((failures + 1)); }
    done
done

# shellcheck source=/dev/null
. "$pages/vantel.bash"
completed() { # completed WORD...: what the last word can become
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    _vantel
    echo "${COMPREPLY[*]-}"
}
expect_equal "commands" "grammar" "$(completed vantel gr)"
expect_equal "inner commands" "try" "$(completed vantel grammar t)"
expect_equal "options" "--language --log --list-devices" "$(completed vantel run --l)"
expect_equal "values" "en zh" "$(completed vantel run --language "")"
expect_equal "files" "$pages/vantel.1" "$(completed vantel grammar check "$pages/vantel.1")"
expect_equal "files of options" "$pages/vantel.1" "$(completed vantel run --config "$pages/vantel.1")"
exit "$((failures > 0))"
