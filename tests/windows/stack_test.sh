#!/usr/bin/env bash
# stack_test.sh OBJDUMP DLL: no move of 32 or 64 bytes needs an aligned address. Windows aligns stacks to 16 bytes, and a
# register that is spilled by such a move ends the process. The DLL must have 32-byte registers for this to say anything.
set -euo pipefail
objdump=$1 dll=$2
code=$("$objdump" -d --no-show-raw-insn "$dll")
wide=$(grep -c '%[yz]mm' <<<"$code" || true)
stack=$(grep -E '\(%r[sb]p' <<<"$code" | grep -c '%[yz]mm' || true)
aligned=$(grep -E 'v?mov(ap[sd]|dqa(32|64)?|nt[a-z]+)\s' <<<"$code" | grep '%[yz]mm' | grep '(' || true)
echo "$wide instructions with 32 or 64 bytes, $stack of them on the stack"
if [[ -n $aligned ]]; then
    echo "these need alignment:"
    head -n 20 <<<"$aligned"
    exit 1
fi
[[ $wide -gt 1000 ]]
