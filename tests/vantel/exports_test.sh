#!/usr/bin/env bash
# usage: exports_test.sh FOLDER-OF-LIBRARIES SOURCE-FOLDER MAJOR-VERSION
#
# What the three shared libraries show to others and ask of others, read from the files themselves.
set -euo pipefail
folder=$1 source=$2 major=$3
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"

# The functions that a header marks with the word $2.
declared() { grep -oP "^$2 .*?\K[a-zA-Z_]+(?=\()" "$1" | sort; }
exported() { nm -D --defined-only "$folder/lib$1.so" | awk '$2 != "A" { print $3 }' | sort; }
dynamic() { objdump -p "$folder/lib$1.so" | awk -v tag="$2" '$1 == tag { print $2 }' | sort; }

expect_equal "number of functions of vantel.h" 43 \
    "$(declared "$source/include/vantel/vantel.h" VANTEL_API | wc -l)"
expect_equal "what is declared of libvantel" "$(promised_names "$source/src/vantel/vantel.exports")" \
    "$(declared "$source/include/vantel/vantel.h" VANTEL_API)"
# The bus has functions of its own beyond its contract.
expect_equal "what is declared of libquillon" \
    "$(promised_names "$source/quillon/quillon.exports" | grep -v quillon_clock_advance)" \
    "$(declared "$source/contracts/quillon.h" CONTRACT_API)"
expect_equal "what is declared of libostrel" "$(promised_names "$source/ostrel/ostrel.exports")" \
    "$(declared "$source/contracts/ostrel.h" CONTRACT_API)"
for name in src/vantel/vantel quillon/quillon ostrel/ostrel; do
    expect_equal "exports of ${name##*/}" "$(promised_names "$source/$name.exports")" \
        "$(exported "${name##*/}")"
done
for name in vantel quillon ostrel; do
    expect_equal "name of lib$name" "lib$name.so.$major" "$(dynamic "$name" SONAME)"
done
expect_equal "own libraries needed by libvantel" "libostrel.so.$major"$'\n'"libquillon.so.$major" \
    "$(dynamic vantel NEEDED | grep -E 'quillon|ostrel')"

((failures == 0))
