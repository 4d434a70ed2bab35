#!/usr/bin/env bash
# What these pages show as typed at a terminal is true: the commands, in their order, print what stands below them. Those of
# utmctl's manual are typed on the gateway of a home, those of its document on one without a scenario, all others in a copy
# of the examples. Usage: transcript.sh BUILD-FOLDER PAGE..., from the root of the sources.
set -euo pipefail
export PATH=$1:$PATH CPATH=$PWD/include LIBRARY_PATH=$1
place=$(mktemp -d "$1/transcript.XXXXXX")
trap 'rm -rf "$place"' EXIT

shown() { tests/check/shown tests/check/not_run "$1" | sed -n 's/^typed //p'; }
typed() { sed -n 's/^[$>] //p'; }

# holds PAGE COMMAND...: where COMMAND runs a shell, which prints each line before it runs it.
holds() {
    diff <(shown "$1" | sed 's/^[$>] //') <(shown "$1" | typed | "${@:2}" bash -c 'exec 2>&1 && bash -v')
    echo "$(shown "$1" | grep -c '^\$ ') commands of $1 print what it shows."
}

for page in "${@:2}"; do
    [[ -n $(shown "$page") ]] || continue
    case $page in
    */utmctl.1.scd) holds "$page" utm-gateway run --scenario examples/home.json -- ;;
    */utmctl.md) holds "$page" utm-gateway run -- env -C /tmp ;;
    *)
        cp -r examples "$place/$(basename "$page")"
        holds "$page" env -C "$place/$(basename "$page")"
        ;;
    esac
done
