# shellcheck shell=bash
# What the tests in shell share; sourced by them.
failures=0

expect_equal() { # expect_equal WHAT EXPECTED ACTUAL
    [[ $2 == "$3" ]] && return
    failures=$((failures + 1))
    printf '%s differ:\n' "$1"
    diff <(echo "$2") <(echo "$3") || true
}

prints_status() { # prints_status PROGRAM...: the event of the new status comes before the end of input
    coproc program { "$@" 2>&1; }
    local line seen=1 pid=$program_PID in=${program[1]} out=${program[0]}
    while IFS=$'\r' read -r -t 60 -u "$out" line; do
        printf '%s\n' "$line"
        if [[ $line == 'event 1012: {"status":"understanding"}' ]]; then
            seen=0
            break
        fi
    done
    echo >&"$in"
    wait "$pid" && return "$seen"
}
