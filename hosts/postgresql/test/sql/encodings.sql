-- Databases in other encodings than UTF-8; what the client sends and sees is UTF-8.
CREATE DATABASE in_latin2 TEMPLATE template0 ENCODING LATIN2 LC_COLLATE 'C' LC_CTYPE 'C';
CREATE DATABASE in_euc_jp TEMPLATE template0 ENCODING EUC_JP LC_COLLATE 'C' LC_CTYPE 'C';
CREATE DATABASE in_any TEMPLATE template0 ENCODING SQL_ASCII LC_COLLATE 'C' LC_CTYPE 'C';
SELECT qbgl.key('Žižka', 'cs_CZ.utf8') AS utf8_key, qbgl.key('Žižka', 'cs_CZ.8859-2') AS latin2_key,
       qbgl.key('渡辺', 'ja_JP.utf8') AS japanese_key \gset

\c in_latin2
SET client_encoding = 'UTF8';
CREATE EXTENSION qbgl;
SELECT qbgl.convert_from('\xC8819296', 'cp037') AS ebcdic, qbgl.convert_from('\xC5BDC5BE', 'utf8') AS utf8,
       qbgl.convert_to('Žižka', 'utf8') AS to_utf8, qbgl.convert_to('Žižka', 'cp1250') AS to_cp1250,
       qbgl.upper('žižka', 'cs_CZ.8859-2') AS upper, qbgl.upper('žižka', 'cs_CZ.utf8') AS upper_utf8;
-- Keys do not depend on the encoding of the database.
SELECT qbgl.key('Žižka', 'cs_CZ.utf8') = :'utf8_key' AS utf8_key, qbgl.key('Žižka', 'cs_CZ.8859-2') = :'latin2_key' AS latin2_key;
-- The type takes the locale in the database's own codeset where there is one; the order is that of utf8.
SELECT qbgl.add_locale('cs_CZ.8859-2') AS own, qbgl.add_locale('cs_CZ.utf8') AS utf8, qbgl.add_locale('fr_FR.utf8') AS converted;
SET search_path = public, qbgl;
CREATE TABLE words (own qtext COLLATE "cs_CZ", utf8 qtext COLLATE "cs_CZ.utf8");
INSERT INTO words SELECT word, word FROM unnest(ARRAY['chata', 'Žižka', 'hora', 'ivan', 'cihla', 'čaj']) word;
CREATE INDEX ON words (own);
CREATE INDEX ON words USING hash (utf8);
SELECT string_agg(own::text, ' ' ORDER BY own) AS own, string_agg(utf8::text, ' ' ORDER BY utf8) AS utf8,
       string_agg(own::text, ' ') FILTER (WHERE own LIKE 'c%') AS c, count(*) FILTER (WHERE utf8 = 'Žižka' AND own = 'Žižka') AS one FROM words;
RESET search_path;
SELECT qbgl.strftime('%A %e. %B', date '2024-10-13', 'cs_CZ.utf8') AS written, qbgl.strptime('13. ŘÍJNA', '%d. %B', 'cs_CZ.8859-2')::date AS read,
       qbgl.money_value(qbgl.money(12345.6, 'cs_CZ.utf8'), 'cs_CZ.8859-2') AS amount;
SELECT qbgl.money(1, 'fr_FR.utf8');
-- Offsets are those of the bytes that were given.
SELECT qbgl.convert_to('áéŽ', '8859-1');
SELECT qbgl.convert_from('\x41936E', 'sjis');
SELECT qbgl.convert_from('\xC5BDC5BEE6B8A1', 'utf8');

\c in_euc_jp
SET client_encoding = 'UTF8';
CREATE EXTENSION qbgl;
SELECT qbgl.convert_from('\x936E95D3', 'sjis') AS from_sjis, qbgl.convert_to('渡辺', 'sjis') AS to_sjis,
       qbgl.key('渡辺', 'ja_JP.utf8') = :'japanese_key' AS same_key;
SELECT qbgl.convert_to('渡辺', '8859-1');

-- Without an encoding bytes count as those of utf8, and any have a place in the order.
\c in_any
CREATE EXTENSION qbgl;
SELECT qbgl.convert_from('\xC8819296', 'cp037') AS ebcdic, qbgl.convert_to('Žižka', '8859-2') AS to_8859_2,
       qbgl.key('Žižka', 'cs_CZ.utf8') = :'utf8_key' AS utf8_key, qbgl.compare(E'\xFF', 'z', 'cs_CZ.utf8') AS no_character;
SELECT qbgl.convert_to(E'a\xFF', '8859-2');
SELECT qbgl.upper(E'a\xFF', 'cs_CZ.utf8');
SELECT qbgl.strftime(E'%F\xFF', date '2024-12-24', 'cs_CZ.utf8');

\c regression
DROP DATABASE in_latin2;
DROP DATABASE in_euc_jp;
DROP DATABASE in_any;
