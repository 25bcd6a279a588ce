-- Another order in the place of the remembered one: the tree's Czech is German then, and so is its Slovak, which is left alone.
SELECT current_setting('qbgl.directory') AS tree, current_setting('data_directory') || '/other' AS other \gset
\setenv TREE :tree
\setenv OTHER :other
\! cp -Rs "$TREE" "$OTHER" && for to in cs_cz sk_sk; do ln -sf "$TREE/vrn/lc11/de_de/e01c.lco" "$OTHER/vrn/lc11/$to/e01c.lco"; done
DROP TABLE IF EXISTS words, names, hashed, ranged;
SET search_path = public, qbgl;
SET enable_seqscan = off;
SET jit = off;
CREATE FUNCTION masked(statement text) RETURNS text LANGUAGE sql AS
  $$ SELECT regexp_replace(refusal(statement), '[0-9a-f]{16}', 'FINGERPRINT', 'g') $$;
CREATE TABLE words (word qtext COLLATE "cs_CZ");
INSERT INTO words VALUES ('had'), ('chata'), ('ivan'), ('cihla');
CREATE INDEX words_word ON words (word);
-- Its first page ends between h and ch, which nothing else in it tells of.
CREATE TABLE edge AS SELECT (word || string_agg(md5(i::text), ''))::qtext COLLATE "cs_CZ" AS word
  FROM unnest('{a,d,h,ch,i}'::text[]) word, generate_series(1, 62) i GROUP BY word;
CREATE INDEX words_edge ON edge (word);
CREATE INDEX edge_hash ON edge USING hash (word);
CREATE TABLE untouched (id int, word qtext COLLATE "cs_CZ", PRIMARY KEY (id, word));
INSERT INTO untouched VALUES (1, 'a'), (2, 'b');
CREATE TABLE late AS SELECT length(word) AS id, word FROM words;
CREATE INDEX late_id ON late (id) WHERE word > 'h';
CREATE INDEX late_row ON late (id) WHERE (word, id) > ('h', 0);
CREATE INDEX words_compare ON words (qbgl.compare(word::text COLLATE "default", 'h', 'cs_CZ.utf8'));
INSERT INTO remembered_orders SELECT 'cs_cz.UTF-8', fingerprint FROM remembered_orders WHERE locale = 'cs_CZ.utf8';
CREATE TABLE names (name qtext COLLATE "cs_CZ_1");
INSERT INTO names VALUES ('chata'), ('Čapek');
CREATE INDEX names_hash ON names USING hash (name);
CREATE UNIQUE INDEX names_name ON names (name);
CREATE TABLE ranged (name qtext COLLATE "cs_CZ") PARTITION BY RANGE (name);
CREATE TABLE ranged_a PARTITION OF ranged FOR VALUES FROM (MINVALUE) TO ('h');
CREATE TABLE ranged_h PARTITION OF ranged FOR VALUES FROM ('h') TO (MAXVALUE);
INSERT INTO ranged SELECT word FROM words;
SELECT add_locale('sk_SK.utf8') \g /dev/null
CREATE TABLE slovak (name qtext COLLATE "sk_SK") PARTITION BY RANGE (name);
CREATE TABLE slovak_h PARTITION OF slovak FOR VALUES FROM ('h') TO (MAXVALUE);
CREATE INDEX slovak_length ON slovak_h (length(name)) WHERE name <> '';
INSERT INTO slovak VALUES ('chata');
EXPLAIN (COSTS OFF) SELECT word FROM words ORDER BY word;
SELECT * FROM check_indexes();

-- Neither a comparison nor a scan in the order of an index, which compares nothing, goes on; nor does REINDEX.
SET qbgl.directory = :'other';
\a
\t
SELECT masked(statement) FROM (VALUES
  (1, $$SELECT 'a' < ('b'::qtext COLLATE "cs_CZ")$$),
  (2, $$SELECT word FROM words ORDER BY word$$),
  (3, $$INSERT INTO words VALUES ('co')$$),
  (4, $$SELECT qbgl.key('a', 'cs_CZ.utf8')$$),
  (5, $$REINDEX TABLE words$$),
  (6, $$SELECT 'a' < ('b'::qtext COLLATE "th_TH@dict")$$),
  (7, $$SELECT qbgl.upper('a', 'cs_CZ.utf8')$$),
  (8, $$SELECT id FROM untouched$$),
  (9, $$SELECT length(name) FROM slovak_h$$),
  (10, $$SELECT id FROM late WHERE word > 'h'$$)) t(number, statement) ORDER BY number;

-- Where it is allowed, indexes of the old order are not read. It is accepted when none is left.
SET qbgl.allow_changed_order = on;
SELECT masked($$SELECT accept('cs_CZ.utf8')$$);
\t
\a
EXPLAIN (COSTS OFF) SELECT word FROM words ORDER BY word;
SELECT string_agg(word::text, ' ' ORDER BY word) AS german FROM words;
SELECT * FROM check_indexes() ORDER BY index::text;
REINDEX INDEX words_word;
REINDEX TABLE edge;
SELECT accept('cs_CZ.utf8');
WITH moved AS (DELETE FROM ranged_h RETURNING name) INSERT INTO ranged SELECT name FROM moved;
SELECT accept('cs_CZ.utf8') = fingerprint('de_DE.utf8') AS accepted;
RESET qbgl.allow_changed_order;
SELECT * FROM check_indexes();
EXPLAIN (COSTS OFF) SELECT word FROM words ORDER BY word;
SELECT count(*) FROM names WHERE name = 'CAPEK';
INSERT INTO names VALUES ('Capek');
SELECT collversion = fingerprint('de_DE.utf8') AS guarded FROM pg_collation WHERE collname = 'cs_CZ_1';

-- So the old order is the foreign one now; a session may insist on either.
\a
\t
RESET qbgl.directory;
SELECT masked($$SELECT word FROM words ORDER BY word$$);
SET qbgl.directory = :'other';
SET qbgl.require = 'cs_CZ.UTF-8:0123456789abcdef,de_DE.utf8:0123456789abcdef';
SELECT masked($$SELECT word FROM words ORDER BY word$$);
