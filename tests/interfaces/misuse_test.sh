#!/usr/bin/env bash
# misuse_test.sh SOURCE COMPILER: what the types of platen.hpp refuse at compile time. Each line of misuse.txt is a statement
# that must not compile, and after `//` what the compiler must say about it (one expression for both compilers); a line that
# begins with `+` must compile, so that a statement is refused for its misuse and nothing else.
set -euo pipefail
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

command -v "$compiler" >/dev/null || {
    echo "skipped: no $compiler"
    exit 77
}
# The header is read once.
cat >"$work/host.h" <<'HEADER'
#include <array>
#include <platen.hpp>
#include <vector>
inline std::vector<std::uint8_t> bytes(300);
inline std::vector<std::uint16_t> words(300);
inline std::vector<float> reals(300);
inline const std::vector<std::uint8_t> fixed(300);
HEADER
flags=(-std=c++20 -Wall -Wextra -Werror -Wno-unused-variable -I "$source" -I "$source/cpp")
"$compiler" "${flags[@]}" -x c++-header "$work/host.h" -o "$work/host.h.$([[ $compiler == *clang* ]] && echo pch || echo gch)"
status=0
count=0
while IFS= read -r line; do
    [[ -n $line && $line != '#'* ]] || continue
    statement=${line%%//*} expected=${line#*// }
    must=refuse
    if [[ $statement == +* ]]; then
        must=accept statement=${statement#+}
    fi
    echo "void host() { $statement }" >"$work/host.cpp"
    did=accept
    "$compiler" "${flags[@]}" -Wno-error=missing-declarations -fsyntax-only -include "$work/host.h" "$work/host.cpp" >"$work/log" 2>&1 ||
        did=refuse
    if [[ $did != "$must" ]]; then
        echo "must $must: $statement"
        head -n 5 "$work/log"
        status=1
    elif [[ $must == refuse ]] && ! grep -Eq "$expected" "$work/log"; then
        echo "refused, but not for this ($expected): $statement"
        head -n 5 "$work/log"
        status=1
    fi
    count=$((count + 1))
done <"$source/tests/interfaces/misuse.txt"
echo "$count statements"
[[ $count -ge 30 ]] || status=1
exit "$status"
