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

# What a list of exports promises: all names; the ordinals of those that have one.
promised_names() { sed -n 's/^\([A-Za-z_]*\)\( @[0-9]*\)\?$/\1/p' "$1" | sort; }
promised_ordinals() { sed -n 's/^[a-z_]* @\([0-9]*\)$/\1/p' "$1" | sort -n; }
