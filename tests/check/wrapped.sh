#!/usr/bin/env bash
# Tests can make each call of libc fail that the library makes, but those that cannot fail. Usage: wrapped.sh LIBRARY
# CALL..., the calls that they can.
set -euo pipefail

cannot_fail=(__errno_location feof memcpy memset snprintf strcmp strerror_r strlen strnlen strtol vsnprintf)

# By their plain names, without those of the compiler's guards and of newer standards.
called() {
    nm -D --undefined-only "$1" | awk '$1 == "U" { print $2 }' |
        sed -E 's/@.*//; s/^__(.*)_chk$/\1/; s/^__isoc[0-9]+_//; /^(stdout|__stack_chk_.*)$/d' | sort -u
}

diff <(called "$1") <(printf '%s\n' "${@:2}" "${cannot_fail[@]}" | sort)
echo "Tests can make each of $(($# - 1)) calls of the library fail; ${#cannot_fail[@]} more cannot fail."
