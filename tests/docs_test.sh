#!/bin/bash
# docs_test.sh SOURCE_DIR BUILD_DIR CC CXX: builds and runs the programs in the documents. A fenced block whose first line
# is "c file=NAME.c" or "cpp file=NAME.cpp" is a program, "text file=NAME.out" what it prints.
set -euo pipefail
source=$1 build=$2 cc=$3 cxx=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$source"

awk -v work="$work" '
    /^```[a-z]+ file=/ { sub(/.*file=/, ""); name = work "/" $0; next }
    /^```/ { name = "" }
    name != "" { print > name }' README.md CONTRIBUTING.md docs/*.md

programs=0
for program in "$work"/*.c "$work"/*.cpp; do
    base=${program%.*}
    compile=("$cc" -std=c11)
    [[ $program == *.cpp ]] && compile=("$cxx" -std=c++17)
    "${compile[@]}" -Wall -Wextra -Werror -Iinclude "$program" -o "$base" -L"$build" -lqzstr -lqzstr_runtime \
        -Wl,-rpath,"$build"
    "$base" >"$base.found"
    diff "$base.out" "$base.found" || { echo "${program##*/} prints something else (< document, > program)"; exit 1; }
    programs=$((programs + 1))
done
((programs > 3)) || { echo "only $programs programs found"; exit 1; }

# Links between the documents lead somewhere.
for page in README.md CONTRIBUTING.md docs/*.md; do
    while read -r link; do
        [[ -e $(dirname "$page")/$link ]] || { echo "$page: no $link"; exit 1; }
    done < <(sed '/^```/,/^```/d' "$page" | grep -oE '\]\([^ )#:]+' | cut -c3-)
done
