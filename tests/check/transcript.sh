#!/usr/bin/env bash
# What a page shows as typed at a terminal is true: its commands, in their order, print what stands below them. Such blocks
# start with "$ ". Usage: transcript.sh PAGE GATEWAY ARGUMENT..., from the root of the sources.
set -euo pipefail

shown() { awk '/^```$/ { inside = 0 } was_fence && /^\$ / { inside = 1 } inside { print } { was_fence = /^```$/ }' "$1"; }
typed() { sed -n 's/^[$>] //p'; }

# The shell prints each line before it runs it.
printed() { "$@" -- bash -c 'exec 2>&1 && bash -v' </dev/stdin; }

diff <(shown "$1" | sed 's/^[$>] //') <(shown "$1" | typed | printed "${@:2}")
echo "$(shown "$1" | grep -c '^\$ ') commands of $1 print what it shows."
