# shellcheck shell=bash
# What the tests in shell share; sourced by them.
failures=0

fail() { # fail WHAT
    failures=$((failures + 1))
    echo "$1"
}

expect_equal() { # expect_equal WHAT EXPECTED ACTUAL
    [[ $2 == "$3" ]] && return
    fail "$1 differ:"
    diff <(echo "$2") <(echo "$3") || true
}
