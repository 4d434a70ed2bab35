#!/usr/bin/env bash
# The released library is small, quick to load, and frugal with its caller's stack. Usage: footprint.sh LIBRARY, built as
# Release for x86-64.
set -euo pipefail

failed=0

# at_most WHAT LIMIT ACTUAL
at_most() {
    printf '%s: %d of %d\n' "$1" "$3" "$2"
    (($3 <= $2)) || failed=1
}

section() { size -A "$1" | awk -v name="$2" '$1 == name { print $2 }'; }
relocations() { readelf -rW "$1" | grep -c "$2"; }

at_most "bytes of code" $((60 * 1024)) "$(section "$1" .text)"
at_most "bytes of state" 64 "$(section "$1" .bss)"
at_most "relocations" 160 "$(relocations "$1" R_X86_64)"
at_most "relative relocations" 24 "$(relocations "$1" R_X86_64_RELATIVE)"

# The deepest stack of any chain of calls inside the library: what each function pushes and reserves, and a return
# address for each. A call through a pointer counts as the deepest function that makes none itself.
deepest_stack() {
    objdump -d --no-show-raw-insn "$1" | awk '
        function number(hex,   value, i) {
            for (i = 3; i <= length(hex); i++) value = value * 16 + index("0123456789abcdef", substr(hex, i, 1)) - 1
            return value
        }
        function deepest(caller, through_pointers,   key, callees, count, i, found, most) {
            key = caller SUBSEP through_pointers
            if (key in known) return known[key]
            known[key] = 0 # a recursion ends here; there is none
            most = through_pointers && (caller in by_pointer) ? pointed_at : 0
            count = split(calls[caller], callees)
            for (i = 1; i <= count; i++) {
                found = deepest(callees[i], through_pointers)
                if (found > most) most = found
            }
            return known[key] = frame[caller] + most
        }
        function reaches_pointer(caller,   callees, count, i) {
            if (caller in by_pointer) return 1
            if (seen[caller]++) return reaching[caller]
            count = split(calls[caller], callees)
            for (i = 1; i <= count; i++) if (reaches_pointer(callees[i])) reaching[caller] = 1
            return reaching[caller]
        }
        /^[0-9a-f]+ <.*>:$/ { name = $2; gsub(/[<>:]/, "", name); frame[name] = 8; next }
        $2 == "push" { frame[name] += 8 }
        $2 == "add" && $3 == "$0xffffffffffffff80,%rsp" { frame[name] += 128 } # shorter than subtracting 128
        $2 == "sub" && $3 ~ /^\$0x[0-9a-f]+,%rsp$/ && $3 !~ /^\$0xffffffff/ {
            split(substr($3, 2), amount, ",")
            frame[name] += number(amount[1])
        }
        $2 ~ /^(call|j)/ && $NF ~ /^<[^+]+>$/ {
            callee = substr($NF, 2, length($NF) - 2)
            if (callee != name) calls[name] = calls[name] " " callee
        }
        $2 == "call" && $3 ~ /^\*/ && !/#/ { by_pointer[name] }
        END {
            for (name in frame) {
                if (!reaches_pointer(name) && deepest(name, 0) > pointed_at) pointed_at = deepest(name, 0)
            }
            for (name in frame)
                if (name ~ /^[a-zA-Z_0-9]+$/ && deepest(name, 1) > most) { most = deepest(name, 1); where = name }
            print most, where
        }'
}
read -r bytes where < <(deepest_stack "$1")
at_most "bytes of stack, in $where" $((16 * 1024)) "$bytes"
exit $failed
