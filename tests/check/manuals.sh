#!/usr/bin/env bash
# The manual pages are typeset without a warning. Every exported function has a page, and the pages show the prototypes of
# the headers, each of them and no other. Every cause of a failure stands in libkqutm's, every command in utmctl's, every
# option in utm-gateway's. Usage: manuals.sh PAGES UTMCTL UTM-GATEWAY, from the root of the sources.
set -euo pipefail

pages=$1
utmctl=$2
gateway=$3

# Each by itself: where one page ends would decide whether a cell of the next still fits.
typeset_well() {
    local page warnings
    for page in "$pages"/man1/* "$pages"/man3/kqutm_* "$pages"/man7/*; do
        warnings=$(groff -man -t -ww -z -Tutf8 -rcR=1 "$page" 2>&1)
        [[ -z $warnings ]] || { echo "$page: $warnings" && return 1; }
    done
}

# The prototypes of a family's header, one a line and without white space.
declared() {
    awk '/^UTM_API / { inside = 1 } inside { inside = !sub(/;.*/, ";"); printf inside ? "%s" : "%s\n", $0 }' "$1" |
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

# tells PAGE: of each term on standard input, at the start of a line.
tells() {
    local text term
    text=$(sed 's/\\f[BIR]//g; s/\\&//g; s/\\-/-/g' "$pages/$1")
    while read -r term; do
        [[ $text == *$'\n'"$term"[$' \n']* ]] || { echo "$1 lacks $term" && return 1; }
    done
}

# Our own pages that a page refers to.
every_reference_leads_somewhere() {
    local name section
    grep -ohE '\*(lib)?(kqutm|utm)[-a-z_]*\*\([137]\)' docs/man/*.scd | tr -d '*)' | sort -u | while IFS='(' read -r name section; do
        [[ -s $pages/man$section/$name.$section ]] || { echo "there is no $name($section)" && return 1; }
    done
}

causes() { grep -ohE '^ \*       E[A-Z]+' include/kqutm/common.h | tr -d ' *'; }
commands() { "$utmctl" --json help | grep -oP '"usage":"utmctl \K[^"]*'; }
options() { "$gateway" run --help | grep -oE '^  -[-a-zA-Z,]+' | sed 's/^ *//; s/,/, /'; }

typeset_well
prototypes_agree
every_export_has_a_page
every_reference_leads_somewhere
causes | tells man7/libkqutm.7
commands | tells man1/utmctl.1
options | tells man1/utm-gateway.1
echo "The manual pages are whole."
