#!/usr/bin/env bash
# subproject_test.sh CMAKE TREE CONSUMER SUBPROJECT CXX HOW [OPTION...]: a host project that builds platen itself, by
# add_subdirectory or FetchContent (HOW), links the shared and the static library and runs with both. From the tree alone:
# a copy of it, without a .git folder and without write permission.
set -euo pipefail
cmake=$1 tree=$2 consumer=$3 subproject=$4 cxx=$5 how=$6
shift 6

work=$(mktemp -d)
trap 'chmod -R u+w "$work" && rm -rf "$work"' EXIT
mkdir "$work/tree"
# What a release holds of it; build folders and the like stay out.
tar -C "$tree" -cf - CMakeLists.txt ToneWorld LineFilters Sources c cpp cmake packaging programs sane demo live tests python examples \
    fuzz bench | tar -C "$work/tree" -xf -
chmod -R a-w "$work/tree"

"$cmake" -S "$subproject" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$cxx" -DPLATEN_TREE="$work/tree" \
    -DCONSUMER="$consumer" -DHOW="$how" "$@" >"$work/log" 2>&1 || {
    cat "$work/log"
    exit 1
}
if grep -n 'CMake \(Deprecation \|Developer \|\)Warning' "$work/log"; then
    cat "$work/log"
    exit 1
fi
"$cmake" --build "$work/build" --target with_shared with_static -j2 >>"$work/log" 2>&1 || {
    tail -n 40 "$work/log"
    exit 1
}
"$work/build/with_shared"
"$work/build/with_static"
echo "$how: shared and static"
