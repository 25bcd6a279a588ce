-- Order: Czech letters, the ligature ch behind h, accents and case in later passes.
SELECT string_agg(name, ' ' ORDER BY qbgl.key(name, 'cs_CZ.utf8')) AS by_key,
       string_agg(name, ' ' ORDER BY qbgl.key(name, 'cs_CZ.8859-2')) AS by_key_of_8859_2
  FROM unnest(ARRAY['Zdeněk', 'Čapek', 'chata', 'Chalupa', 'Hašek', 'Cibulka', 'cibulka', 'Iva']) name;
SELECT qbgl.compare('chata', 'hrad', 'cs_CZ.utf8') AS czech, qbgl.compare('chata', 'hrad', 'de_DE.utf8') AS german,
       qbgl.compare('MULLER', 'müller', 'de_DE.utf8', 1) AS letters, qbgl.compare('MULLER', 'müller', 'de_DE.utf8') AS all_passes,
       qbgl.compare('a', NULL, 'de_DE.utf8') AS null_text;

-- The sign of a comparison is that of the keys' bytes, whatever the passes.
SELECT count(*) AS pairs, count(*) FILTER (WHERE qbgl.compare(a, b, locale, passes) <>
    CASE WHEN qbgl.key(a, locale, passes) < qbgl.key(b, locale, passes) THEN -1
         WHEN qbgl.key(a, locale, passes) > qbgl.key(b, locale, passes) THEN 1 ELSE 0 END) AS wrong
  FROM unnest(ARRAY['', 'a', 'A', 'á', 'ch', 'c', 'h', 'Straße', 'Strasse', '🦆', '渡', 'ー', 'ア', 'あ', '-a']) a,
       unnest(ARRAY['', 'a', 'A', 'á', 'ch', 'c', 'h', 'Straße', 'Strasse', '🦆', '渡', 'ー', 'ア', 'あ', '-a']) b,
       unnest(ARRAY['cs_CZ.utf8', 'de_DE.utf8', 'ja_JP.utf8', 'th_TH.utf8']) locale, generate_series(-1, 4) passes;
-- A key of any length, and of fewer passes.
SELECT length(qbgl.key(repeat('x', 1000000), 'de_DE.utf8')) > 1000000 AS long,
       qbgl.key('Äpfel', 'de_DE.utf8', 1) = qbgl.key('APFEL', 'de_DE.utf8', 1) AS first_pass;

SELECT qbgl.upper('iyi ışık', 'tr_TR.utf8'), qbgl.lower('IYI IŞIK', 'tr_TR.utf8'), qbgl.upper('iyi', 'de_DE.utf8'),
       qbgl.upper('καλημέρα', 'el_GR.8859-7'), qbgl.upper('', 'de_DE.utf8') = '' AS empty;

-- As the locale's own codeset has them; what that has not cannot be brought into it.
\a
SELECT refusal('SELECT qbgl.' || call) FROM (VALUES
  (0, $$key('渡', 'cs_CZ.8859-2')$$),
  (1, $$key('x—', 'ja_JP.sjis')$$),
  (2, $$key('a', 'xx_XX.utf8')$$),
  (3, $$key('a', '../lc11/cs_cz/e006')$$),
  (4, $$key('a', '/etc/passwd')$$),
  (5, $$key('a', '')$$),
  (6, $$key('a', 'cs_CZ.utf8', 9)$$),
  (7, $$compare('a', 'b', 'cs_CZ.utf8', -2)$$),
  (8, $$upper('a', 'xx_XX.utf8')$$),
  (9, $$fingerprint('xx_XX.utf8')$$)) calls(number, call) ORDER BY number;
\a

SELECT qbgl.fingerprint('cs_CZ.utf8') ~ '^[0-9a-f]{16}$' AS fingerprint,
       qbgl.foreign_options('cs_CZ.utf8') = '-c qbgl.require=cs_CZ.utf8:' || qbgl.fingerprint('cs_CZ.utf8') AS options;
-- A session that insists on another order, and one whose setting is no list of orders.
\set VERBOSITY terse
SET qbgl.require = 'de_DE.utf8:0123456789abcdef';
SELECT qbgl.compare('a', 'b', 'cs_CZ.utf8');
SELECT qbgl.compare('a', 'b', 'de_DE.utf8') \gset
\echo :SQLSTATE
SET qbgl.require = 'de_DE.utf8';
SELECT qbgl.compare('a', 'b', 'de_DE.utf8');
\set VERBOSITY default
RESET qbgl.require;
SELECT qbgl.compare('a', 'b', 'de_DE.utf8');

-- Volatility: keys are immutable, and an index of keys serves an ORDER BY.
CREATE TABLE names (name text);
INSERT INTO names SELECT 'name ' || i FROM generate_series(1, 2000) i;
CREATE INDEX ON names (qbgl.key(name, 'cs_CZ.utf8'));
ANALYZE names;
EXPLAIN (COSTS OFF) SELECT name FROM names ORDER BY qbgl.key(name, 'cs_CZ.utf8') LIMIT 3;
EXPLAIN (COSTS OFF) SELECT name FROM names WHERE qbgl.key(name, 'cs_CZ.utf8') = (SELECT '\x26'::bytea);
DROP TABLE names;
