-- Order: Czech letters, the ligature ch behind h, accents and case in later passes.
SELECT string_agg(name, ' ' ORDER BY qbgl.key(name, 'cs_CZ.utf8')) AS by_key,
       string_agg(name, ' ' ORDER BY qbgl.key(name, 'cs_CZ.8859-2')) AS by_key_of_8859_2
  FROM unnest(ARRAY['Zdeněk', 'Čapek', 'chata', 'Chalupa', 'Hašek', 'Cibulka', 'cibulka', 'Iva']) name;
SELECT qbgl.compare('chata', 'hrad', 'cs_CZ.utf8') AS czech, qbgl.compare('chata', 'hrad', 'de_DE.utf8') AS german,
       qbgl.compare('MULLER', 'müller', 'de_DE.utf8', 1) AS letters, qbgl.compare('MULLER', 'müller', 'de_DE.utf8') AS all_passes,
       qbgl.compare('a', NULL, 'de_DE.utf8') AS null_text;

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

-- Dates, in the session's zone where they have one, and amounts, exactly; and back.
SET timezone = 'Europe/Prague';
SET datestyle = 'ISO';
SELECT qbgl.strftime('%A %e. %B %Y, %R %Z %z', '2024-07-24 18:00+00', 'cs_CZ.utf8') AS summer,
       qbgl.strftime('%x %X%Z%z', timestamp '0001-01-01 23:59:59.9', 'de_DE.utf8') AS no_zone,
       qbgl.strftime('%x', date '2024-12-24', 'cs_CZ.8859-2') AS day,
       qbgl.strftime('%F', 'infinity'::date, 'de_DE.utf8') IS NULL AND qbgl.strftime('%F', '-infinity', 'de_DE.utf8') IS NULL AS infinite;
SELECT name, qbgl.strftime('%Z', now, 'cs_CZ.utf8') IN ('CET', 'CEST') AS prague,
       qbgl.strptime(qbgl.strftime('%F %T %z', now, name), '%F %T %z', name) AT TIME ZONE 'UTC' = now AS same,
       qbgl.strptime(qbgl.strftime('%c', now AT TIME ZONE 'UTC', name), '%c', name) = now AT TIME ZONE 'UTC' AS same_utc
  FROM date_trunc('second', now()) now, unnest(ARRAY['cs_CZ.8859-2', 'ja_JP.sjis', 'he_IL.utf8', 'th_TH.utf8']) name;
SELECT qbgl.strptime('3. ŘÍJNA 2024', '%d. %B %Y', 'cs_CZ.utf8') AS day, qbgl.strptime('18:00', '%R', 'cs_CZ.8859-2') AS hour,
       qbgl.strptime('31.12.99 23:59:60 -0100 UTC', '%d.%m.%y %T %z %Z', 'de_DE.utf8') AS leap_second;
SELECT qbgl.money(-12345678901234567890.005, 'de_DE.utf8'), qbgl.money(1234567, 'cs_CZ.8859-2', '%i'), qbgl.money(0.5, 'en_US.utf8', '%!.0n'),
       qbgl.money_value('-12.345.678.901.234.567.890,01 €', 'de_DE.utf8') AS value,
       qbgl.money_value(qbgl.money(-7, 'en_US.utf8', '%-(20n'), 'en_US.utf8') AS filled;
\a
SELECT refusal('SELECT qbgl.' || call) FROM (VALUES
  (0, $$strftime('%F', date '0001-12-31 BC', 'cs_CZ.utf8')$$),
  (1, $$strftime('%!', date '2024-12-24', 'cs_CZ.utf8')$$),
  (2, $$strftime('%1048576Y', date '2024-12-24', 'cs_CZ.utf8')$$),
  (3, $$strftime('渡', date '2024-12-24', 'cs_CZ.8859-2')$$),
  (4, $$strptime('3. řijna', '%d. %B', 'cs_CZ.utf8')$$),
  (5, $$strptime('30.2.2024', '%d.%m.%Y', 'cs_CZ.8859-2')$$),
  (6, $$strptime('1', '%!', 'cs_CZ.utf8')$$),
  (7, $$strptime('-44', '%Y', 'cs_CZ.utf8')$$),
  (8, $$strptime('+300000', '%Y', 'cs_CZ.utf8')$$),
  (9, $$strptime('5', '%d', 'he_IL.utf8')$$),
  (10, $$money('NaN', 'cs_CZ.utf8')$$),
  (11, $$money(1, 'cs_CZ.utf8', '%d')$$),
  (12, $$money_value('€', 'de_DE.utf8')$$),
  (13, $$money(1, 'xx_XX.utf8')$$)) calls(number, call) ORDER BY number;
\a
CREATE TEMPORARY TABLE amounts (amount numeric);
SELECT qbgl.strptime('24.12.2024 x', '%d.%m.%Y', 'cs_CZ.8859-2');
SELECT qbgl.money_value('1.5 €', 'de_DE.utf8');
CREATE INDEX ON pg_temp.amounts (qbgl.money(amount, 'cs_CZ.utf8'));

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
