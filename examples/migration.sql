-- Which rows and columns of a table would not survive a move into another charset? From the top of the sources, after
-- ./dev build release:
--
--     sqlite3 -cmd '.load build/release/integrations/sqlite/qzsqlite' :memory: '.read examples/migration.sql'

-- Rows that came from several systems: every row says in which charset its text is.
CREATE TABLE customer (id INTEGER PRIMARY KEY, charset TEXT, name BLOB, note BLOB);
INSERT INTO customer VALUES
    (1, 'ASCII', 'Ann', 'pays on time'),
    (2, 'EUCKR', qz_convert('김영희', 'UTF8', 'EUCKR'), qz_convert('단골 손님', 'UTF8', 'EUCKR')),
    (3, 'MSWIN949', qz_convert('펲시콜라', 'UTF8', 'MSWIN949'), NULL),
    (4, 'JA16SJIS', qz_convert('東京商店', 'UTF8', 'JA16SJIS'), qz_convert('カタカナ', 'UTF8', 'JA16SJIS')),
    (5, 'WE8MSWIN1252', qz_convert('Café Zoë', 'UTF8', 'WE8MSWIN1252'), qz_convert('€ 20', 'UTF8', 'WE8MSWIN1252')),
    (6, 'UTF8', '안녕 🍣', x'6F6BFF'),
    (7, 'EUCKR', x'B1E8B0', qz_convert('끝이 잘림', 'UTF8', 'EUCKR')),
    (8, 'US8ICL', qz_convert('WHO?', 'ASCII', 'US8ICL'), NULL);

-- What the move is to: the charset, and the bytes that each column will have.
CREATE TABLE move (target TEXT, name_bytes INTEGER, note_bytes INTEGER);
INSERT INTO move VALUES ('MSWIN949', 6, 8);

CREATE VIEW cell AS
    SELECT id, charset, 'name' AS field, name AS value, name_bytes AS room FROM customer, move
    UNION ALL
    SELECT id, charset, 'note', note, note_bytes FROM customer, move;

.mode box
.print Every sequence that is lost:
SELECT cell.id, field, charset, line, "column", hex(bytes) AS bytes, reason
FROM cell, move, qz_scan(value, charset, target)
ORDER BY cell.id, field, "offset";

.print Columns with a loss, and whether the text comes back:
SELECT cell.id, field, sum(reason = 'bad') AS bad, sum(reason = 'truncated') AS truncated,
       sum(reason = 'unmappable') AS unmappable, sum(reason = 'altered') AS altered,
       qz_round_trip(value, charset, target) AS comes_back
FROM cell, move, qz_scan(value, charset, target)
GROUP BY cell.id, field;

.print Columns that get too long, and what would fit:
SELECT cell.id, field, length(CAST(qz_convert(value, charset, target) AS BLOB)) AS bytes, room,
       qz_convert(qz_cut_bytes(value, charset, room, target), charset, 'UTF8') AS fits
FROM cell, move
WHERE length(CAST(qz_convert(value, charset, target) AS BLOB)) > room
ORDER BY cell.id, field;
