#!/usr/bin/env bash
# The built library needs libc alone, runs no code of its own when it is loaded, and is hardened. Usage: linkage.sh LIBRARY plain|fortified
set -euo pipefail

failed=0

# expect WHAT EXPECTED ACTUAL
expect() {
    [[ $2 == "$3" ]] && return
    printf '%s: expected "%s", found "%s"\n' "$@"
    failed=1
}

dynamic=$(readelf -dW "$1")
headers=$(readelf -lW "$1")
tag() { sed -n "s/.*($1) *\(.*\)/\1/p" <<<"$dynamic"; }

expect "needed libraries" "Shared library: [libc.so.6]" "$(tag NEEDED)"
expect "name" "Library soname: [libkqutm.so.1]" "$(tag SONAME)"
expect "initialisers (the compiler's own is one)" "8 (bytes)" "$(tag INIT_ARRAYSZ)"
expect "finalisers (the compiler's own is one)" "8 (bytes)" "$(tag FINI_ARRAYSZ)"
expect "constructors of the old kind" "" "$(readelf -SW "$1" | grep -E '\.(ctors|dtors)')"
expect "text relocations" "" "$(tag TEXTREL)"
expect "immediate binding" "NOW" "$(tag FLAGS_1 | grep -o NOW)"
expect "relocations made read-only" "1" "$(grep -c GNU_RELRO <<<"$headers")"
expect "stack" "RW" "$(awk '/GNU_STACK/ { print $(NF - 1) }' <<<"$headers")"
undefined=$(nm -D --undefined-only "$1")
expect "stack protector" "__stack_chk_fail" "$(grep -o '__stack_chk_fail' <<<"$undefined")"
if [[ $2 == fortified ]]; then
    expect "fortified calls that print" "__printf_chk __snprintf_chk __vsnprintf_chk" \
        "$(grep -oE '__v?s?n?printf_chk' <<<"$undefined" | sort | xargs)"
fi
expect "thread-local storage" "" "$(grep ' TLS ' <<<"$headers" || true)"
expect "symbols of a C++ runtime" "" "$(nm -D --undefined-only "$1" | grep -E 'CXX|__cxa_(throw|guard|pure)|_Z' || true)"

# The compiler's own flag and handle have 8 bytes at the most.
expect "state" "" "$(size -A "$1" | awk '($1 == ".data" || $1 == ".bss") && $2 > 8 { print $1, $2 }')"
exit $failed
