#!/usr/bin/env bash
# What is installed is enough to build the examples: through pkg-config in every standard, with gcc and clang, and through
# find_package; and the programs run on a simulated gateway. Usage: consumers.sh BUILD-FOLDER, from the root of the sources.
set -euo pipefail
build=$1
examples=$PWD/examples
place=$(mktemp -d "$build/consumers.XXXXXX")
trap 'rm -rf "$place"' EXIT
library=$place/usr/lib

fail() {
    printf '%s\n' "$*"
    exit 1
}

# compile COMPILER STANDARDS SOURCE...: as strictly as a program can ask for.
compile() {
    local standard
    for standard in $2; do
        echo "$1 -std=$standard"
        "$1" -std="$standard" -Wall -Wextra -pedantic -Werror -fsyntax-only "${cflags[@]}" "${@:3}"
    done
}

# gives EXAMPLE PROGRAM: on the simulated gateway of a home the program prints what the example is expected to.
gives() {
    LD_LIBRARY_PATH=$library "$examples/expect" "$examples/expected/$1.txt" "$build/utm-gateway" run \
        --scenario "$examples/home.json" -- "$2"
}

# expect_needed PROGRAM LIBRARIES
expect_needed() {
    local needed
    needed=$(tests/check/needed "$place/$1")
    [[ $needed == "$2" ]] || fail "$1: $needed"
}

cmake --install "$build" --prefix "$place/usr" >/dev/null

# The library is a file by the name that makes the System V keys, and the versioned name leads to it.
[[ -f $library/libkqutm.so && ! -L $library/libkqutm.so ]] || fail "libkqutm.so is no file"
[[ $(readlink "$library/libkqutm.so.1") == libkqutm.so ]] || fail "libkqutm.so.1 does not lead to libkqutm.so"
[[ ! -d $build/man || -s $place/usr/share/man/man3/utm_ips_activate.3 ]] || fail "the manual pages are missing"
[[ -x $place/usr/bin/utmctl && -x $place/usr/bin/utm-gateway ]] || fail "the programs are missing"

export PKG_CONFIG_PATH=$library/pkgconfig
read -ra cflags < <(pkg-config --cflags kqutm)
read -ra libs < <(pkg-config --libs kqutm)
for compiler in gcc clang; do compile "$compiler" "c99 c11 c2x" "$examples"/*.c; done
for compiler in g++ clang++; do
    compile "$compiler" "c++11 c++14 c++17 c++20" "$examples/guests.cpp"
    compile "$compiler" "c++20" "$examples"/{devices,usage}.cpp
done
for compiler in g++ clang++; do
    "$compiler" -std=c++17 -Wfatal-errors -fsyntax-only "${cflags[@]}" "$examples/devices.cpp" >"$place/refusal" 2>&1 &&
        fail "$compiler takes kqutm.hpp for C++17"
    grep -q 'kqutm.hpp needs C++20' "$place/refusal" || fail "$(<"$place/refusal")"
done

echo "Linked by each compiler"
for compiler in gcc clang; do
    "$compiler" -std=c99 "${cflags[@]}" "$examples/household.c" "${libs[@]}" -o "$place/household_$compiler"
    gives household "$place/household_$compiler"
done
for compiler in g++ clang++; do
    "$compiler" -std=c++11 "${cflags[@]}" "$examples/guests.cpp" "${libs[@]}" -o "$place/guests_$compiler"
    gives guests "$place/guests_$compiler"
done

echo "find_package"
cmake -S "$examples" -B "$place/examples" -DCMAKE_PREFIX_PATH="$place/usr" >/dev/null
cmake --build "$place/examples" --target example_guests --target example_devices >/dev/null
gives guests "$place/examples/example_guests"
gives devices "$place/examples/example_devices"

echo "The C driver alone, shared and static, and opened at run time"
gcc -std=c99 "${cflags[@]}" "$examples/household.c" "${libs[@]}" -o "$place/shared"
gcc -std=c99 "${cflags[@]}" "$examples/household.c" "$library/libkqutm.a" -o "$place/static"
gcc -std=c99 "${cflags[@]}" "$examples/optional.c" -o "$place/optional"
expect_needed shared "libkqutm.so.1 libc.so.6"
expect_needed static libc.so.6
expect_needed optional libc.so.6
gives household "$place/shared"
gives household "$place/static"
gives optional "$place/optional"
