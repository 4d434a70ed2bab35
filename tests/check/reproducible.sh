#!/usr/bin/env bash
# The libraries of a build folder do not tell where they were built: another compiler run, over a copy of the sources in
# another folder, gives the same bytes. Usage: reproducible.sh BUILD-FOLDER, from the root of the sources.
set -euo pipefail
build=$1
elsewhere=$(mktemp -d)
trap 'rm -rf "$elsewhere"' EXIT

git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$elsewhere"
(
    cd "$elsewhere"
    unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER # nothing from a cache
    cmake -S . -B over/there -DCMAKE_BUILD_TYPE=Release \
        -DKQUTM_BUILD_{EXAMPLES,MANUALS,SIMULATOR,TESTS,TOOLS}=OFF >/dev/null
    cmake --build over/there --target kqutm kqutm_static --parallel "$(nproc)" >/dev/null
)
for library in libkqutm.so libkqutm.a; do
    cmp "$build/$library" "$elsewhere/over/there/$library"
done
echo "Two builds in two folders gave the same libraries."
