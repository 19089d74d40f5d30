#!/usr/bin/env bash
# hardening_test.sh FILE COMMANDS PROCESSOR: the built library or program has what the hardening flags promise, and
# every compile command of COMMANDS (compile_commands.json) carries them.
set -euo pipefail
file=$1 commands=$2 processor=$3
status=0
fail() {
    echo "$file: $1"
    status=1
}

segments=$(readelf -lW "$file")
grep -q ' GNU_RELRO ' <<<"$segments" || fail "no segment becomes read-only after relocation"
grep -Eq ' GNU_STACK .* RW +' <<<"$segments" || fail "the stack is executable"
if grep -Eq ' LOAD .* RWE ' <<<"$segments"; then
    fail "a segment is writable and executable"
fi
dynamic=$(readelf -dW "$file")
grep -Eq 'BIND_NOW|FLAGS.* NOW' <<<"$dynamic" || fail "symbols are bound late"
header=$(readelf -hW "$file")
grep -Eq 'Type: +DYN' <<<"$header" || fail "not position-independent"
symbols=$(readelf --dyn-syms -W "$file")
grep -q '__stack_chk_fail' <<<"$symbols" || fail "no function guards its stack"

# _FORTIFY_SOURCE leaves a trace only where the compiler can't prove a size, so the flag itself is asked for.
total=$(grep -c '"command":' "$commands")
# So is the one for control-flow enforcement: Debian's own start-up objects are not marked for it, and the linker marks
# a file only if all its objects are.
flags=(-D_FORTIFY_SOURCE=2 -fstack-protector-strong)
if [[ $processor =~ ^(x86_64|AMD64)$ ]]; then
    flags+=(-fcf-protection=full)
fi
for flag in "${flags[@]}"; do
    with=$(grep '"command":' "$commands" | grep -c -e " $flag " || true)
    [[ $with -eq $total ]] || fail "$with of $total compile commands have $flag"
done
[[ $total -ge 10 ]] || fail "only $total compile commands"
exit "$status"
