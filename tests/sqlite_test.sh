#!/bin/bash
# sqlite_test.sh EXTENSION EXAMPLES: the SQLite extension through the sqlite3 shell.
set -u
extension=$1 examples=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

shell() { LD_PRELOAD=${SQLITE_PRELOAD:-} sqlite3 -batch -cmd ".load ${extension%.so}" "$@"; }

expect() { # WHAT EXPECTED SQL...: what the statements print, errors included
    local what=$1 expected=$2 got
    shift 2
    got=$(shell "$work/db" "$@" 2>&1)
    [[ $got == "$expected" ]] && return
    printf 'FAILED: %s\n%s\n' "$what" "$(diff <(printf '%s\n' "$expected") <(printf '%s\n' "$got"))"
    failures=1
}
expect 'a table of mixed charsets' '' "
CREATE TABLE t (id INTEGER PRIMARY KEY, cs, s);
INSERT INTO t (cs, s) VALUES
    ('UTF8', 'été 안녕🍣  '), ('UTF8', x'61E9'), ('EUCKR', x'61B0A1C7D12020'), ('EUCKR', x'B0'),
    ('MSWIN949', x'8141C141'), ('JA16SJIS', x'83878C7683'), ('JA16EUC', x'8EB18FA2B7'), ('ZHT16BIG5', x'A440C7A17A'),
    ('GB18030', x'9030813041'), ('UTF16', x'0041AC00D83CDF630020'), ('UTF16', x'00'), ('CL8KOI8R', x'C1C220'),
    ('TH8TISASCII', x'A1D2'), ('VN8VN3', x'B561'), ('ASCII', x'610062E9'), ('ASCII', ''), (NULL, 'x'), ('UTF8', NULL);"

expect 'every function on every row' \
"1|9|1|11|2|ÉTÉ 안녕🍣  |1
2|2|0|1|0|41E9|1
3|5|1|7|2|41B0A1C7D12020|1
4|1|0|0|0|B0|0
5|2|1|4|0|8141C141|1
6|3|0|4|0|83878C7683|0
7|2|1|4|0|8EB18FA2B7|1
8|3|0|5|0|A440C7A17A|0
9|2|1|5|0|9030813041|1
10|4|1|8|1|0041AC00D83CDF630020|1
11|1|0|0|0|00|0
12|3|1|3|1|E1E220|1
13|2|1|2|0|A1D2|1
14|2|1|2|0|4141|1
15|4|0|4|0|410042E9|0
16|0|1|0|0||1
17||||||
18||||||" \
    "SELECT id, qz_length(s, cs), qz_valid(s, cs), qz_columns(s, cs), qz_trailing_blanks(s, cs),
        CASE WHEN id IN (1) THEN qz_upper(s, cs) ELSE hex(qz_upper(s, cs)) END, qz_round_trip(s, cs, 'UTF8') FROM t"

expect 'substr counts as that of SQLite' '0' \
    "WITH n(i) AS (VALUES (-9), (-4), (-3), (-1), (0), (1), (2), (4), (5), (9)), w(s) AS (VALUES (''), ('a'), ('a안🍣é'))
    SELECT count(*) FROM n AS a, n AS b, w
    WHERE qz_substr(s, 'UTF8', a.i, b.i) IS NOT substr(s, a.i, b.i) OR qz_substr(s, 'UTF8', a.i) IS NOT substr(s, a.i)"
expect 'instr' '1|4|7|0|7|1|0|2|0|1|2|0' \
    "SELECT qz_instr(s, 'UTF8', 'ab'), qz_instr(s, 'UTF8', 'ab', 2), qz_instr(s, 'UTF8', 'ab', 3),
        qz_instr(s, 'UTF8', 'ab', 4), qz_instr(s, 'UTF8', 'ab', 1, 'backward'), qz_instr(s, 'UTF8', 'ab', 3, 'backward'),
        qz_instr(x'B0A1B0A2', 'EUCKR', x'A1B0'), qz_instr(x'B0A1B0A2', 'EUCKR', '각'), qz_instr(s, 'UTF8', ''),
        qz_instr('aaa', 'UTF8', 'aa'), qz_instr('aaa', 'UTF8', 'aa', 2), qz_instr('', 'UTF8', 'a')
    FROM (SELECT 'ab가ab🍣ab' AS s)"
expect 'instr gives positions of substr' '2|61|2|62|3' \
    "SELECT qz_instr(a, 'GB18030', 'a'), hex(qz_substr(a, 'GB18030', 2, 1)), qz_instr(b, 'TH8TISASCII', 'b'),
        hex(qz_substr(b, 'TH8TISASCII', 2, 1)), qz_length(x'610062', 'TH8TISASCII')
    FROM (SELECT x'8139EF3061' AS a, x'0E6162' AS b)"
expect 'like' '1|1|0|1|1|0|1|0|1|1|0|1|1' \
    "SELECT qz_like('🍣안_b%', 'UTF8', '_안!__!%', '!'), qz_like('abcabc', 'UTF8', 'a%b_'), qz_like('abc', 'UTF8', 'ab'),
        qz_like('', 'UTF8', '%'), qz_like('abc', 'UTF8', '%%'), qz_like('abc', 'UTF8', 'A%'),
        qz_like(x'B0A1B0A2', 'EUCKR', '_각'), qz_like('aba', 'UTF8', 'ab%ba'), qz_like('abxba', 'UTF8', '%x%a'),
        qz_like('a%', 'UTF8', 'a%%', '%'), qz_like('ab', 'UTF8', 'a%%', '%'), qz_like(x'FF', 'UTF8', '_'),
        qz_like('', 'UTF8', '')"
expect 'case' "O'Neil 2nd|E974E9" \
    "SELECT qz_initcap('o''NEIL 2ND', 'UTF8'), hex(qz_lower(x'C974C9', 'WE8ISO8859P1'))"
expect 'cuts' 'a안|a안녕|a안||C1|1B24290E' \
    "SELECT qz_cut_bytes('a안녕', 'UTF8', 6), qz_cut_bytes('a안녕', 'UTF8', 5, 'EUCKR'), qz_cut_columns('a안녕', 'UTF8', 4),
        qz_cut_chars('a', 'UTF8', 0), hex(qz_cut_chars(x'C1C2', 'US8ICL', 1)),
        substr(hex(qz_cut_chars(x'1B2429430E302130210F', 'ISO2022-KR', 1)), 1, 6) || '0E'"
expect 'an ISO-2022-KR text stays whole' '1B2429430E30210F' \
    "SELECT hex(qz_cut_chars(x'1B2429430E302130210F', 'ISO2022-KR', 1))"
expect 'blanks at the end' '[a ]|4100' "SELECT '[' || qz_rtrim('a   ', 'UTF8') || ' ]', hex(qz_rtrim(x'410000200020', 'UTF16'))"

expect 'convert' 'BEC8|text|blob|가?|a�||616F|1B2429430E30210F|' \
    "SELECT hex(qz_convert('안', 'UTF8', 'EUCKR')), typeof(qz_convert('a', 'ASCII', 'UTF8')),
        typeof(qz_convert('a', 'ASCII', 'UTF16')), qz_convert(qz_convert('가🍣', 'UTF8', 'EUCKR'), 'EUCKR', 'UTF8'),
        qz_convert(x'61B0', 'EUCKR', 'UTF8'), qz_convert('🍣', 'UTF8', 'EUCKR', 'null'),
        hex(qz_convert(qz_convert('ao', 'ASCII', 'US8ICL'), 'US8ICL', 'ASCII')),
        hex(qz_convert('가', 'UTF8', 'ISO2022-KR')), qz_convert(NULL, 'UTF8', 'EUCKR')"
expect 'a long conversion' '1' \
    "WITH s(x) AS (SELECT replace(hex(zeroblob(400000)), '00', '안a'))
    SELECT qz_convert(qz_convert(x, 'UTF8', 'MSWIN949', 'error'), 'MSWIN949', 'UTF8', 'error') = x FROM s"
expect 'a literal is not rewritten' 'abc|818283|abc' "SELECT s, hex(qz_convert(s, 'ASCII', 'US8ICL')), s FROM (SELECT 'abc' AS s)"

expect 'scan' '1|2|1|2|C3A9|unmappable
3|3|1|3|FF|bad
6|6|2|2|E9|truncated' "SELECT \"offset\", character, line, \"column\", hex(bytes), reason FROM qz_scan(x'61C3A9FF0A79E9', 'UTF8', 'EUCKR')"
expect 'scan of nothing' '' "SELECT * FROM qz_scan(NULL, 'UTF8', 'EUCKR'); SELECT * FROM qz_scan('', 'UTF8', 'EUCKR')"
expect 'scan by row' '4|0|1|B0|truncated
8|2|2|C7A17A|bad
15|3|4|E9|bad' "SELECT id, \"offset\", character, hex(bytes), reason FROM t, qz_scan(s, cs, 'UTF8')
    WHERE id IN (3, 4, 8, 15)"
expect 'a scan of many findings' '300000|400000|399999' \
    "SELECT count(*), max(character), max(\"offset\") FROM qz_scan(zeroblob(100000) || replace(hex(zeroblob(100000)), '00', '가'),
        'CL8KOI8R', 'ASCII')"
expect 'scan with its arguments' 'é|UTF8|ASCII
0' "SELECT text, from_charset, to_charset FROM qz_scan('é', 'UTF8', 'ASCII') WHERE from_charset = 'UTF8';
    SELECT count(*) FROM qz_scan('é', 'UTF8', 'ASCII') WHERE from_charset = 'EUCKR'"
expect 'charsets' '35|33|3' \
    "SELECT count(*), sum(has_positions), max(id) FILTER (WHERE canonical_name = 'UTF-8') FROM qz_charsets"
expect 'deterministic' '' "CREATE INDEX upper ON t (qz_upper(s, 'UTF8'))"

error() { # TEXT SQL
    local got
    got=$(shell :memory: "$2" 2>&1)
    [[ $got == *"$1"* ]] && return
    echo "FAILED: $2: \"$got\" instead of \"$1\""
    failures=1
}
error 'qz_length: charset US8ICL refuses character positions' "SELECT qz_length('a', 'US8ICL')"
error 'qz_upper: charset ISO2022-KR refuses' "SELECT qz_upper('a', 'ISO2022-KR')"
error 'unknown charset "utf9"; did you mean UTF-8' "SELECT qz_length('a', 'utf9')"
error 'SELECT name FROM qz_charsets lists all' "SELECT qz_length('a', '!')"
error 'unmappable bytes EA B0 80 at offset 1, from UTF8 to ASCII' "SELECT qz_convert('a가', 'UTF8', 'ASCII', 'error')"
error 'unknown policy "x"' "SELECT qz_convert('a', 'UTF8', 'ASCII', 'x')"
error 'ends in its escape character (error -5050)' "SELECT qz_like('a', 'UTF8', 'b!', '!')"
error 'the escape is not one character' "SELECT qz_like('a', 'UTF8', 'b', '')"
error 'argument 3 is malformed UTF8 text' "SELECT qz_like('a', 'UTF8', x'FF')"
error 'argument 3 is negative' "SELECT qz_cut_bytes('a', 'UTF8', -1)"
error 'argument 3 is no integer' "SELECT qz_substr('a', 'UTF8', 'b')"
error 'unknown direction' "SELECT qz_instr('a', 'UTF8', 'a', 1, 'up')"
error 'assertion failed: ptn_len <= (int)SESS_BIG_CHUNK_SIZE' \
    "SELECT qz_instr(zeroblob(50000), 'UTF8', zeroblob(40000))"
error 'three arguments' "SELECT * FROM qz_scan('a', 'UTF8')"
error 'unknown charset "utf9"' "SELECT * FROM qz_scan('a', 'UTF8', 'utf9')"

# Any bytes in any charset: nothing but a result or an error, and the shell lives on.
rows=$(shell :memory: "
WITH RECURSIVE b(i, x) AS (VALUES (0, randomblob(33)) UNION ALL SELECT i + 1, randomblob(i) FROM b WHERE i < 40)
SELECT count(*) FROM b, qz_charsets AS f, qz_charsets AS t
WHERE length(qz_convert(x, f.name, t.name)) >= 0 AND qz_valid(x, f.name) IN (0, 1)
    AND length(CAST(qz_cut_bytes(x, f.name, 7) AS BLOB)) <= 7
    AND (NOT f.has_positions OR qz_length(x, f.name) >= 0 AND qz_columns(x, f.name) >= 0
        AND qz_like(qz_substr(qz_initcap(x, f.name), f.name, 1, 3), f.name, '%_%') >= 0)
    AND (SELECT count(*) FROM qz_scan(x, f.name, t.name)) >= 0" 2>&1)
[[ $rows == $((41 * 35 * 35)) ]] || { echo "FAILED: any bytes: $rows"; failures=1; }

shell :memory: ".read $examples/migration.sql" >"$work/migration" 2>&1
diff "$examples/migration.txt" "$work/migration" || { echo 'FAILED: migration.sql'; failures=1; }
exit "$failures"
