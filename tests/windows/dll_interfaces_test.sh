#!/usr/bin/env bash
# usage: dll_interfaces_test.sh OBJDUMP FOLDER-OF-DLLS SOURCE-FOLDER
#
# What the three DLLs show to others and ask of others, read from the files themselves.
set -euo pipefail
objdump=$1 folder=$2 source=$3
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"

exported_names() {
    "$objdump" -p "$1" | sed -n '/Name Pointer\] Table/,/^$/s/^.*\] //p' | grep -v Table | sort
}
exported_ordinals() {
    "$objdump" -p "$1" | sed -n 's/^.*+base\[ *\([0-9]*\)\].*Export RVA$/\1/p' | sort -n
}
needed() { "$objdump" -p "$1" | sed -n 's/^.*DLL Name: //p' | sort; }
# What the DLL $1 imports of the DLL $2: a name, or <none> for an ordinal.
imported() {
    "$objdump" -p "$1" | sed -n "/DLL Name: $2/,/^\$/p" | awk 'NR > 2 && NF { print $3 }' | sort -u
}

expect_equal "exports of vantel.dll" "$(promised_names "$source/src/vantel/vantel.exports")" \
    "$(exported_names "$folder/vantel.dll")"
expect_equal "exports of ostrel.dll" "$(promised_names "$source/ostrel/ostrel.exports")" \
    "$(exported_names "$folder/ostrel.dll")"
expect_equal "ordinals of quillon.dll" "$(promised_ordinals "$source/quillon/quillon.exports")" \
    "$(exported_ordinals "$folder/quillon.dll")"
expect_equal "export names of quillon.dll" "" "$(exported_names "$folder/quillon.dll" || true)"
expect_equal "imports of quillon.dll" "<none>" "$(imported "$folder/vantel.dll" quillon.dll)"

runtime=$'KERNEL32.dll\nmsvcrt.dll'
expect_equal "libraries needed by vantel.dll" "$runtime"$'\nostrel.dll\nquillon.dll' \
    "$(needed "$folder/vantel.dll")"
expect_equal "libraries needed by quillon.dll" "$runtime" "$(needed "$folder/quillon.dll")"
expect_equal "libraries needed by ostrel.dll" "$runtime" "$(needed "$folder/ostrel.dll")"

((failures == 0))
