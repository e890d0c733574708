#!/usr/bin/env bash
# usage: cut_short_test.sh TOOL RECORDING
#
# A signal, a full disk or a reader that goes away ends a run with the right code, and its temporary
# folder goes as well.
set -euo pipefail
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"
tool=$1 recording=$2
TMPDIR=$(mktemp -d)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT

for signal in INT TERM HUP; do
    # In a run of its own, since a shell has the interrupt ignored by what it starts beside itself.
    coproc run { exec env --default-signal=INT "$tool" run --json "$recording" 2>&1; }
    # shellcheck disable=SC2154  # the coprocess sets it
    pid=$run_PID
    read -r -t 60 -u "${run[0]}" _ # the dialog has begun
    kill -s "$signal" "$pid"
    code=0
    wait "$pid" || code=$?
    expect_equal "codes after $signal" 2 "$code"
done

# Standard input that neither ends nor goes on.
mkfifo "$TMPDIR/input"
exec 3<>"$TMPDIR/input"
coproc run { exec "$tool" run --json - <"$TMPDIR/input" 2>&1; }
pid=$run_PID
head -c 20000 "$recording" >&3
read -r -t 60 -u "${run[0]}" _
kill "$pid"
code=0
wait "$pid" || code=$?
expect_equal "codes after the end of waiting for input" 2 "$code"

code=0
complaint=$("$tool" run --fast --json "$recording" 2>&1 >/dev/full) || code=$?
expect_equal "a full disk" "1 vantel: the output cannot be written: No space left on device" \
    "$code $complaint"
codes=$("$tool" run --json "$recording" 2>"$TMPDIR/complaint" | head -n 1 >/dev/null
    echo "${PIPESTATUS[0]}") || true
expect_equal "a closed pipe" "1 vantel: the output cannot be written: Broken pipe" \
    "$codes $(cat "$TMPDIR/complaint")"
code=0
"$tool" --help 2>/dev/null >/dev/full || code=$?
expect_equal "help on a full disk" 1 "$code"

rm "$TMPDIR/complaint" "$TMPDIR/input"
expect_equal "what is left" "" "$(ls "$TMPDIR")"
exit "$((failures > 0))"
