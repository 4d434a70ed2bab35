#!/usr/bin/env bash
# What programs are compiled against is what it was: functions with their version node, records, constants, as the files in
# tests/check/abi tell. Usage: abi.sh LIBRARY [--accept], from the root of the sources; with --accept the files are written
# anew. CONTRIBUTING.md tells what may change in which version.
set -euo pipefail
library=$1
golden=tests/check/abi
now=$(mktemp -d)
trap 'rm -rf "$now"' EXIT

read_headers() { printf '#include <%s>\n' kqutm.h | clang -xc -std=c99 -ffreestanding -Iinclude "$@" -; }

# The prototypes, each on a line behind the version node of its function in the library.
functions() {
    awk 'NR == FNR { node[$1] = $2; next }
        /^UTM_API/ { prototype = "" ; inside = 1 }
        inside { sub(/^ +/, ""); sub(/ +\/\*.*\*\/$/, ""); prototype = prototype (prototype == "" ? "" : " ") $0 }
        inside && /;$/ {
            inside = 0
            sub(/^UTM_API /, "", prototype)
            name = prototype
            sub(/\(.*/, "", name)
            sub(/.*[ *]/, "", name)
            print node[name], prototype
        }' <(nm -D --defined-only --with-symbol-versions "$library" | awk '$2 != "A" { sub("@@", " ", $3); print $3 }') \
        include/kqutm/*.h | LC_ALL=C sort
}

# Every record with the offset of each field, and its size.
records() {
    read_headers --target="$1" -fsyntax-only -Xclang -fdump-record-layouts-complete |
        awk -v RS= '/ (struct|union) utm_/ { sub(/^[^\n]*\n/, ""); gsub(/ at [^)]*\)/, ")"); print $0 "\n" }'
}

# Every macro and every enumerator, with its value.
constants() {
    read_headers -E -dM | sed -nE 's/^#define (UTM_[A-Z0-9_]+) (["0-9].*)/\1 \2/p' | LC_ALL=C sort
    read_headers -E -P | awk '/^enum / { inside = 1 } inside && $2 == "=" { sub(/,$/, ""); print $1, $3 } /};/ { inside = 0 }'
}

functions >"$now/functions"
records x86_64-linux-gnu >"$now/records"
constants >"$now/constants"
diff <(records aarch64-linux-gnu) "$now/records" || {
    echo "The records of 64-bit Arm are not those of x86-64."
    exit 1
}
[[ ${2-} != --accept ]] || cp "$now"/* "$golden"
diff -ru "$golden" "$now"
echo "Functions, records and constants are as they were."
