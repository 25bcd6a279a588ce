\echo Use "CREATE EXTENSION qbgl" to load this file. \quit

-- ---------------------------------------------------------------------------------------------------------------------
-- Functions of texts, and conversion
-- ---------------------------------------------------------------------------------------------------------------------

CREATE FUNCTION key(source text, locale text, passes integer DEFAULT 0) RETURNS bytea
	AS 'MODULE_PATHNAME', 'qbgl_key' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 20;
COMMENT ON FUNCTION key IS 'bytes that sort as the text does in a locale';

CREATE FUNCTION compare(a text, b text, locale text, passes integer DEFAULT 0) RETURNS integer
	AS 'MODULE_PATHNAME', 'qbgl_compare' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION compare IS 'the order of two texts in a locale: -1, 0 or 1';

CREATE FUNCTION upper(source text, locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_upper' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION upper(text, text) IS 'a text in upper case, as a locale has it';

CREATE FUNCTION lower(source text, locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_lower' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION lower(text, text) IS 'a text in lower case, as a locale has it';

-- Names and formats have no fingerprint: what these make may be another text under other data.
CREATE FUNCTION strftime(format text, value timestamptz, locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_strftime_timestamptz' LANGUAGE C STABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION strftime(text, timestamptz, text) IS 'a time in the session''s zone as text, as a locale has it';

CREATE FUNCTION strftime(format text, value timestamp, locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_strftime_timestamp' LANGUAGE C STABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION strftime(text, timestamp, text) IS 'a time as text, as a locale has it';

CREATE FUNCTION strftime(format text, value date, locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_strftime_date' LANGUAGE C STABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION strftime(text, date, text) IS 'a date as text, as a locale has it';

CREATE FUNCTION strptime(source text, format text, locale text) RETURNS timestamp
	AS 'MODULE_PATHNAME', 'qbgl_strptime' LANGUAGE C STABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION strptime IS 'the time that a text tells in a format, as a locale has it';

CREATE FUNCTION money(amount numeric, locale text, format text DEFAULT '%n') RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_money' LANGUAGE C STABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION money(numeric, text, text) IS 'an amount of money as text, as a locale has it';

CREATE FUNCTION money_value(source text, locale text) RETURNS numeric
	AS 'MODULE_PATHNAME', 'qbgl_money_value' LANGUAGE C STABLE STRICT PARALLEL SAFE COST 10;
COMMENT ON FUNCTION money_value IS 'the amount of money that a text tells, as a locale has it';

CREATE FUNCTION fingerprint(locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_fingerprint' LANGUAGE C STABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION fingerprint IS 'what tells the installed order of a locale from any other';

CREATE FUNCTION foreign_options(locale text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_foreign_options' LANGUAGE C STABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION foreign_options IS 'value of the option "options" of a foreign server that has to have the same order';

CREATE FUNCTION convert_from(source bytea, codeset text) RETURNS text
	AS 'MODULE_PATHNAME', 'qbgl_convert_from' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION convert_from(bytea, text) IS 'text that is in any codeset, as a text of the database';

CREATE FUNCTION convert_to(source text, codeset text) RETURNS bytea
	AS 'MODULE_PATHNAME', 'qbgl_convert_to' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
COMMENT ON FUNCTION convert_to(text, text) IS 'the bytes of a text in any codeset';

CREATE FUNCTION locales() RETURNS SETOF text
	AS 'MODULE_PATHNAME', 'qbgl_locales' LANGUAGE C STABLE STRICT PARALLEL SAFE ROWS 500;
COMMENT ON FUNCTION locales IS 'the locales that are installed in qbgl.directory';

CREATE FUNCTION codesets() RETURNS SETOF text
	AS 'MODULE_PATHNAME', 'qbgl_codesets' LANGUAGE C STABLE STRICT PARALLEL SAFE ROWS 200;
COMMENT ON FUNCTION codesets IS 'the codesets that are installed in qbgl.directory';

-- ---------------------------------------------------------------------------------------------------------------------
-- The type qtext: texts in the order of a locale
-- ---------------------------------------------------------------------------------------------------------------------

CREATE TYPE qtext;

CREATE FUNCTION qtext_in(cstring) RETURNS qtext AS 'textin' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_out(qtext) RETURNS cstring AS 'textout' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_recv(internal) RETURNS qtext AS 'textrecv' LANGUAGE internal STABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_send(qtext) RETURNS bytea AS 'textsend' LANGUAGE internal STABLE STRICT PARALLEL SAFE;

CREATE TYPE qtext (
	INPUT = qtext_in, OUTPUT = qtext_out, RECEIVE = qtext_recv, SEND = qtext_send,
	LIKE = pg_catalog.text, CATEGORY = 'S', COLLATABLE = true
);
COMMENT ON TYPE qtext IS 'text in the order of a locale, which the name of the collation tells';

-- No cast is implicit: with this schema off the search path, a comparison would silently be that of text.
CREATE CAST (qtext AS pg_catalog.text) WITHOUT FUNCTION AS ASSIGNMENT;
CREATE CAST (qtext AS pg_catalog.varchar) WITHOUT FUNCTION AS ASSIGNMENT;
CREATE CAST (qtext AS pg_catalog.bpchar) WITHOUT FUNCTION AS ASSIGNMENT;
CREATE CAST (pg_catalog.text AS qtext) WITHOUT FUNCTION AS ASSIGNMENT;
CREATE CAST (pg_catalog.varchar AS qtext) WITHOUT FUNCTION AS ASSIGNMENT;
CREATE FUNCTION qtext(bpchar) RETURNS qtext AS 'rtrim1' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE CAST (pg_catalog.bpchar AS qtext) WITH FUNCTION qtext(bpchar) AS ASSIGNMENT;

-- qtext and qtext
CREATE FUNCTION qtext_lt(qtext, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_le(qtext, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_eq(qtext, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_ne(qtext, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_ge(qtext, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_gt(qtext, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_cmp(qtext, qtext) RETURNS int4 AS 'MODULE_PATHNAME', 'qtext_cmp' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE OPERATOR < (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_lt,
	COMMUTATOR = >, NEGATOR = >=, RESTRICT = scalarltsel, JOIN = scalarltjoinsel);
CREATE OPERATOR <= (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_le,
	COMMUTATOR = >=, NEGATOR = >, RESTRICT = scalarlesel, JOIN = scalarlejoinsel);
CREATE OPERATOR = (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_eq,
	COMMUTATOR = =, NEGATOR = <>, RESTRICT = eqsel, JOIN = eqjoinsel, HASHES, MERGES);
CREATE OPERATOR <> (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_ne,
	COMMUTATOR = <>, NEGATOR = =, RESTRICT = neqsel, JOIN = neqjoinsel);
CREATE OPERATOR >= (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_ge,
	COMMUTATOR = <=, NEGATOR = <, RESTRICT = scalargesel, JOIN = scalargejoinsel);
CREATE OPERATOR > (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_gt,
	COMMUTATOR = <, NEGATOR = <=, RESTRICT = scalargtsel, JOIN = scalargtjoinsel);

-- qtext and text
CREATE FUNCTION qtext_lt(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_le(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_eq(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_ne(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_ge(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_gt(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_cmp(qtext, text) RETURNS int4 AS 'MODULE_PATHNAME', 'qtext_cmp' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE OPERATOR < (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_lt,
	COMMUTATOR = >, NEGATOR = >=, RESTRICT = scalarltsel, JOIN = scalarltjoinsel);
CREATE OPERATOR <= (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_le,
	COMMUTATOR = >=, NEGATOR = >, RESTRICT = scalarlesel, JOIN = scalarlejoinsel);
CREATE OPERATOR = (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_eq,
	COMMUTATOR = =, NEGATOR = <>, RESTRICT = eqsel, JOIN = eqjoinsel, HASHES);
CREATE OPERATOR <> (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_ne,
	COMMUTATOR = <>, NEGATOR = =, RESTRICT = neqsel, JOIN = neqjoinsel);
CREATE OPERATOR >= (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_ge,
	COMMUTATOR = <=, NEGATOR = <, RESTRICT = scalargesel, JOIN = scalargejoinsel);
CREATE OPERATOR > (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_gt,
	COMMUTATOR = <, NEGATOR = <=, RESTRICT = scalargtsel, JOIN = scalargtjoinsel);

-- text and qtext
CREATE FUNCTION qtext_lt(text, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_lt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_le(text, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_le' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_eq(text, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_ne(text, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_ne' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_ge(text, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_ge' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_gt(text, qtext) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_gt' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_cmp(text, qtext) RETURNS int4 AS 'MODULE_PATHNAME', 'qtext_cmp' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE OPERATOR < (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_lt,
	COMMUTATOR = >, NEGATOR = >=, RESTRICT = scalarltsel, JOIN = scalarltjoinsel);
CREATE OPERATOR <= (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_le,
	COMMUTATOR = >=, NEGATOR = >, RESTRICT = scalarlesel, JOIN = scalarlejoinsel);
CREATE OPERATOR = (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_eq,
	COMMUTATOR = =, NEGATOR = <>, RESTRICT = eqsel, JOIN = eqjoinsel, HASHES);
CREATE OPERATOR <> (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_ne,
	COMMUTATOR = <>, NEGATOR = =, RESTRICT = neqsel, JOIN = neqjoinsel);
CREATE OPERATOR >= (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_ge,
	COMMUTATOR = <=, NEGATOR = <, RESTRICT = scalargesel, JOIN = scalargejoinsel);
CREATE OPERATOR > (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_gt,
	COMMUTATOR = <, NEGATOR = <=, RESTRICT = scalargtsel, JOIN = scalargtjoinsel);

-- A text and a key, as qbgl.key makes it for the same locale and passes: the ranges of a prefix are told in keys.
CREATE FUNCTION qtext_key_lt(qtext, bytea) RETURNS bool AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_key_le(qtext, bytea) RETURNS bool AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_key_eq(qtext, bytea) RETURNS bool AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_key_ge(qtext, bytea) RETURNS bool AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_key_gt(qtext, bytea) RETURNS bool AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_key_cmp(qtext, bytea) RETURNS int4 AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE OPERATOR < (LEFTARG = qtext, RIGHTARG = bytea, FUNCTION = qtext_key_lt, NEGATOR = >=, RESTRICT = scalarltsel, JOIN = scalarltjoinsel);
CREATE OPERATOR <= (LEFTARG = qtext, RIGHTARG = bytea, FUNCTION = qtext_key_le, NEGATOR = >, RESTRICT = scalarlesel, JOIN = scalarlejoinsel);
CREATE OPERATOR = (LEFTARG = qtext, RIGHTARG = bytea, FUNCTION = qtext_key_eq, RESTRICT = eqsel, JOIN = eqjoinsel);
CREATE OPERATOR >= (LEFTARG = qtext, RIGHTARG = bytea, FUNCTION = qtext_key_ge, NEGATOR = <, RESTRICT = scalargesel, JOIN = scalargejoinsel);
CREATE OPERATOR > (LEFTARG = qtext, RIGHTARG = bytea, FUNCTION = qtext_key_gt, NEGATOR = <=, RESTRICT = scalargtsel, JOIN = scalargtjoinsel);

CREATE FUNCTION qtext_sortsupport(internal) RETURNS void AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_equalimage(oid) RETURNS bool AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

CREATE OPERATOR FAMILY qtext_ops USING btree;
CREATE OPERATOR CLASS qtext_ops DEFAULT FOR TYPE qtext USING btree FAMILY qtext_ops AS
	OPERATOR 1 < , OPERATOR 2 <= , OPERATOR 3 = , OPERATOR 4 >= , OPERATOR 5 > ,
	FUNCTION 1 qtext_cmp(qtext, qtext),
	FUNCTION 2 qtext_sortsupport(internal),
	FUNCTION 4 qtext_equalimage(oid);
ALTER OPERATOR FAMILY qtext_ops USING btree ADD
	OPERATOR 1 < (qtext, text), OPERATOR 2 <= (qtext, text), OPERATOR 3 = (qtext, text), OPERATOR 4 >= (qtext, text), OPERATOR 5 > (qtext, text),
	FUNCTION 1 (qtext, text) qtext_cmp(qtext, text),
	OPERATOR 1 < (text, qtext), OPERATOR 2 <= (text, qtext), OPERATOR 3 = (text, qtext), OPERATOR 4 >= (text, qtext), OPERATOR 5 > (text, qtext),
	FUNCTION 1 (text, qtext) qtext_cmp(text, qtext),
	OPERATOR 1 < (qtext, bytea), OPERATOR 2 <= (qtext, bytea), OPERATOR 3 = (qtext, bytea), OPERATOR 4 >= (qtext, bytea), OPERATOR 5 > (qtext, bytea),
	FUNCTION 1 (qtext, bytea) qtext_key_cmp(qtext, bytea);

CREATE FUNCTION qtext_hash(qtext) RETURNS int4 AS 'MODULE_PATHNAME', 'qtext_hash' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_hash(text) RETURNS int4 AS 'MODULE_PATHNAME', 'qtext_hash' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_hash_extended(qtext, int8) RETURNS int8 AS 'MODULE_PATHNAME', 'qtext_hash_extended'
	LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_hash_extended(text, int8) RETURNS int8 AS 'MODULE_PATHNAME', 'qtext_hash_extended'
	LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;

-- Two texts as values of qtext: what the server needs that hashes the text side of a comparison with qtext.
CREATE FUNCTION qtext_eq(text, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_eq' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE OPERATOR === (LEFTARG = text, RIGHTARG = text, FUNCTION = qtext_eq, COMMUTATOR = ===, RESTRICT = eqsel, JOIN = eqjoinsel, HASHES);

CREATE OPERATOR FAMILY qtext_ops USING hash;
CREATE OPERATOR CLASS qtext_ops DEFAULT FOR TYPE qtext USING hash FAMILY qtext_ops AS
	OPERATOR 1 = ,
	FUNCTION 1 qtext_hash(qtext),
	FUNCTION 2 qtext_hash_extended(qtext, int8);
ALTER OPERATOR FAMILY qtext_ops USING hash ADD
	OPERATOR 1 = (qtext, text),
	OPERATOR 1 = (text, qtext),
	OPERATOR 1 === (text, text),
	FUNCTION 1 (text, text) qtext_hash(text),
	FUNCTION 2 (text, text) qtext_hash_extended(text, int8);

CREATE FUNCTION qtext_smaller(qtext, qtext) RETURNS qtext AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_larger(qtext, qtext) RETURNS qtext AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE AGGREGATE min(qtext) (SFUNC = qtext_smaller, STYPE = qtext, COMBINEFUNC = qtext_smaller, SORTOP = <, PARALLEL = SAFE);
CREATE AGGREGATE max(qtext) (SFUNC = qtext_larger, STYPE = qtext, COMBINEFUNC = qtext_larger, SORTOP = >, PARALLEL = SAFE);

CREATE FUNCTION qtext_like_support(internal) RETURNS internal AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_like(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_like'
	LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE SUPPORT qtext_like_support;
CREATE FUNCTION qtext_not_like(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_not_like'
	LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
-- What a LIKE becomes whose prefix has several ranges, beside them.
CREATE FUNCTION qtext_like_in_ranges_support(internal) RETURNS internal AS 'MODULE_PATHNAME' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_like_in_ranges(qtext, text) RETURNS bool AS 'MODULE_PATHNAME', 'qtext_like'
	LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE SUPPORT qtext_like_in_ranges_support;
CREATE FUNCTION qtext_like_selectivity(internal, oid, internal, int4) RETURNS float8 AS 'MODULE_PATHNAME'
	LANGUAGE C STABLE STRICT PARALLEL SAFE;
CREATE OPERATOR ~~ (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_like, NEGATOR = !~~,
	RESTRICT = qtext_like_selectivity, JOIN = likejoinsel);
CREATE OPERATOR !~~ (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_not_like, NEGATOR = ~~,
	RESTRICT = nlikesel, JOIN = nlikejoinsel);

CREATE FUNCTION qtext_concat(qtext, qtext) RETURNS qtext AS 'textcat' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_concat(qtext, text) RETURNS qtext AS 'textcat' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION qtext_concat(text, qtext) RETURNS qtext AS 'textcat' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE OPERATOR || (LEFTARG = qtext, RIGHTARG = qtext, FUNCTION = qtext_concat);
CREATE OPERATOR || (LEFTARG = qtext, RIGHTARG = text, FUNCTION = qtext_concat);
CREATE OPERATOR || (LEFTARG = text, RIGHTARG = qtext, FUNCTION = qtext_concat);

CREATE FUNCTION upper(qtext) RETURNS qtext AS 'MODULE_PATHNAME', 'qtext_upper' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION lower(qtext) RETURNS qtext AS 'MODULE_PATHNAME', 'qtext_lower' LANGUAGE C IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION length(qtext) RETURNS int4 AS 'textlen' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION substr(qtext, int4) RETURNS qtext AS 'text_substr_no_len' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;
CREATE FUNCTION substr(qtext, int4, int4) RETURNS qtext AS 'text_substr' LANGUAGE internal IMMUTABLE STRICT PARALLEL SAFE;

-- ---------------------------------------------------------------------------------------------------------------------
-- Locales of a database, and their fingerprints
-- ---------------------------------------------------------------------------------------------------------------------

-- What the database's indexes were built under. Dumps carry it.
CREATE TABLE remembered_orders (
	locale text PRIMARY KEY,
	fingerprint text NOT NULL
);
SELECT pg_catalog.pg_extension_config_dump('remembered_orders', '');
GRANT SELECT ON remembered_orders TO PUBLIC;

CREATE FUNCTION guard_trigger() RETURNS trigger AS 'MODULE_PATHNAME', 'qbgl_guard_trigger' LANGUAGE C;
CREATE TRIGGER guard AFTER INSERT OR UPDATE OR DELETE ON remembered_orders FOR EACH STATEMENT EXECUTE FUNCTION guard_trigger();

CREATE FUNCTION add_locale(locale text, passes int4 DEFAULT 0) RETURNS regcollation AS 'MODULE_PATHNAME', 'qbgl_add_locale'
	LANGUAGE C VOLATILE STRICT PARALLEL UNSAFE;

-- Indexes and partitions that may stand under the order of a locale.
CREATE VIEW collated_indexes AS
	SELECT i.indexrelid AS index_oid, i.indrelid AS table_oid
	FROM pg_catalog.pg_index i
	WHERE EXISTS (
		SELECT FROM pg_catalog.unnest(i.indcollation::oid[]) AS u(oid)
		JOIN pg_catalog.pg_collation c ON c.oid OPERATOR(pg_catalog.=) u.oid
		WHERE c.collnamespace OPERATOR(pg_catalog.=) 'qbgl'::pg_catalog.regnamespace::pg_catalog.oid)
	OR EXISTS (
		SELECT FROM pg_catalog.pg_depend d
		LEFT JOIN pg_catalog.pg_proc p ON p.oid OPERATOR(pg_catalog.=) d.refobjid
			AND d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_proc'::pg_catalog.regclass::pg_catalog.oid
		LEFT JOIN pg_catalog.pg_operator o ON o.oid OPERATOR(pg_catalog.=) d.refobjid
			AND d.refclassid OPERATOR(pg_catalog.=) 'pg_catalog.pg_operator'::pg_catalog.regclass::pg_catalog.oid
		WHERE d.classid OPERATOR(pg_catalog.=) 'pg_catalog.pg_class'::pg_catalog.regclass::pg_catalog.oid
			AND d.objid OPERATOR(pg_catalog.=) i.indexrelid
			AND 'qbgl'::pg_catalog.regnamespace::pg_catalog.oid OPERATOR(pg_catalog.=) ANY (ARRAY[p.pronamespace, o.oprnamespace]));
CREATE VIEW collated_partitions AS
	SELECT DISTINCT p.oid::pg_catalog.regclass AS partition, pg_catalog.pg_get_partition_constraintdef(p.oid) AS condition,
		p.relowner AS owner, c.oid AS collation_oid
	FROM pg_catalog.pg_class p
	CROSS JOIN pg_catalog.pg_partition_ancestors(p.oid) AS a(relid)
	JOIN pg_catalog.pg_partitioned_table t ON t.partrelid OPERATOR(pg_catalog.=) a.relid
	CROSS JOIN pg_catalog.unnest(t.partcollation::oid[]) AS u(oid)
	JOIN pg_catalog.pg_collation c ON c.oid OPERATOR(pg_catalog.=) u.oid
	WHERE p.relispartition AND p.relkind OPERATOR(pg_catalog.=) 'r'
		AND c.collnamespace OPERATOR(pg_catalog.=) 'qbgl'::pg_catalog.regnamespace::pg_catalog.oid;

CREATE FUNCTION check_index(index regclass, locale text DEFAULT NULL) RETURNS text AS 'MODULE_PATHNAME', 'qbgl_check_index'
	LANGUAGE C VOLATILE PARALLEL UNSAFE;
CREATE FUNCTION check_indexes(locale text DEFAULT NULL, OUT index regclass, OUT reason text) RETURNS SETOF record
	LANGUAGE sql VOLATILE PARALLEL UNSAFE
	BEGIN ATOMIC
		SELECT c.index, c.reason
		FROM (SELECT i.index_oid::pg_catalog.regclass AS index, qbgl.check_index(i.index_oid::pg_catalog.regclass, $1) AS reason
			FROM qbgl.collated_indexes i) AS c
		WHERE c.reason IS NOT NULL;
	END;
CREATE FUNCTION accept(locale text) RETURNS text AS 'MODULE_PATHNAME', 'qbgl_accept' LANGUAGE C VOLATILE STRICT PARALLEL UNSAFE;
COMMENT ON FUNCTION check_indexes(text) IS 'the indexes that are in another order than the installed data have';
COMMENT ON FUNCTION accept(text) IS 'remembers the installed order of a locale, once no index is left in another';

REVOKE EXECUTE ON FUNCTION check_index(regclass, text), check_indexes(text), accept(text) FROM PUBLIC;
REVOKE EXECUTE ON FUNCTION add_locale(text, int4), guard_trigger() FROM PUBLIC;
COMMENT ON FUNCTION add_locale(text, int4) IS 'makes the collation of a locale, and remembers its order';
