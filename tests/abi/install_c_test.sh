#!/usr/bin/env bash
# install_c_test.sh CMAKE BUILD CONSUMER: installs the build into an empty folder, moves that, and builds a small host in C
# against it: by CMake package; by pkg-config, shared and static, with GCC and with Clang, as strict C11; with
# AddressSanitizer; and with a malloc that fails. Runs each.
set -euo pipefail
cmake=$1 build=$2 consumer=$3

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$work/as-installed" >"$work/install.log"
mv "$work/as-installed" "$prefix"

"$cmake" -S "$consumer" -B "$work/by-cmake" -DCMAKE_PREFIX_PATH="$prefix" >"$work/cmake.log"
"$cmake" --build "$work/by-cmake" >>"$work/cmake.log" || {
    cat "$work/cmake.log"
    exit 1
}
"$work/by-cmake/with_shared"

pkgconfig=$(dirname "$(find "$prefix" -name platen-c.pc)")
export PKG_CONFIG_PATH=$pkgconfig
read -ra flags < <(pkg-config --cflags platen-c)
read -ra libraries < <(pkg-config --libs platen-c)
read -ra static_libraries < <(pkg-config --libs --static platen-c | sed 's/-l\(platen[^ ]*\)/-l:lib\1.a/g')
libdir=$(pkg-config --variable=libdir platen-c)
strict=(-std=c11 -Wall -Wextra -Wpedantic -Werror -ffp-contract=off)
# A program that names the companion alone: that finds the library beside itself.
alone=("-L$libdir" -lplaten-c "-Wl,--as-needed" "${libraries[@]}" "-Wl,-rpath,$libdir")

for compiler in gcc clang; do
    command -v "$compiler" >/dev/null || {
        echo "skipped: no $compiler"
        continue
    }
    build_and_run() {
        "$compiler" "${strict[@]}" "${flags[@]}" "$consumer/consumer.c" -o "$work/$compiler" "$@"
        ASAN_OPTIONS=detect_leaks=1 "$work/$compiler"
    }
    echo "$compiler: shared"
    build_and_run "${alone[@]}"
    echo "$compiler: shared, malloc fails"
    build_and_run -DFAIL_MALLOC "${alone[@]}"
    echo "$compiler: static"
    build_and_run -DPLATEN_STATIC "${static_libraries[@]}"
    echo "$compiler: AddressSanitizer"
    build_and_run -fsanitize=address -g "${alone[@]}"
done
