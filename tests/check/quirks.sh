#!/usr/bin/env bash
# Every quirk that the sources mark with "// Deliberate:" has a test that stands under the same comment, word by word; and
# no such comment of a test has lost its quirk. Usage: quirks.sh, from the root of the sources.
set -euo pipefail

marks() { grep -rhoE --include='*.cpp' --include='*.h' '// Deliberate: .*' "$@" | sort -u; }

diff <(marks . --exclude-dir=tests --exclude-dir='build*') <(marks tests)
echo "Every quirk has its test."
