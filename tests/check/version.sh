#!/usr/bin/env bash
# The version stands in CMakeLists.txt alone; the recipes of packaging/, which nothing configures, have the same one, and
# the changelog a section of it.
# Usage: version.sh VERSION, from the root of the sources.
set -euo pipefail

if [[ ! -f packaging/yocto/kqutm_$1.bb ]] || ! grep -qx "PKG_VERSION:=$1" packaging/openwrt/Makefile ||
    ! grep -qx "	default \"v$1\"" packaging/buildroot/Config.in; then
    echo "The recipes of packaging/ are not those of version $1."
    exit 1
fi
if ! grep -qE "^## \\[${1//./\\.}\\] - [0-9]{4}-[0-9]{2}-[0-9]{2}$" CHANGELOG.md; then
    echo "CHANGELOG.md has no section of version $1 with its date."
    exit 1
fi
