#!/usr/bin/env bash
# Headers, export list and library name the same functions, each in its version node: KQUTM_1.0 for the operations,
# KQUTM_PRIVATE for the routines without the prefix. Usage: exports.sh LIBRARY, from the root of the sources.
set -euo pipefail

# NAME in NODE, as each of the three has it.
declared() {
    sed -n 's/^UTM_API [^(]*[ *]\([a-zA-Z_0-9]*\)(.*/\1/p' include/kqutm/*.h |
        awk '{ print $1, /^_*utm_/ ? "KQUTM_1.0" : "KQUTM_PRIVATE" }' | sort
}

listed() {
    awk '/^KQUTM_/ { node = $1 } /^\t[a-zA-Z_0-9]+;/ { sub(";", ""); print $1, node }' libkqutm.map | sort
}

exported() {
    nm -D --defined-only --with-symbol-versions "$1" | awk '$2 != "A" { sub("@@", " ", $3); print $3 }' | sort
}

diff <(declared) <(listed)
diff <(listed) <(exported "$1")
echo "Headers, export list and library agree on $(listed | wc -l) functions."
