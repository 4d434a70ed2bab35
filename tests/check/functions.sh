#!/usr/bin/env bash
# The table of functions names the prototypes of the library, and beside each the function that it calls. abi.sh shows
# that tests/check/abi/functions tells those of the headers.
# Usage: functions.sh UTMCTL, from the root of the sources.
set -euo pipefail

declared() {
    sed -E 's/^[^ ]+ //; s/ UTM_PRINTF\([^)]*\)//; s/;$//' tests/check/abi/functions | sort
}

described() {
    "$1" --json describe | grep -oE '"prototype":"[^"]*"' | cut -d '"' -f 4 | sort
}

# FUNCTION NAME, as it is bound and as its prototype has it.
bound() {
    cat operations/*_functions.cpp | tr '\n' ' ' | grep -oE 'bound(_through)?<[A-Za-z_]+[^"]*"[^"(]*\(' |
        sed -E 's/bound(_through)?<([A-Za-z_]+).*[ *]([A-Za-z_]+)\($/\2 \3/'
}

diff <(declared) <(described "$1")
diff <(bound | cut -d ' ' -f 1) <(bound | cut -d ' ' -f 2)
[[ $(bound | wc -l) == $(declared | wc -l) ]]
echo "Headers and table agree on $(declared | wc -l) prototypes."
