#!/usr/bin/env bash
# dll_test.sh OBJDUMP LIST DLL [IMPORT...]: what a DLL exports is what the list says, name by name; it needs Windows' own DLLs
# and those named, nothing else; and it has Windows' hardening.
set -euo pipefail
objdump=$1 list=$2 dll=$3
shift 3
status=0
fail() {
    echo "$(basename "$dll"): $1"
    status=1
}

headers=$("$objdump" -p "$dll")
awk '/\[Ordinal\/Name Pointer\] Table/ { found = 1; next } found && /^$/ { exit } found { print $NF }' <<<"$headers" |
    LC_ALL=C sort | diff -u "$list" - || fail "other names than $list has: + is new, - is gone"
# The runtime of C, and what the stack protector takes its random number from.
allowed=$(printf '%s\n' ADVAPI32.dll KERNEL32.dll msvcrt.dll "$@" | LC_ALL=C sort)
needed=$(awk '/DLL Name:/ { print $NF }' <<<"$headers" | LC_ALL=C sort)
[[ $needed == "$allowed" ]] || fail "needs ${needed//$'\n'/ }, and not ${allowed//$'\n'/ }"
flags="DYNAMIC_BASE NX_COMPAT"
if grep -q 'pei-x86-64' <<<"$headers"; then
    flags+=" HIGH_ENTROPY_VA"
fi
for flag in $flags; do
    grep -q "$flag" <<<"$headers" || fail "no $flag"
done
exit "$status"
