#!/usr/bin/env bash
# The manual pages are typeset without a warning. Every exported function has a page, and the pages show the prototypes of
# the headers, each of them and no other; every command has its line in utmctl's. Usage: manuals.sh PAGES UTMCTL, from the
# root of the sources.
set -euo pipefail

pages=$1
utmctl=$2

typeset_well() {
    local warnings
    warnings=$(groff -man -t -ww -z -Tutf8 "$pages"/man1/* "$pages"/man3/kqutm_* "$pages"/man7/* 2>&1)
    [[ -z $warnings ]] || { echo "$warnings" && return 1; }
}

# The prototypes of a family's header, one a line and without white space.
declared() {
    awk '/^UTM_API / { wanted = 1 } wanted { ended = sub(/;.*/, ";"); printf ended ? "%s\n" : "%s", $0; wanted = !ended }' "$1" |
        sed 's/^UTM_API//; s/UTM_PRINTF([^)]*)//' | tr -d ' \t' | sort
}

# The same of its page: the bold lines that end like a prototype.
shown() { sed -n 's/^\\fB\([^#][^;]*;\).*\\fR$/\1/p' "$1" | sed 's/\\&//g' | tr -d ' ' | sort; }

prototypes_agree() {
    local header
    for header in include/kqutm/*.h; do
        diff <(declared "$header") <(shown "$pages/man3/kqutm_$(basename "$header" .h).3")
    done
}

every_export_has_a_page() {
    local function
    sed -n 's/^\t\([a-zA-Z_0-9]*\);$/\1/p' libkqutm.map | while read -r function; do
        shown "$pages/man3/$function.3" | grep -q "[*a-z0-9]$function(" || { echo "$function has no page" && return 1; }
    done
}

every_command_has_its_line() {
    local terms
    terms=$(sed -n 's/^\\fB\(.*\)\\fR$/\1/p' "$pages/man1/utmctl.1" | sed 's/\\&//g')
    "$utmctl" --json help | grep -oP '"usage":"utmctl \K[^"]*' | while read -r usage; do
        grep -qxF -- "$usage" <<<"$terms" || { echo "utmctl(1) lacks $usage" && return 1; }
    done
}

typeset_well
prototypes_agree
every_export_has_a_page
every_command_has_its_line
echo "The manual pages are whole."
