#!/usr/bin/env bash
# pipelines_test.sh COMMAND...: runs each pipeline over pages of several sizes; all must write the same bytes, refuse what is
# no page, and be as short as an example should be. A COMMAND is one word or several, separated by spaces.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0
fail() {
    echo "$1"
    status=1
}

# page WIDTH HEIGHT: a PPM whose pixels are the bytes of the repository's own text.
page() {
    printf 'P6\n%d %d\n255\n' "$1" "$2"
    head -c $((3 * $1 * $2)) < <(while cat "$here/../README.md" 2>/dev/null; do :; done)
}

for size in "3 2" "4 5" "97 61" "640 480"; do
    read -r width height <<<"$size"
    page "$width" "$height" >"$work/in.ppm"
    expected=
    for command in "$@"; do
        read -ra words <<<"$command"
        "${words[@]}" "$work/in.ppm" "$work/out.ppm"
        sum=$(cksum <"$work/out.ppm")
        [[ $(wc -c <"$work/out.ppm") -gt $((3 * (width / 2) * (height / 2))) ]] || fail "$command: $size: too short"
        [[ ${expected:=$sum} == "$sum" ]] || fail "$command: $size: other bytes than $1"
    done
done

head -c 1000 "$work/in.ppm" >"$work/short.ppm"
page 2 2 >"$work/narrow.ppm"
for command in "$@"; do
    read -ra words <<<"$command"
    for wrong in short narrow absent; do
        if "${words[@]}" "$work/$wrong.ppm" "$work/out.ppm" 2>"$work/message"; then
            fail "$command: takes a page that is $wrong"
        fi
        [[ -s $work/message ]] || fail "$command: says nothing of a page that is $wrong"
    done
done

while read -r file most; do
    if [[ -e $here/$file && $(wc -l <"$here/$file") -gt $most ]]; then
        fail "$file: more than $most lines"
    fi
done <<<"pipeline.c 150
pipeline.cpp 100
pipeline.py 40"
exit "$status"
