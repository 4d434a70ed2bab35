#!/usr/bin/env bash
# A rehearsal of utmctl serves every function of libc through which the library reaches out of its process: what the
# library calls is either defined by utmctl or one of those below, which change nothing that outlives the process.
# Usage: rehearsed.sh LIBRARY UTMCTL
set -euo pipefail

harmless='calloc fdopen feof fgets flock fprintf fputs free freeifaddrs fscanf ftok getifaddrs inet_ntop listen malloc
memcpy memset printf pthread_sigmask puts read recv select setsockopt sigaddset sigemptyset sigismember sigpending
sigtimedwait snprintf socket strcmp strerror_r strlen strnlen strtol time vsnprintf'

# Names without version and without the mark of a checked variant; those with other underscores are the compiler's own.
called() {
    nm -D --undefined-only "$1" | awk '{ print $2 }' |
        sed -E 's/@.*//; s/^__isoc[0-9]+_//; s/^__(.*)_chk$/\1/' | grep -v '^_' | grep -vx stdout | sort -u
}

served() { nm -D --defined-only "$1" | awk '$2 == "T" { print $3 }' | sort -u; }

unknown=$(comm -23 <(called "$1") <(sort -u <(served "$2") <(tr ' ' '\n' <<<"$harmless")))
if [[ -n $unknown ]]; then
    echo "utmctl --dry-run lets these calls of the library through: ${unknown//$'\n'/ }"
    exit 1
fi
echo "Each of the $(called "$1" | wc -l) functions that the library calls is known to a rehearsal."
