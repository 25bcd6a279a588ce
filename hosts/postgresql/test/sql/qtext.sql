-- The type: what a user types first, with the schema on the search path.
SELECT qbgl.add_locale('cs_CZ.utf8'), qbgl.add_locale('cs_CZ.utf8', 1), qbgl.add_locale('th_TH.utf8@dict');
SELECT qbgl.add_locale('cs_CZ.utf8') = 'qbgl."cs_CZ"'::regcollation AS again, count(*) AS remembered
  FROM qbgl.remembered_orders WHERE locale = 'cs_CZ.utf8';
SET search_path = public, qbgl;
CREATE TABLE words (id int, word qtext COLLATE "cs_CZ", plain text);
INSERT INTO words SELECT number, word, word FROM unnest(ARRAY['chata', 'Chata', 'cihla', 'co', 'dům', 'had', 'hora', 'Cibule', 'čaj',
  'c', 'ch', 'i', 'ivan', '', 'a-b', 'ab', '🦆', 'c%', 'c\']) WITH ORDINALITY AS t(word, number);
SELECT string_agg(word::text, ' ' ORDER BY word) AS czech, string_agg(word::text, ' ' ORDER BY word DESC) AS backward FROM words;
SELECT min(word), max(word), count(DISTINCT word) FROM words;
SELECT string_agg(word::text, ' ' ORDER BY word) AS from_ch FROM words WHERE word >= 'ch' AND word < 'i';
SELECT word || 'x' AS a, 'x' || word AS b, word || word AS c, word || 'x'::text AS d, pg_typeof(word || 'x'),
       length(word), substr(word, 2), substr(word, 1, 2), upper(word), lower(upper(word)) FROM words WHERE word = 'dům';

-- Every operator agrees with the keys, for qtext and text on either side.
SELECT count(*) AS pairs, count(*) FILTER (WHERE
    (a.word < b.word) <> (ka < kb) OR (a.word <= b.word) <> (ka <= kb) OR (a.word = b.word) <> (ka = kb) OR
    (a.word <> b.word) <> (ka <> kb) OR (a.word >= b.word) <> (ka >= kb) OR (a.word > b.word) <> (ka > kb)) AS wrong,
  count(*) FILTER (WHERE
    (a.word < b.plain) <> (ka < kb) OR (a.word = b.plain) <> (ka = kb) OR (a.word >= b.plain) <> (ka >= kb) OR
    (a.plain < b.word) <> (ka < kb) OR (a.plain = b.word) <> (ka = kb) OR (a.plain >= b.word) <> (ka >= kb)) AS wrong_text,
  count(*) FILTER (WHERE (a.word < kb) <> (ka < kb) OR (a.word = kb) <> (ka = kb) OR (a.word >= kb) <> (ka >= kb)) AS wrong_keys
  FROM words a, words b, key(a.plain, 'cs_CZ.utf8') ka, key(b.plain, 'cs_CZ.utf8') kb;

-- The first pass alone: neither accents nor case; equal values have equal hashes, in index, table and partition.
CREATE TABLE names (name qtext COLLATE "cs_CZ_1" PRIMARY KEY);
INSERT INTO names VALUES ('Šárka'), ('Jan');
INSERT INTO names VALUES ('JÁN');
SELECT a, b, a = b AS equal, qtext_hash(a) = qtext_hash(b) AS same_hash,
       qtext_hash_extended(a, 7) = qtext_hash_extended(b, 7) AS same_extended
  FROM (SELECT x::qtext COLLATE "cs_CZ_1", y::qtext COLLATE "cs_CZ_1" FROM (VALUES ('ŠÁRKA', 'šarka'), ('Jan', 'Jana')) v(x, y)) t(a, b);
CREATE TABLE hashed (name qtext COLLATE "cs_CZ_1") PARTITION BY HASH (name);
CREATE TABLE hashed_0 PARTITION OF hashed FOR VALUES WITH (MODULUS 3, REMAINDER 0);
CREATE TABLE hashed_1 PARTITION OF hashed FOR VALUES WITH (MODULUS 3, REMAINDER 1);
CREATE TABLE hashed_2 PARTITION OF hashed FOR VALUES WITH (MODULUS 3, REMAINDER 2);
INSERT INTO hashed SELECT word FROM words;
SELECT count(*) FROM hashed WHERE name = 'CHATÁ';
CREATE TABLE ranged (name qtext COLLATE "cs_CZ") PARTITION BY RANGE (name);
CREATE TABLE ranged_a PARTITION OF ranged FOR VALUES FROM (MINVALUE) TO ('h');
CREATE TABLE ranged_h PARTITION OF ranged FOR VALUES FROM ('h') TO (MAXVALUE);
INSERT INTO ranged SELECT word FROM words;
EXPLAIN (COSTS OFF) SELECT name FROM ranged WHERE name >= 'ch' ORDER BY name;
SELECT string_agg(name::text, ' ' ORDER BY name) FROM ranged WHERE name >= 'ch';

-- An index serves comparisons with text and varchar, joins, and the beginning of a LIKE.
INSERT INTO words SELECT n, md5(n::text), md5(n::text) FROM generate_series(100, 5000) n;
CREATE UNIQUE INDEX words_word ON words (word);
CREATE INDEX words_hash ON words USING hash (word);
CREATE EXTENSION amcheck SCHEMA public;
SELECT bt_index_parent_check('words_word', true), check_index('words_word');
ANALYZE words;
SET enable_seqscan = off;
SET enable_bitmapscan = off;
SET jit = off;
PREPARE by_varchar(varchar) AS SELECT word FROM words WHERE word = $1;
SET plan_cache_mode = force_generic_plan;
EXPLAIN (COSTS OFF) EXECUTE by_varchar('co');
EXECUTE by_varchar('co');
EXPLAIN (COSTS OFF) SELECT word FROM words WHERE word > 'ch'::text ORDER BY word LIMIT 3;
SELECT word FROM words WHERE word > 'ch'::text ORDER BY word LIMIT 3;
EXPLAIN (COSTS OFF) SELECT min(word) FROM words;
SET enable_mergejoin = off;
SET enable_nestloop = off;
EXPLAIN (COSTS OFF) SELECT count(*) FROM words a JOIN words b ON a.word = b.plain;
SELECT count(*) FROM words a JOIN words b ON a.word = b.plain;
SELECT count(*) FROM words WHERE word NOT IN (SELECT plain FROM words WHERE id > 10) AND id NOT IN (1, 2);
SELECT count(*) FROM words WHERE word IN ('co', 'i'::text) OR word = ANY (ARRAY['c', 'ch']::text[]);
RESET enable_nestloop;
RESET enable_mergejoin;
CREATE FUNCTION plan(statement text) RETURNS SETOF text LANGUAGE plpgsql AS $$
DECLARE
  line text;
BEGIN
  FOR line IN EXECUTE 'EXPLAIN (COSTS OFF) ' || statement LOOP
    RETURN NEXT regexp_replace(line, '\\x[0-9a-f]+', 'KEY', 'g');
  END LOOP;
END $$;
SELECT plan($$SELECT word FROM words WHERE word LIKE 'ch%'$$);
SET enable_bitmapscan = on;
SELECT plan($$SELECT word FROM words WHERE word LIKE 'c%'$$);
SET enable_bitmapscan = off;
EXPLAIN (COSTS OFF) SELECT word FROM words WHERE word LIKE 'c\%';

RESET enable_bitmapscan;

-- LIKE goes by characters: "chata" begins with a c. With an index and without the rows are the same.
CREATE FUNCTION found(pattern text) RETURNS text LANGUAGE sql AS
  $$ SELECT string_agg(word::text, ' ' ORDER BY word) FROM words WHERE id < 100 AND word LIKE pattern $$;
CREATE FUNCTION found_without_index(pattern text) RETURNS text LANGUAGE sql
  SET enable_indexscan = off SET enable_indexonlyscan = off SET enable_bitmapscan = off AS
  $$ SELECT string_agg(word::text, ' ' ORDER BY word) FROM words WHERE id < 100 AND word LIKE pattern $$;
SELECT pattern, found(pattern), found(pattern) IS NOT DISTINCT FROM found_without_index(pattern) AS same
  FROM unnest(ARRAY['c%', 'ch%', 'C%', '_h%', 'c', '%', 'c\%', 'č%', '🦆%', '']) pattern;
DO $$
DECLARE
  pattern text;
  by_index bigint;
  by_scan bigint;
BEGIN
  FOR pattern IN SELECT substr(plain, 1, length) || '%' FROM words, generate_series(1, 3) length WHERE id % 50 = 0 OR id < 100 LOOP
    EXECUTE format('SELECT count(*) FROM words WHERE word LIKE %L', replace(pattern, '\', '\\')) INTO by_index;
    EXECUTE format('SELECT count(*) FROM words WHERE plain LIKE %L', replace(pattern, '\', '\\')) INTO by_scan;
    IF by_index <> by_scan THEN RAISE EXCEPTION '% finds % rows by the index, and % by a scan', pattern, by_index, by_scan; END IF;
  END LOOP;
END $$;
SELECT string_agg(word::text, ' ' ORDER BY word) AS first_pass FROM words WHERE id < 100 AND word COLLATE "cs_CZ_1" LIKE 'C_Ä%';
SELECT string_agg(word::text, ' ' ORDER BY word) AS first_pass FROM words WHERE id < 100 AND word COLLATE "cs_CZ_1" LIKE 'C%A%';
SELECT word FROM words WHERE id < 100 AND word NOT LIKE '%_%';
SELECT word LIKE 'c!%' ESCAPE '!' AS escaped FROM words WHERE word = 'c%';
SELECT word FROM words WHERE word LIKE 'c\';
SELECT word FROM words WHERE word COLLATE "cs_CZ_1" LIKE 'c\';

-- What would be another order is refused, in whatever way it is asked for.
\a
\t
SELECT refusal('SELECT ' || expression || ' FROM words') FROM (VALUES
  (1, $$plain COLLATE "cs_CZ" < 'ch'$$),
  (2, $$word::text < 'ch'$$),
  (3, $$word COLLATE "C" < 'ch'$$),
  (4, $$'a'::qtext < 'b'$$),
  (6, $$add_locale('cs_CZ.8859-2')$$),
  (7, $$add_locale('xx_XX.utf8')$$),
  (8, $$add_locale('cs_CZ.utf8', 9)$$)) t(number, expression) ORDER BY number;
SET search_path = public;
SELECT refusal('SELECT ' || expression || ' FROM words') FROM (VALUES
  (1, $$word >= 'ch'$$), (2, $$word LIKE 'ch%'$$), (3, $$min(word)$$), (4, $$word = plain$$)) t(number, expression) ORDER BY number;
SELECT count(*) FROM words WHERE word OPERATOR(qbgl.>=) 'ch' AND id < 100;
\t
\a
SELECT string_agg(word::text, ' ' ORDER BY word) FROM words WHERE id < 100;
RESET enable_seqscan;
