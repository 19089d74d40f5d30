#!/usr/bin/env bash
# headers_test.sh SOURCE: platen.h and platen.hpp under every language, compiler and set of warnings that hosts may have.
# Nothing is linked. Compilers that are absent are passed over, and named.
set -euo pipefail
source=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# accepts WHAT COMPILER ARGUMENT...: the compiler is silent about it.
accepts() {
    local what=$1 compiler=$2
    shift 2
    command -v "$compiler" >/dev/null || {
        echo "skipped, no $compiler: $what"
        return
    }
    if "$compiler" "$@" -fsyntax-only -Werror >"$work/log" 2>&1; then
        echo "ok: $what"
    else
        echo "FAILED: $what: $compiler $*"
        head -n 20 "$work/log"
        status=1
    fi
}

c=(-I "$source/c" -include platen.h -x c /dev/null)
cxx=(-I "$source" -I "$source/c" -include platen.h -x c++ /dev/null)
strict=(-Wall -Wextra -Wpedantic)
for compiler in gcc clang; do
    for standard in c11 c17 c2x; do
        accepts "platen.h, $standard" "$compiler" -std="$standard" "${strict[@]}" -Wstrict-prototypes -Wundef "${c[@]}"
    done
    for standard in c++11 c++20; do
        accepts "platen.h, $standard" "${compiler/gcc/g}++" -std="$standard" "${strict[@]}" "${cxx[@]}"
        accepts "platen.h, $standard, C's declarations" "${compiler/gcc/g}++" -std="$standard" "${strict[@]}" \
            -DPLATEN_C_ONLY "${cxx[@]}"
    done
done
accepts "platen.h, 32 bits" gcc -m32 -ffreestanding -std=c11 "${strict[@]}" "${c[@]}"

# The rules of Microsoft's compiler, as Clang has them: no GNU extension, __declspec, `long` of 32 bits.
msvc=(--target=x86_64-pc-windows-msvc -fms-extensions -fms-compatibility -ffreestanding)
accepts "platen.h, MSVC's rules, C" clang "${msvc[@]}" -std=c11 "${strict[@]}" "${c[@]}"
accepts "platen.h, MSVC's rules, C++" clang++ "${msvc[@]}" -std=c++14 "${strict[@]}" "${cxx[@]}"
accepts "platen.h, MSVC's rules, static" clang "${msvc[@]}" -DPLATEN_STATIC -std=c11 "${strict[@]}" "${c[@]}"

# platen.hpp with all of Clang's warnings but these: the standards before C++20; padding; the old headers' reserved names;
# the vtable of Error, which a header-only class has in every file.
hpp=(-std=c++20 -I "$source" -I "$source/cpp" -include platen.hpp -x c++ /dev/null)
accepts "platen.hpp, everything" clang++ -Weverything -Wno-c++98-compat -Wno-c++98-compat-pedantic -Wno-c++20-compat \
    -Wno-padded -Wno-reserved-identifier -Wno-weak-vtables "${hpp[@]}"
for compiler in g++ clang++; do
    accepts "platen.hpp" "$compiler" "${strict[@]}" -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast "${hpp[@]}"
    accepts "platen.hpp, no exceptions" "$compiler" "${strict[@]}" -fno-exceptions "${hpp[@]}"
    accepts "platen.hpp, no run-time types" "$compiler" "${strict[@]}" -fno-rtti "${hpp[@]}"
    accepts "platen.h and platen.hpp" "$compiler" "${strict[@]}" -I "$source/c" -include platen.h "${hpp[@]}"
done
exit "$status"
