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

names=$(declared "$source/include/vantel/vantel.h" VANTEL_API)
expect_equal "number of functions of vantel.h" 43 "$(wc -l <<<"$names")"
expect_equal "exports of libvantel" "$names" "$(exported vantel)"
expect_equal "exports of libquillon" \
    "$(declared "$source/contracts/quillon.h" CONTRACT_API; echo quillon_clock_advance)" \
    "$(exported quillon | grep -v quillon_clock_advance; exported quillon | grep quillon_clock)"
expect_equal "exports of libostrel" "$(declared "$source/contracts/ostrel.h" CONTRACT_API)" \
    "$(exported ostrel)"
for name in vantel quillon ostrel; do
    expect_equal "name of lib$name" "lib$name.so.$major" "$(dynamic "$name" SONAME)"
done
expect_equal "own libraries needed by libvantel" "libostrel.so.$major"$'\n'"libquillon.so.$major" \
    "$(dynamic vantel NEEDED | grep -E 'quillon|ostrel')"

((failures == 0))
