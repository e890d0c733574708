#!/usr/bin/env bash
# usage: dll_interfaces_test.sh OBJDUMP FOLDER-OF-DLLS SOURCE-FOLDER
#
# What the three DLLs show to others and ask of others, read from the files themselves.
set -euo pipefail
objdump=$1 folder=$2 source=$3
# shellcheck source=tests/support/checks.sh
. "$(dirname "$0")/../support/checks.sh"

# The names, or ordinals, that a .def file promises.
promised_names() { sed -n '/EXPORTS/,$s/^ \+\([A-Za-z_]*\)$/\1/p' "$1" | sort; }
promised_ordinals() { sed -n 's/^ *[a-z_]* @\([0-9]*\) NONAME$/\1/p' "$1" | sort -n; }

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

names=$(promised_names "$source/src/vantel/vantel.def")
expect_equal "number of functions of vantel.def" 43 "$(wc -l <<<"$names")"
expect_equal "exports of vantel.dll" "$names" "$(exported_names "$folder/vantel.dll")"
expect_equal "exports of ostrel.dll" "$(promised_names "$source/ostrel/ostrel.def")" \
    "$(exported_names "$folder/ostrel.dll")"
expect_equal "ordinals of quillon.dll" "$(promised_ordinals "$source/quillon/quillon.def")" \
    "$(exported_ordinals "$folder/quillon.dll")"
expect_equal "export names of quillon.dll" "" "$(exported_names "$folder/quillon.dll" || true)"
expect_equal "imports of quillon.dll" "<none>" "$(imported "$folder/vantel.dll" quillon.dll)"

runtime=$'KERNEL32.dll\nmsvcrt.dll'
expect_equal "libraries needed by vantel.dll" "$runtime"$'\nostrel.dll\nquillon.dll' \
    "$(needed "$folder/vantel.dll")"
expect_equal "libraries needed by quillon.dll" "$runtime" "$(needed "$folder/quillon.dll")"
expect_equal "libraries needed by ostrel.dll" "$runtime" "$(needed "$folder/ostrel.dll")"

((failures == 0))
