#!/usr/bin/env bash
# types_test.sh [--write] SOURCE BUILD RECORDS: builds the library and its companion for C with debug information in BUILD
# and compares the exported functions, their arguments, records and virtual tables with platen-x86_64.abi and
# platen-c-x86_64.abi in the folder RECORDS, by libabigail. With --write those are made anew. Skips (77) where libabigail
# is absent.
set -euo pipefail
write=0
if [[ $1 == --write ]]; then
    write=1
    shift
fi
source=$1 build=$2 records=$3

if ! command -v abidw >/dev/null || ! command -v abidiff >/dev/null; then
    echo "skipped: abidw and abidiff are not installed (package abigail-tools)"
    exit 77
fi

# GCC always, without optimisation: the record is of the interface, and the compiler's debug information is part of it.
log=$build.log
mkdir -p "$build"
{
    cmake -S "$source" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=g++ -DCMAKE_BUILD_TYPE=Debug \
        -DPLATEN_BUILD_TOOL=OFF -DPLATEN_BUILD_TESTS=OFF
    cmake --build "$build" --target platen --target platen-c
} >"$log" 2>&1 || {
    cat "$log"
    exit 1
}
status=0
for library in "$build/libplaten.so" "$build/c/libplaten-c.so"; do
    name=$(basename "$library" .so)
    made=$build/${name#lib}.abi
    record=$records/${name#lib}-x86_64.abi
    abidw --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed \
        --out-file "$made" "$library"
    if [[ $write -eq 1 ]]; then
        cp "$made" "$record"
        continue
    fi
    # 0 is the same; the bits are 4 for a change, 8 for one that breaks hosts, 1 and 2 for errors.
    abidiff --no-show-locs "$record" "$made" || {
        echo "the interface differs from $record; if that is meant: scripts/update/abi"
        status=1
    }
    functions=$(grep -c '<function-decl .*elf-symbol-id' "$record" || true)
    echo "$name: $functions functions with their types in the record"
    [[ $functions -gt 40 ]] || status=1
done
exit "$status"
