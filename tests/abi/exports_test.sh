#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST NODE: what leaves the library is what the list says, name by name, each with the version
# node's name.
set -euo pipefail
if ! "$(dirname "$0")/exported_names.sh" "$1" | diff -u "$2" -; then
    echo "the exported names differ from $2: + is new, - is gone; if that is meant: scripts/update/exports"
    exit 1
fi
others=$(nm -D --defined-only "$1" | awk -v node="@@$3" '$2 != "A" && substr($3, length($3) - length(node) + 1) != node')
if [[ -n $others ]]; then
    echo "not of the version node $3:"
    echo "$others"
    exit 1
fi
