/*-------------------------------------------------------------------------
 *
 * functions.c
 *	  Keys, comparison and case of texts, by the name of a locale.
 *
 *-------------------------------------------------------------------------
 */
#include "qbgl_pg.h"

#include "fmgr.h"
#include "utils/builtins.h"
#include "utils/memutils.h"

#include "conversion.h"
#include "qtext.h"

/*
 * Ensure that a number of passes is one that the orders have.
 */
static int
CheckPasses(int passes)
{
	if (passes < -1 || passes > GL_MAX_PASSES)
		ereport(ERROR,
				(errcode(ERRCODE_INVALID_PARAMETER_VALUE), errmsg("there are no %d passes", passes),
				 errhint("1 to %d count from the first, -1 is all, 0 all and then the bytes.",
						 GL_MAX_PASSES)));
	return passes;
}

/*
 * key(source text, locale text, passes integer) returns bytea
 */
PG_FUNCTION_INFO_V1(qbgl_key);
Datum
qbgl_key(PG_FUNCTION_ARGS)
{
	text *source = PG_GETARG_TEXT_PP(0);
	CollationOrder order = {.locale = UseLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(1)),
							.passes = CheckPasses(PG_GETARG_INT32(2))};

	PG_RETURN_BYTEA_P(KeyOfText(&order, VARDATA_ANY(source), VARSIZE_ANY_EXHDR(source)));
}

/*
 * compare(left text, right text, locale text, passes integer) returns integer
 */
PG_FUNCTION_INFO_V1(qbgl_compare);
Datum
qbgl_compare(PG_FUNCTION_ARGS)
{
	text *left = PG_GETARG_TEXT_PP(0);
	text *right = PG_GETARG_TEXT_PP(1);
	CollationOrder order = {.locale = UseLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(2)),
							.passes = CheckPasses(PG_GETARG_INT32(3))};

	PG_RETURN_INT32(CompareTexts(&order, VARDATA_ANY(left), VARSIZE_ANY_EXHDR(left),
								 VARDATA_ANY(right), VARSIZE_ANY_EXHDR(right)));
}

/*
 * A text in the other case: as a whole, for that of one character may be two.
 */
static text *
ChangeCase(QbglLocale *locale, const text *source, int (*change)(gl_locale *, char *, const char *))
{
	int length;
	char *in = ToLocaleString(locale, source, &length);
	Size room = (Size) gl_case_conv_outbuflen(locale->handle, length) + TERMINATOR_SIZE;
	char *out;
	int size;
	text *result;

	if (room > MaxAllocSize)
		ereport(ERROR,
				(errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
				 errmsg("a text of %d bytes is too long to be mapped to the other case", length)));
	out = palloc(room);
	gl_clear_errno(locale->handle);
	size = change(locale->handle, out, in);
	if (size < 0 && gl_errno(locale->handle) == GL_ENOMEM)
		ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY),
						errmsg("out of memory while mapping a text to the other case")));
	/* A database without an encoding may have any bytes. */
	if (size < 0)
		RefuseBadText(locale, in, length);
	result = FromLocale(locale, out, size);
	pfree(in);
	pfree(out);
	return result;
}

/*
 * upper(source text, locale text) returns text
 */
PG_FUNCTION_INFO_V1(qbgl_upper);
Datum
qbgl_upper(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = UseLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(1));

	PG_RETURN_TEXT_P(ChangeCase(locale, PG_GETARG_TEXT_PP(0), gl_tombsupper));
}

/*
 * lower(source text, locale text) returns text
 */
PG_FUNCTION_INFO_V1(qbgl_lower);
Datum
qbgl_lower(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = UseLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(1));

	PG_RETURN_TEXT_P(ChangeCase(locale, PG_GETARG_TEXT_PP(0), gl_tombslower));
}

/*
 * upper(qtext) returns qtext, lower(qtext) returns qtext
 *
 * In the locale that the collation stands for.
 */
PG_FUNCTION_INFO_V1(qtext_upper);
Datum
qtext_upper(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = OrderOfCollation(PG_GET_COLLATION())->locale;

	PG_RETURN_TEXT_P(ChangeCase(locale, PG_GETARG_TEXT_PP(0), gl_tombsupper));
}

PG_FUNCTION_INFO_V1(qtext_lower);
Datum
qtext_lower(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = OrderOfCollation(PG_GET_COLLATION())->locale;

	PG_RETURN_TEXT_P(ChangeCase(locale, PG_GETARG_TEXT_PP(0), gl_tombslower));
}

/*
 * fingerprint(locale text) returns text
 *
 * Of the data that are installed, whatever the database remembers.
 */
PG_FUNCTION_INFO_V1(qbgl_fingerprint);
Datum
qbgl_fingerprint(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = LoadLocale(text_to_cstring(PG_GETARG_TEXT_PP(0)));

	PG_RETURN_TEXT_P(cstring_to_text(locale->fingerprint));
}

/*
 * foreign_options(locale text) returns text
 *
 * What makes the server behind a connection refuse to be used under another
 * order: the value of the option "options" of CREATE SERVER.
 */
PG_FUNCTION_INFO_V1(qbgl_foreign_options);
Datum
qbgl_foreign_options(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = UseLocale(text_to_cstring(PG_GETARG_TEXT_PP(0)));

	PG_RETURN_TEXT_P(
		cstring_to_text(psprintf("-c qbgl.require=%s:%s", locale->name, locale->fingerprint)));
}
