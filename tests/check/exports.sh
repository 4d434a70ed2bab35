#!/usr/bin/env bash
# Headers, export list and library name the same functions, each in its version node: KQUTM_1.0 for the operations,
# KQUTM_PRIVATE for the routines without the prefix. What the static library shows besides has C++ names, which a program
# cannot have by accident. Usage: exports.sh LIBRARY STATIC_LIBRARY, from the root of the sources.
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

shown_by_archive() { nm -g --defined-only "$1" | awk 'NF == 3 && $3 !~ /^(_Z|__odr_asan)/ { print $3 }' | sort -u; }

diff <(declared) <(listed)
diff <(listed) <(exported "$1")
diff <(listed | cut -d ' ' -f 1) <(shown_by_archive "$2")
echo "Headers, export list and library agree on $(listed | wc -l) functions."
