#!/usr/bin/env bash
# The library is small, quick to load, and frugal with its caller's stack. Usage: footprint.sh LIBRARY, for x86-64 or
# 64-bit Arm, from the root of the sources. Prints each figure with its limit, if it has one; what the library needs is
# libc, and on 64-bit Arm its loader.
set -euo pipefail

library=$1
failed=0
sections=$(readelf -SW "$library")
relocations=$(readelf -rW "$library" | grep ' R_')
machine=$(readelf -hW "$library" | sed -n 's/^ *Machine: *//p')
case $machine in
AArch64) most_code=64 may_need='libc.so.6 ld-linux-aarch64.so.1' objdump=aarch64-linux-gnu-objdump ;;
*) most_code=60 may_need=libc.so.6 objdump=objdump ;;
esac

# at_most WHAT LIMIT ACTUAL
at_most() {
    printf '%s: %d of %d\n' "$1" "$3" "$2"
    (($3 <= $2)) || failed=1
}

# bytes_of SECTION...: of all of them together
bytes_of() {
    local name size total=0
    for name in "$@"; do
        size=$(sed -n "s/^ *\[ *[0-9]*\] $name  *[A-Z_]* *[0-9a-f]* [0-9a-f]* \([0-9a-f]*\) .*/\1/p" <<<"$sections")
        total=$((total + 16#${size:-0}))
    done
    echo "$total"
}

# bytes_in_memory: of all that the loader maps
bytes_in_memory() {
    local size total=0
    while read -r size; do total=$((total + size)); done < <(readelf -lW "$library" | awk '$1 == "LOAD" { print $6 }')
    echo "$total"
}

at_most "bytes in memory" $((96 * 1024)) "$(bytes_in_memory)"
at_most "bytes of code" $((most_code * 1024)) "$(bytes_of '\.text')"
printf 'bytes of constants: %d\n' "$(bytes_of '\.rodata' '\.data\.rel\.ro')"
printf 'bytes for unwinding: %d\n' "$(bytes_of '\.eh_frame' '\.eh_frame_hdr')"
printf 'bytes of names: %d\n' "$(bytes_of '\.dynsym' '\.dynstr' '\.gnu\.hash' '\.gnu\.version' '\.gnu\.version_d')"
at_most "bytes of state" 64 "$(bytes_of '\.bss')"
at_most "relocations" 160 "$(wc -l <<<"$relocations")"
at_most "relative relocations" 24 "$(grep -c '_RELATIV' <<<"$relocations")"
needed=$(tests/check/needed "$library")
printf 'needed libraries: %s\n' "$needed"
[[ $needed == "$may_need" ]] || failed=1

# The deepest stack of any chain of calls inside the library: what each function pushes and reserves, and a return
# address for each where the processor puts it there. A call through a pointer counts as the deepest function that makes
# none itself.
deepest_stack() {
    "$objdump" -d --no-show-raw-insn "$library" | awk '
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
        /file format elf64-x86-64/ { return_address = 8 }
        /^[0-9a-f]+ <.*>:$/ { name = $2; gsub(/[<>:]/, "", name); frame[name] = return_address; next }
        $2 == "push" { frame[name] += 8 }
        $2 == "add" && $3 == "$0xffffffffffffff80,%rsp" { frame[name] += 128 } # shorter than subtracting 128
        $2 == "sub" && $3 ~ /^\$0x[0-9a-f]+,%rsp$/ && $3 !~ /^\$0xffffffff/ {
            split(substr($3, 2), amount, ",")
            frame[name] += number(amount[1])
        }
        $2 == "sub" && $3 $4 == "sp,sp," { frame[name] += number(substr($5, 2)) * ($6 == "lsl" ? 4096 : 1) }
        match($0, /\[sp, #-[0-9]+\]!/) { frame[name] += substr($0, RSTART + 6, RLENGTH - 8) }
        $2 ~ /^(call|j|bl?$)/ && $NF ~ /^<[^+]+>$/ {
            callee = substr($NF, 2, length($NF) - 2)
            if (callee != name) calls[name] = calls[name] " " callee
        }
        $2 == "call" && $3 ~ /^\*/ && !/#/ || $2 == "blr" { by_pointer[name] }
        END {
            for (name in frame) {
                if (!reaches_pointer(name) && deepest(name, 0) > pointed_at) pointed_at = deepest(name, 0)
            }
            for (name in frame)
                if (name ~ /^[a-zA-Z_0-9]+$/ && deepest(name, 1) > most) { most = deepest(name, 1); where = name }
            print most, where
        }'
}
read -r bytes where < <(deepest_stack)
at_most "bytes of stack" $((16 * 1024)) "$bytes"
printf 'deepest in: %s\n' "$where"
exit $failed
