#!/usr/bin/env bash
# The version stands in CMakeLists.txt alone; the recipes of packaging/, which nothing configures, have the same one.
# Usage: version.sh VERSION, from the root of the sources.
set -euo pipefail

if [[ ! -f packaging/yocto/kqutm_$1.bb ]] || ! grep -qx "PKG_VERSION:=$1" packaging/openwrt/Makefile; then
    echo "The recipes of packaging/yocto or packaging/openwrt are not those of version $1."
    exit 1
fi
