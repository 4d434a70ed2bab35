#!/usr/bin/env bash
# What the manuals show as typed at a terminal is true: the commands, in their order, print what stands below them. Such
# blocks start with "$ ". Usage: transcript.sh BUILD-FOLDER, from the root of the sources.
set -euo pipefail
export PATH=$1:$PATH
place=$(mktemp -d "$1/transcript.XXXXXX")
trap 'rm -rf "$place"' EXIT

shown() { awk '/^```$/ { inside = 0 } was_fence && /^\$ / { inside = 1 } inside { print } { was_fence = /^```$/ }' "$1"; }
typed() { sed -n 's/^[$>] //p'; }

# holds PAGE COMMAND...: where COMMAND runs a shell, which prints each line before it runs it.
holds() {
    diff <(shown "$1" | sed 's/^[$>] //') <(shown "$1" | typed | "${@:2}" bash -c 'exec 2>&1 && bash -v')
    echo "$(shown "$1" | grep -c '^\$ ') commands of $1 print what it shows."
}

holds docs/man/utmctl.1.scd utm-gateway run --scenario examples/home.json --
holds docs/man/utm-gateway.1.scd env -C "$place"
