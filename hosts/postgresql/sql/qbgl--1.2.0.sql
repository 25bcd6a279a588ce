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

-- ---------------------------------------------------------------------------------------------------------------------
-- Locales of a database, and their fingerprints
-- ---------------------------------------------------------------------------------------------------------------------
