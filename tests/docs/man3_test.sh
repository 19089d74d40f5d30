#!/usr/bin/env bash
# man3_test.sh SOURCE BUILD: docs/man/*.3 are what scripts/update/man3 makes of c/platen.h, mandoc has no warning for them, and
# every function of the companion library has a page under its name.
set -euo pipefail
source=$1 build=$2
"$source/scripts/update/man3" --check
if ! command -v mandoc >/dev/null; then
    echo "skipped: no mandoc"
    exit 77
fi
mandoc -T lint -W warning "$source"/docs/man/*.3
status=0
while read -r name; do
    if [[ ! -e $build/man3/$name.3 ]]; then
        echo "no manual page has the name $name"
        status=1
    fi
done <"$source/tests/abi/exports-c.txt"
exit "$status"
