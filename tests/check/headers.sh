#!/usr/bin/env bash
# Every public header compiles alone, and all together, as C99 and as C++11 to C++20, with g++'s and clang's compilers; the
# headers of the C++ layer as C++20, without exceptions and RTTI.
# Usage: headers.sh C-COMPILER C++-COMPILER, from the root of the sources.
set -euo pipefail

warnings=(-Wall -Wextra -pedantic -Werror -Iinclude -fsyntax-only)

compile() {
    local header
    for header in kqutm.h $(cd include && echo kqutm/*.h); do
        echo "$* $header"
        printf '#include "%s"\n' "$header" | "$@" "${warnings[@]}" -
    done
    echo "$* with all of them"
    (cd include && printf '#include "%s"\n' kqutm/*.h kqutm.h kqutm/*.h) | "$@" "${warnings[@]}" -
}

for compiler in "$1" clang; do
    compile "$compiler" -xc -std=c99
done
for compiler in "$2" clang++; do
    for standard in 11 14 17 20; do
        compile "$compiler" -xc++ -std=c++$standard
    done
done
for compiler in "$2" clang++; do
    echo "$compiler with the C++ layer"
    (cd include && printf '#include "%s"\n' kqutm/hpp/*.hpp kqutm.hpp) |
        "$compiler" -xc++ -std=c++20 -fno-exceptions -fno-rtti -Wshadow -Wconversion "${warnings[@]}" -
done
