#!/bin/bash
# qzconv_test.sh QZCONV: what the process as a whole promises.
set -u
qzconv=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

expect() { # WHAT CODE TEXT COMMAND...: the exit code, and a text that standard error has
    local what=$1 code=$2 text=$3 got
    shift 3
    "$@" >"$work/out" 2>"$work/err" </dev/null
    got=$?
    [[ $got == "$code" && $(<"$work/err") == *"$text"* ]] && return
    echo "FAILED: $what: exit $got instead of $code, standard error: $(<"$work/err")"
    failures=1
}
check() { # WHAT COMMAND...
    local what=$1
    shift
    "$@" || { echo "FAILED: $what"; failures=1; }
}
bytes() { printf "$1" >"$work/in"; }

bytes 'a\n'
expect 'exact' 0 '2 bytes (2 characters) to 4 bytes' "$qzconv" convert -f us7ascii -t utf-16be "$work/in"
check 'the result' cmp -s "$work/out" <(printf '\0a\0\n')
bytes '\xB0\xA1'
expect 'a replacement' 1 '1 replaced' "$qzconv" convert -f EUC-KR -t ASCII "$work/in"
bytes 'a\xB0'
expect 'a truncated tail' 2 'incomplete' "$qzconv" convert -f EUCKR -t UTF16 "$work/in"
bytes 'a\xFF'
expect 'malformed text' 2 'malformed' "$qzconv" convert -f EUCKR -t UTF16 "$work/in"
expect 'JSON' 2 '"replacements":1' "$qzconv" convert --json -f EUCKR -t UTF16 "$work/in"
expect 'quiet' 2 '' "$qzconv" convert -q -f EUCKR -t UTF16 "$work/in"
check 'quiet says nothing' test ! -s "$work/err"
expect 'an unknown name' 3 'did you mean UTF-8' "$qzconv" convert -f utf9 -t ASCII "$work/in"
expect 'an empty name' 3 'unknown charset' "$qzconv" convert -f '' -t ASCII "$work/in"
expect 'no arguments' 3 'required' "$qzconv"
expect 'an unknown option' 3 '--frm' "$qzconv" convert -f ASCII -t ASCII --frm x
expect 'a missing file' 3 "$work/none: No such file" "$qzconv" convert -f ASCII -t UTF16 "$work/in" "$work/none"
check 'nothing is written before all files are found' test ! -s "$work/out"
expect 'a directory' 3 'Is a directory' "$qzconv" stat -f ASCII "$work"

echo old >"$work/target"
expect 'a missing file with -o' 3 'No such file' "$qzconv" convert -f ASCII -t UTF16 -o "$work/target" "$work/none"
check 'the old file stays' grep -qx old "$work/target"
expect 'an error in the middle' 3 '' "$qzconv" convert -f ASCII -t UTF16 -o "$work/target" "$work/in" /proc/self/mem
check 'the old file stays' grep -qx old "$work/target"
check 'no temporary file stays' test -z "$(find "$work" -name 'target.*')"
expect 'in place' 0 '' "$qzconv" convert -f ASCII -t UTF16 -o "$work/target" "$work/target"
check 'the file is replaced' cmp -s "$work/target" <(printf '\0o\0l\0d\0\n')
ln -s target "$work/link"
expect 'through a link' 0 '' "$qzconv" convert -f UTF16 -t ASCII -o "$work/link" "$work/target"
check 'the link stays' test -L "$work/link"
expect 'a missing directory' 3 'No such file' "$qzconv" convert -f ASCII -t UTF16 -o "$work/none/x" "$work/in"

expect 'a full disk' 3 'No space left' "$qzconv" convert -f ASCII -t UTF16 -o /dev/full "$work/target"
expect 'a full standard output' 3 'No space left' bash -c "'$qzconv' convert -f ASCII -t UTF16 '$work/target' >/dev/full"
expect 'a full standard output' 3 'No space left' bash -c "'$qzconv' list >/dev/full"
expect 'a closed pipe' 3 'Broken pipe' \
    bash -c "set -o pipefail; head -c 9000000 /dev/zero | '$qzconv' convert -q -f ASCII -t UTF16 | head -c 1 >/dev/null"

mkdir "$work/into"
printf 'a\xB0\xA1' >"$work/1.txt"
printf 'b\xFF' >"$work/2.txt"
into() { # WHAT CODE TEXT FILE...
    expect "$1" "$2" "$3" "$qzconv" convert -f EUCKR -t UTF16 --jobs 3 -o "$work/into" "${@:4}"
}
into 'files of their own' 2 "2.txt: 2 bytes (2 characters) to 4 bytes, 1 replaced, malformed" "$work"/[12].txt
check 'the total' grep -q ': 2 files, 5 bytes (4 characters) to 8 bytes' "$work/err"
check 'the first' cmp -s "$work/into/1.txt" <(printf '\0a\xAC\0')
check 'the second' cmp -s "$work/into/2.txt" <(printf '\0b\xFF\xFD')
rm "$work/into/2.txt"
into 'one of them fails' 3 'Input/output error' /proc/self/mem "$work"/[12].txt
check 'the others are there, and nothing else' test "$(ls "$work/into" | paste -sd' ')" = '1.txt 2.txt'
into 'one name twice' 3 'several files' "$work/1.txt" "$work/into/../1.txt"
into 'no name' 3 'no name' -
expect 'jobs without a directory' 3 '-o DIRECTORY' "$qzconv" convert -f EUCKR -t UTF16 --jobs 2 "$work/1.txt"
seq 200 | (cd "$work/into" && split -l 1 -a 3)
expect 'many files at once, in place' 0 '"bytes_written":1384' \
    "$qzconv" convert --json -f ASCII -t UTF16 -j 8 -o "$work/into" "$work"/into/x*
check 'each is whole' cmp -s <(cat "$work"/into/x*) <(seq 200 | "$qzconv" convert -q -f ASCII -t UTF16)

expect 'list' 0 '' "$qzconv" list
check 'list has every row' test "$(wc -l <"$work/out")" = 36
expect 'list --json' 0 '' "$qzconv" list --json
check 'list --json has every row' test "$(grep -c '"id":' "$work/out")" = 35
expect 'stat' 0 '' "$qzconv" stat --json -f EUCKR <(printf 'a\xB0\xA1\nb\n')
check 'stat counts' test "$(tr -cd '0-9\n' <"$work/out" | grep . | tail -5 | paste -sd' ')" = '6 5 4 3 2'
bytes 'ABCDEFGHIJK'
expect 'dump' 0 '' "$qzconv" dump "$work/in"
check 'dump has ten bytes a line' grep -qx '0x4B ' "$work/out"
expect 'dump by characters' 0 '' "$qzconv" dump -f EUCKR <(printf 'a\xB0\xA1\xB0')
check 'dump shows code points' test "$(awk '{ print $(NF > 3 ? NF - 1 : NF) }' "$work/out" | paste -sd' ')" = 'U+0061 U+AC00 incomplete'

bytes 'ok\n\xB0\xA1 \xFF\n'
expect 'check' 2 '' "$qzconv" check -f EUCKR -t ASCII "$work/in"
check 'check tells where' cmp -s "$work/out" <(printf '%s\n' \
    "$work/in:2:1: byte 3, character 4: B0 A1: unmappable" "$work/in:2:3: byte 6, character 6: FF: bad" \
    "$work/in: 8 bytes, 7 characters: 1 bad, 0 truncated, 1 unmappable, 0 altered; round trip not exact")
expect 'check --json' 2 '' "$qzconv" check --json -f EUCKR -t ASCII "$work/in"
check 'one object a line' grep -q '"line":2,"column":1,"bytes":"B0A1","reason":"unmappable"}$' "$work/out"
check 'totals at the end' grep -q '"bad":1,.*"round_trip_exact":false}$' "$work/out"
expect 'check of text that survives' 0 '' "$qzconv" check -f EUCKR -t UTF8 <(printf '\xB0\xA1\n')
expect 'check of text that does not' 1 '' "$qzconv" check -f UTF8 -t ASCII <(printf 'caf\xC3\xA9\n')
bytes 'a\xB0\xA1b\nxyz\nq'
expect 'cut by bytes' 0 '' "$qzconv" cut -f EUCKR --bytes 2 "$work/in"
check 'whole characters stay' cmp -s "$work/out" <(printf 'a\nxy\nq')
expect 'cut by bytes after conversion' 0 '' "$qzconv" cut -f EUCKR --bytes 4 -t UTF8 "$work/in"
check 'what fits stays' cmp -s "$work/out" <(printf 'a\xB0\xA1\nxyz\nq')
expect 'cut by columns' 0 '' "$qzconv" cut -f EUCKR --columns 3 "$work/in"
check 'two columns' cmp -s "$work/out" <(printf 'a\xB0\xA1\nxyz\nq')
expect 'cut of UTF-16 by characters' 0 '' "$qzconv" cut -f UTF16 --chars 1 <(printf '\x0A\x0A\0b\0\n\0c\0d')
check 'lines end at units' cmp -s "$work/out" <(printf '\x0A\x0A\0\n\0c')
expect 'cut of ISO-2022-KR' 0 '' "$qzconv" cut -f ISO2022-KR --chars 1 <(printf '\x1B$)C\x0E0!0!\x0F\n\x0E0!0!\x0F\n')
check 'every line stands alone' cmp -s "$work/out" <(printf '\x1B$)C\x0E0!\x0F\n\x1B$)C\x0E0!\x0F\n')
expect 'cut without a limit' 3 'required' "$qzconv" cut -f EUCKR "$work/in"

finds() { # CHARSET OPTIONS PATTERN PLACES: line:character:offset of each
    local what="find $*" charset=$1 options=$2 pattern=$3 places=$4
    "$qzconv" convert -q -f UTF8 -t "$charset" "$work/text" >"$work/in"
    expect "$what" "$([[ -n $places ]]; echo $?)" '' "$qzconv" find -f "$charset" $options -- "$pattern" "$work/in"
    check "$what: not $(paste -sd' ' "$work/out")" test "$(paste -sd' ' "$work/out")" = "$places"
}
printf 'aaaa\nb안_😀x\naXa\n' >"$work/text"
finds ASCII '' aa '1:1:0 1:3:2'
finds ASCII '--backward' aaa '1:2:1'
finds ASCII '--overlap' aa '1:1:0 1:2:1 1:3:2'
finds ASCII '--overlap --backward --nth 3' aa '1:1:0'
finds ASCII '--nth 2' aa '1:3:2'
finds ASCII '--nth 3' aa ''
finds ASCII '--count' aa 2
finds ASCII '--count --overlap --backward' aa 3
finds UTF8 '' x '2:5:9' # what is one unit to the iterator, a pair in UTF-16, is one character
finds UTF16 '' x '2:5:9'
finds UTF8 '' 😀x '2:4:8'
finds GB18030 '--backward' 안_😀 '2:2:6'
finds UTF16 '--like --backward' _x '2:4:8'
finds ISO2022-KR '' b안_ '2:1:5'
finds US8ICL '--backward' aa '1:3:2 1:1:0'
finds UTF8 '--like' a_a '1:1:0 3:1:11'
finds UTF8 '--like --escape !' '안!_' '2:2:6'
finds UTF8 '--like --escape !' 'a!a' '1:1:0 1:3:2' # the escape character takes no room in the text
finds UTF8 '--like --escape !' 'a!_a' ''
expect 'find --json' 0 '' "$qzconv" find --json -f UTF8 X "$work/text" "$work/text"
check 'find --json' test "$(sed 's/"file":"[^"]*"/F/' "$work/out" | paste -sd' ')" = \
    '[   {F,"line":3,"character":2,"offset":12},   {F,"line":3,"character":2,"offset":12} ]'
expect 'a pattern that the charset cannot hold' 3 'U+1F600' "$qzconv" find -f EUCKR 😀 "$work/text"
expect 'a pattern that is not UTF-8' 3 'not UTF-8' "$qzconv" find -f UTF8 $'a\xC3' "$work/text"
expect 'an empty pattern' 3 'empty' "$qzconv" find -f UTF8 '' "$work/text"
expect 'an escape character without a successor' 3 'escape' "$qzconv" find -f UTF8 --like --escape '!' 'a!' "$work/text"
expect '--escape alone' 3 '--like' "$qzconv" find -f UTF8 --escape '!' a "$work/text"

# Longer than a read and than a slice of the search (262144 units); no character ends where either does.
repeated() { head -c "$2" /dev/zero | sed "s/\x00/$1/g"; }
{ echo -n b; repeated 안 300000; echo; echo -n a; repeated 안 300001; } >"$work/text"
finds UTF8 '--backward' 안$'\n'a안 '1:300001:300000'
for direction in '' --backward; do
    finds UTF8 "--count $direction" 안 600001
    finds UTF8 "--nth 300000 $direction" 안안 "$([[ $direction ]] && echo 1:2:1 || echo 2:300000:600001)"
    finds UTF8 "--like --nth 299999 --overlap $direction" 안_ "$([[ $direction ]] && echo 2:3:300004 || echo 1:300000:299999)"
done
expect 'stat' 0 '' "$qzconv" stat --json -f UTF8 "$work/text"
check 'stat counts what ends behind a read' grep -q '"characters": 600004' "$work/out"

# 200 MB go through 100 MB of address space. (Sanitizers reserve more than that for themselves.)
bounded() { head -c 200000000 /dev/zero | (ulimit -v 100000 && exec "$qzconv" convert -q -f ASCII -t UTF16 -o /dev/null); }
search_bounded() { (ulimit -v 100000 && exec "$qzconv" find -f ASCII --nth 2 --backward --like a_ "$work/sparse"); }
if [[ -z ${QZCONV_SANITIZED:-} ]]; then
    check 'bounded memory' bounded
    { printf abab; head -c 100000000 /dev/zero; } >"$work/sparse"
    check 'a search in bounded memory' test "$(search_bounded)" = 1:1:0
fi
exit "$failures"
