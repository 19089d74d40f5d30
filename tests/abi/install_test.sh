#!/usr/bin/env bash
# install_test.sh CMAKE BUILD CONSUMER CXX: installs the build into an empty folder, moves that, builds a small host
# program against it in four ways (CMake package and pkg-config, shared and static), and runs each.
set -euo pipefail
cmake=$1 build=$2 consumer=$3 cxx=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
"$cmake" --install "$build" --prefix "$work/as-installed" >"$work/install.log"
mv "$work/as-installed" "$prefix"

# By CMake package. Nothing of the source tree may be needed.
"$cmake" -S "$consumer" -B "$work/by-cmake" -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_PREFIX_PATH="$prefix" >"$work/cmake.log"
"$cmake" --build "$work/by-cmake" >>"$work/cmake.log" || {
    cat "$work/cmake.log"
    exit 1
}
"$work/by-cmake/with_shared"
"$work/by-cmake/with_static"

# By pkg-config. The libraries' folder has the platform's name in it.
pkgconfig=$(dirname "$(find "$prefix" -name platen.pc)")
export PKG_CONFIG_PATH=$pkgconfig
read -ra flags < <(pkg-config --cflags platen)
read -ra libraries < <(pkg-config --libs platen)
read -ra all_libraries < <(pkg-config --libs --static platen)
libdir=$(pkg-config --variable=libdir platen)
"$cxx" -std=c++20 "${flags[@]}" "$consumer/consumer.cpp" "${libraries[@]}" -Wl,-rpath,"$libdir" -o "$work/shared"
"$work/shared"
"$cxx" -std=c++20 -DPLATEN_STATIC "${flags[@]}" "$consumer/consumer.cpp" \
    "${all_libraries[@]/-lplaten/-l:libplaten.a}" -o "$work/static"
"$work/static"
static_needs=$(ldd "$work/static")
shared_needs=$(ldd "$work/shared")
if grep libplaten <<<"$static_needs"; then
    echo "the static program needs the shared library"
    exit 1
fi
# Not by a pipe: grep -q ends at its first match, and what still writes into the pipe then fails in its stead.
grep -q "$prefix.*/libplaten.so.1" <<<"$shared_needs" || {
    echo "the shared program doesn't load the installed library by its SONAME"
    exit 1
}

# The tool finds its library from where it was put.
if [[ -x $prefix/bin/platen ]]; then
    "$prefix/bin/platen" --version
fi

# Headers that nobody promised stay at home.
here=$(cd "$(dirname "$0")" && pwd)
cd "$prefix/include/platen"
if ! find . -type f | LC_ALL=C sort | diff -u "$here/headers.txt" -; then
    echo "the installed headers differ from tests/abi/headers.txt"
    exit 1
fi
