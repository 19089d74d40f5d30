#!/usr/bin/env bash
# dynamic_test.sh LIBRARY LIST SONAME [NEEDED]: the library's name, what it needs besides the runtime, and that its calls
# to itself stay inside.
set -euo pipefail
library=$1 soname=$3 other=${4:-}
status=0
fail() {
    echo "$1"
    status=1
}

dynamic=$(readelf -dW "$library")
grep -qF "Library soname: [$soname]" <<<"$dynamic" || fail "the SONAME is not $soname"
if grep -q 'TEXTREL' <<<"$dynamic"; then
    fail "relocations in the code"
fi

# The C and C++ runtime and nothing else that wasn't named.
while read -r needed; do
    case $needed in
        libstdc++.so.6 | libm.so.6 | libgcc_s.so.1 | libc.so.6 | ld-linux*) ;;
        "$other") ;;
        *) fail "needs $needed" ;;
    esac
done < <(sed -n 's/.*(NEEDED).*\[\(.*\)\]$/\1/p' <<<"$dynamic")

# A call to an exported function through the procedure linkage table could end in a host's function of the same
# name; -Bsymbolic-functions binds it here.
outside=$(readelf -rW "$library" | awk '/JUMP_SLO/ { sub(/@.*/, "", $5); print $5 }' | LC_ALL=C sort -u |
    LC_ALL=C comm -12 - "$2")
[[ -z $outside ]] || fail "calls to itself that another library can take over: $outside"
if [[ -n $other ]]; then
    grep -qF "[$other]" <<<"$dynamic" || fail "does not need $other"
fi
exit "$status"
