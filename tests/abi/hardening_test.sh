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
# Control-flow enforcement: every function that can be called from outside starts with a landing mark. The file's own
# note can't be asked for: the linker drops it where the C library's start files, as Debian's, have none.
if [[ $processor =~ ^(x86_64|AMD64)$ ]]; then
    entries=$( (nm -D --defined-only "$file"; nm --defined-only "$file" | grep ' T main$' || true) |
        awk '$2 ~ /^[TW]$/ { print $1 }' | LC_ALL=C sort -u)
    marked=$(objdump -d --no-show-raw-insn "$file" |
        awk '/^[0-9a-f]+ <.*>:$/ { entry = $1; next }
             entry != "" { if ($2 == "endbr64") print entry; entry = "" }' | LC_ALL=C sort -u)
    [[ -n $entries ]] || fail "no entries found"
    unmarked=$(LC_ALL=C comm -23 <(echo "$entries") <(echo "$marked"))
    [[ -z $unmarked ]] || fail "not marked for control-flow enforcement at ${unmarked//$'\n'/ }"
fi
symbols=$(readelf --dyn-syms -W "$file")
grep -q '__stack_chk_fail' <<<"$symbols" || fail "no function guards its stack"

# _FORTIFY_SOURCE leaves a trace only where the compiler can't prove a size, so the flag itself is asked for.
total=$(grep -c '"command":' "$commands")
for flag in -D_FORTIFY_SOURCE=2 -fstack-protector-strong; do
    with=$(grep '"command":' "$commands" | grep -c -e " $flag " || true)
    [[ $with -eq $total ]] || fail "$with of $total compile commands have $flag"
done
[[ $total -ge 10 ]] || fail "only $total compile commands"
exit "$status"
