#!/bin/bash
# docs_test.sh SOURCE_DIR BUILD_DIR CC CXX: builds and runs all code in the documents. A fenced block whose first line is
# "LANGUAGE file=NAME" is a program, a shell script or SQL for the extension; "text file=NAME.out" is what it prints.
set -euo pipefail
source=$1 build=$2 cc=$3 cxx=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$source"
pages=(*.md docs/*.md)
failed() { echo "FAILED: $*"; exit 1; }

awk -v work="$work" '
    /^```[a-z]+ file=/ { sub(/.*file=/, ""); name = work "/" $0; next }
    /^```/ { name = "" }
    name != "" { print > name }' "${pages[@]}"
unnamed=$(grep -nE '^```(c|cpp|sh|sql)$|^    (\./dev|cmake|cc|c\+\+|sqlite3|SELECT) ' "${pages[@]}") &&
    failed "code without a file name: $unnamed"

# Scripts run in a tree that looks like the sources after ./dev build release, whatever the build is. ./dev itself is
# only asked whether it has the command: it would run these tests again.
tree=$work/tree
mkdir -p "$tree/build"
ln -s "$source"/{examples,include} "$tree"
ln -s "$build" "$tree/build/release"
cat >"$tree/dev" <<END
#!/bin/bash
"$source/dev" help | grep -qE "^    \$1 "
END
chmod +x "$tree/dev"

extension=$build/integrations/sqlite/qzsqlite
has_sqlite() { [[ -e $extension.so ]] && command -v sqlite3 >/dev/null; }

programs=0
for program in "$work"/*.{c,cpp,sh,sql}; do
    base=${program%.*}
    flags=(-Wall -Wextra -Werror -Iinclude -L"$build" -lqzstr -lqzstr_runtime -Wl,-rpath,"$build")
    case $program in
        *.c) "$cc" -std=c11 "$program" -o "$base" "${flags[@]}" && "$base" ;;
        *.cpp) "$cxx" -std=c++17 "$program" -o "$base" "${flags[@]}" && "$base" ;;
        *.sql) has_sqlite || continue; sqlite3 -batch -cmd ".load $extension" :memory: <"$program" ;;
        *.sh) if grep -q sqlite3 "$program" && ! has_sqlite; then continue; fi
            (cd "$tree" && PATH=$build/tools/qzconv:$PATH DESTDIR=$work/root bash -e "$program") ;;
    esac >"$base.found" || failed "${program##*/}: $(cat "$base.found")"
    if [[ -f $base.out ]]; then
        diff "$base.out" "$base.found" || failed "${program##*/} prints something else (< document, > program)"
    elif [[ $program != *.sh ]]; then
        failed "${program##*/}: no $(basename "$base").out says what it prints"
    fi
    programs=$((programs + 1))
done
((programs > 8)) || failed "only $programs programs found"

# The options that README names are options of the tool.
while read -r command options; do
    help=$("$build/tools/qzconv/qzconv" "$command" --help)
    for option in $(grep -oE -- '(^|[[ ])--?[a-z]+' <<<"$options" | tr -d '[ '); do
        grep -qE -- "(^| |,)$option([ ,]|\$)" <<<"$help" || failed "README: qzconv $command has no $option"
    done
done < <(sed -nE 's/^    qzconv ([a-z]+ .*)/\1/p' README.md)

# Links between the documents lead somewhere.
for page in "${pages[@]}"; do
    while read -r link; do
        [[ -e $(dirname "$page")/$link ]] || failed "$page: no $link"
    done < <(sed '/^```/,/^```/d' "$page" | grep -oE '\]\([^ )#:]+' | cut -c3-)
done
