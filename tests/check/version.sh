#!/usr/bin/env bash
# The version stands in CMakeLists.txt alone; the recipes of packaging/, which nothing configures, have the same one.
# Usage: version.sh VERSION, from the root of the sources.
set -euo pipefail

failed=0
[[ -f packaging/yocto/kqutm_$1.bb ]] || failed=1
grep -qx "PKG_VERSION:=$1" packaging/openwrt/Makefile || failed=1
((failed == 0)) || echo "The recipes of packaging/yocto or packaging/openwrt are not those of version $1."
exit $failed
