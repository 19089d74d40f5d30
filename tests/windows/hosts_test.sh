#!/usr/bin/env bash
# hosts_test.sh ZIP WINE: builds small hosts in C and C++ against the unpacked zip, by MinGW's import libraries, by the other
# compilers' and by the static ones, and runs each under Wine beside the DLLs.
set -euo pipefail
zip=$(realpath "$1") wine=$2
root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
unzip -q "$zip"
top=$(echo platen-*-windows-*)
include=$top/include/platen lib=$top/lib
cp "$top"/bin/*.dll .
cc=x86_64-w64-mingw32-gcc-posix
cxx=x86_64-w64-mingw32-g++-posix
c_host=$root/tests/abi/c_consumer/consumer.c
cpp_host=$root/tests/abi/consumer/consumer.cpp

# runs WHAT PROGRAM
runs() {
    echo "--- $1"
    # shellcheck disable=SC2086  # a program and its arguments
    "$wine" $2 || {
        echo "FAILED: $1"
        exit 1
    }
}
strict=(-std=c11 -Wall -Wextra -Wpedantic -Werror)
"$cc" "${strict[@]}" "$c_host" -I "$include" -L "$lib" -lplaten-c -lplaten -o c.exe
runs "C, import libraries" c.exe
"$cc" "${strict[@]}" "$c_host" -I "$include" "$lib/platen-c.lib" "$lib/platen.lib" -o c_lib.exe
runs "C, the import libraries for other compilers" c_lib.exe
"$cc" "${strict[@]}" -DPLATEN_STATIC "$c_host" -I "$include" "$lib/libplaten-c.a" "$lib/libplaten.a" -static -lstdc++ -lssp -o c_static.exe
runs "C, static" c_static.exe
"$cxx" -std=c++20 -Wall -Wextra "$cpp_host" -I "$include" "$lib/libplaten.dll.a" -static -o cpp.exe
runs "C++, the library's own headers" cpp.exe
"$cxx" -std=c++20 -Wall -Wextra "$root/examples/pipeline.cpp" -I "$include" "$lib/libplaten.dll.a" -static -o pipeline_cpp.exe
"$cc" "${strict[@]}" "$root/examples/pipeline.c" -I "$include" -L "$lib" -lplaten-c -lplaten -o pipeline_c.exe
{
    printf 'P6\n97 61\n255\n'
    head -c $((97 * 61 * 3)) < <(while cat "$root/README.md" 2>/dev/null; do :; done)
} >page.ppm
for language in c cpp; do
    runs "examples/pipeline, $language" "pipeline_$language.exe page.ppm $language.ppm"
done
cmp c.ppm cpp.ppm
if [[ -x $root/build/release/examples/pipeline_c ]]; then
    "$root/build/release/examples/pipeline_c" page.ppm here.ppm
    cmp c.ppm here.ppm
    echo "the page is the same as on this system"
fi
