#!/usr/bin/env bash
# utmctl knows the meaning of every text that the library logs or prints, and of no other. A text is a literal that ends
# its line, or one of the notes that do not. Usage: explained.sh UTMCTL, from the root of the sources.
set -euo pipefail

written() {
    local folders=(common event registry cf app ips devid av ir)
    grep -hoE '"([^"\\]|\\.)*\\n"|"response->[^"]*"|puts\("[^"]*' "${folders[@]/%//}" -r |
        sed -E 's/^puts\(//; s/^"//; s/"$//; s/\\n$//' |
        grep -vx '%d' | sort -u # the number in the daemon's command file is none
}

explained() { "$1" explain | grep -v '^    ' | sort -u; }

diff <(written) <(explained "$1")
echo "Each of the $(written | wc -l) texts of the library has its meaning."
