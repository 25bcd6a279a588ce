CREATE EXTENSION qbgl;

-- What the server has no conversion of.
SELECT qbgl.convert_from('\xC8819296', 'cp037') AS ebcdic,
       qbgl.convert_from('\x936E95D3', 'SJIS') AS shift_jis,
       qbgl.convert_to('渡辺', 'sjis') AS to_shift_jis,
       qbgl.convert_to('渡辺', 'utf8') AS to_utf8,
       qbgl.convert_to('', 'sjis') AS empty,
       qbgl.convert_to(NULL, 'sjis') IS NULL AS null_text;

-- Longer than the pieces that it is made in.
SELECT qbgl.convert_from(qbgl.convert_to(text, 'sjis'), 'sjis') = text AS same
  FROM repeat('渡辺 x', 100000) text;

-- There and back in more codesets than a backend keeps open.
SELECT count(*) AS codesets, count(*) FILTER (WHERE qbgl.convert_from(qbgl.convert_to('Qbgl', name), name) = 'Qbgl') AS same
  FROM (SELECT name FROM qbgl.codesets() name WHERE name ~ '^(8859-|cp|pc-|sjis|big5|gb18030|utf)') names;

-- Each refusal with its state, offset and bytes.
CREATE FUNCTION refusal(statement text) RETURNS text LANGUAGE plpgsql AS $$
BEGIN
  EXECUTE statement;
  RETURN 'not refused';
EXCEPTION WHEN OTHERS THEN
  RETURN sqlstate || ': ' || regexp_replace(sqlerrm, '"/[^"]*/quorbane"', 'DIRECTORY');
END $$;
\a
SELECT refusal('SELECT qbgl.' || call) FROM (VALUES
  (1, $$convert_from('\x4193FF', 'sjis')$$),
  (2, $$convert_from('\x419A', 'utf8')$$),
  (3, $$convert_from('\x936E936E93', 'sjis')$$),
  (4, $$convert_from('\x936E9500', 'sjis')$$),
  (5, $$convert_from('\x936E00', 'sjis')$$),
  (6, $$convert_to('abc€b', '8859-1')$$),
  (7, $$convert_to(repeat('a', 70000) || '—b', 'sjis')$$),
  (8, $$convert_to('a', '../cv9/utf8')$$),
  (9, $$convert_to('a', '/etc/passwd')$$),
  (10, $$convert_to('a', '')$$),
  (11, $$convert_to('a', repeat('s', 3000000))$$),
  (12, $$convert_to('a', 'cs_CZ.8859-2')$$),
  (13, $$convert_to('a', '12345')$$)) calls(number, call) ORDER BY number;
\a

SELECT count(*) > 400 AS locales, bool_or(name = 'cs_CZ.utf8') AS czech FROM qbgl.locales() name;

-- The directory is the superuser's.
SET qbgl.directory = 'relative';
SET qbgl.directory = '/nowhere';
SELECT refusal($$SELECT qbgl.convert_to('a', 'sjis')$$);
SELECT count(*) FROM qbgl.locales();
RESET qbgl.directory;
SELECT qbgl.convert_to('a', 'sjis');
CREATE ROLE nobody;
SET ROLE nobody;
SET qbgl.directory = '/nowhere';
RESET ROLE;
DROP ROLE nobody;
