#!/usr/bin/env bash
# exported_names.sh LIBRARY: the names that a shared library defines for others, sorted, without their version.
set -euo pipefail
nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort
