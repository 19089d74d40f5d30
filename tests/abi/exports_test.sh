#!/usr/bin/env bash
# exports_test.sh LIBRARY LIST: what leaves the library is what the list says, name by name.
set -euo pipefail
if ! "$(dirname "$0")/exported_names.sh" "$1" | diff -u "$2" -; then
    echo "the exported names differ from $2: + is new, - is gone; if that is meant: scripts/update/exports"
    exit 1
fi
