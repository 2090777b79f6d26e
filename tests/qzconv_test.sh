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

# 200 MB go through 100 MB of address space. (Sanitizers reserve more than that for themselves.)
bounded() { head -c 200000000 /dev/zero | (ulimit -v 100000 && exec "$qzconv" convert -q -f ASCII -t UTF16 -o /dev/null); }
if [[ -z ${QZCONV_SANITIZED:-} ]]; then check 'bounded memory' bounded; fi
exit "$failures"
