/*-------------------------------------------------------------------------
 *
 * formats.c
 *	  Dates and amounts as texts in the manner of a language, and back.
 *
 * What is written goes by data of a locale that no fingerprint guards: none of
 * these functions is immutable, so that no index stands on them.
 *
 *-------------------------------------------------------------------------
 */
#include "qbgl_pg.h"

#include "fmgr.h"
#include "utils/builtins.h"
#include "utils/date.h"
#include "utils/datetime.h"
#include "utils/numeric.h"
#include "utils/timestamp.h"

#include "locales.h"

/* Room for the results of most formats, and for what any may have: a width may be any number. */
#define FIRST_ROOM 256
#define MOST_ROOM (1024 * 1024)

typedef int (*Writer)(gl_locale *handle, char *out, int room, const char *format,
					  const void *value);

static int
WriteTime(gl_locale *handle, char *out, int room, const char *format, const void *value)
{
	return gl_mbsftime(handle, out, room, format, value);
}

static int
WriteAmount(gl_locale *handle, char *out, int room, const char *format, const void *value)
{
	return gl_mbsfmon_text(handle, out, room, format, value);
}

/*
 * Ensure that the library did what was asked, but for the reasons that the
 * caller tells. A database without an encoding may have a format of any bytes.
 */
static void
CheckWritten(QbglLocale *locale, int length, const char *format, int format_length)
{
	int error = length < 0 ? gl_errno(locale->handle) : 0;

	if (length >= 0 || error == GL_EINVAL)
		return;
	if (error == GL_E2BIG)
		ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
						errmsg("a date or an amount of more than %d bytes", MOST_ROOM)));
	if (error == GL_EILSEQ)
		RefuseBadText(locale, format, format_length);
	ereport(ERROR, (errcode(ERRCODE_INTERNAL_ERROR),
					errmsg("the locale \"%s\": %s", locale->name, gl_strerror(error))));
}

/*
 * What a format makes of a value, or NULL where there is no such format.
 */
static text *
Format(QbglLocale *locale, const text *format, Writer write, const void *value)
{
	int format_length;
	char *string = ToLocaleString(locale, format, &format_length);
	char *out = palloc(FIRST_ROOM);
	int room = FIRST_ROOM;
	int length;
	text *result;

	for (;;)
	{
		gl_clear_errno(locale->handle);
		length = write(locale->handle, out, room, string, value);
		if (length >= 0 || gl_errno(locale->handle) != GL_E2BIG || room == MOST_ROOM)
			break;
		room *= 16;
		pfree(out);
		out = palloc(room);
	}
	CheckWritten(locale, length, string, format_length);
	result = length < 0 ? NULL : FromLocale(locale, out, length);
	pfree(out);
	pfree(string);
	return result;
}

/*
 * Give the zone 0 of a locale its name.
 */
static void
NameZone(QbglLocale *locale, const char *name)
{
	gl_locale *handle = locale->handle;
	LocaleText in;
	char *names[1];

	if (strcmp(locale->zone_name, name) == 0)
		return;
	ToLocale(locale, name, strlen(name), &in);
	names[0] = palloc0(in.length + TERMINATOR_SIZE);
	memcpy(names[0], in.bytes, in.length);
	if (gl_set_zone_names(handle, (const char *const *) names, 1) != 0)
	{
		if (gl_errno(handle) == GL_ENOMEM)
			ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory")));
		RefuseBadText(locale, in.bytes, in.length);
	}
	strlcpy(locale->zone_name, name, sizeof locale->zone_name);
	FreeLocaleText(&in);
	pfree(names[0]);
}

/*
 * Ensure that a year is one that has the same number everywhere.
 */
static void
CheckYear(int64 year)
{
	if (year < 1)
		ereport(ERROR, (errcode(ERRCODE_DATETIME_VALUE_OUT_OF_RANGE),
						errmsg("years before 1 are neither written nor read")));
}

/*
 * Ensure that a format is one of dates, in which the locale could write one.
 */
static text *
CheckTimeFormat(text *result, const text *format, QbglLocale *locale)
{
	if (result == NULL)
		ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
						errmsg("\"%s\" has a conversion that there is not, or the calendar of "
							   "\"%s\" has no such date",
							   text_to_cstring(format), locale->name)));
	return result;
}

/*
 * A time that the server has taken apart, without a zone.
 */
static text *
FormatTime(QbglLocale *locale, const text *format, const struct pg_tm *time, int isdst, int gmtoff,
		   const char *zone)
{
	int day = date2j(time->tm_year, time->tm_mon, time->tm_mday);
	gl_tm tm = {.sec = time->tm_sec,
				.min = time->tm_min,
				.hour = time->tm_hour,
				.mday = time->tm_mday,
				.mon = time->tm_mon - 1,
				.monname = time->tm_mon - 1,
				.year = time->tm_year - 1900,
				.wday = j2day(day),
				.yday = day - date2j(time->tm_year, 1, 1),
				.isdst = isdst,
				.gmtoff = gmtoff,
				.zone = zone ? 0 : -1};

	CheckYear(time->tm_year);
	if (zone)
		NameZone(locale, zone);
	return CheckTimeFormat(Format(locale, format, WriteTime, &tm), format, locale);
}

/*
 * Ensure that a timestamp could be taken apart.
 */
static void
CheckTimestamp(int result)
{
	if (result != 0)
		ereport(ERROR,
				(errcode(ERRCODE_DATETIME_VALUE_OUT_OF_RANGE), errmsg("timestamp out of range")));
}

/*
 * strftime(format text, value timestamptz, locale text) returns text
 *
 * In the session's time zone. Null for infinity, as to_char has it.
 */
PG_FUNCTION_INFO_V1(qbgl_strftime_timestamptz);
Datum
qbgl_strftime_timestamptz(PG_FUNCTION_ARGS)
{
	TimestampTz value = PG_GETARG_TIMESTAMPTZ(1);
	QbglLocale *locale = LoadLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(2));
	struct pg_tm time;
	fsec_t fraction;
	int west;
	const char *zone;

	if (TIMESTAMP_NOT_FINITE(value))
		PG_RETURN_NULL();
	CheckTimestamp(timestamp2tm(value, &west, &time, &fraction, &zone, NULL));
	PG_RETURN_TEXT_P(
		FormatTime(locale, PG_GETARG_TEXT_PP(0), &time, Max(time.tm_isdst, 0), -west, zone));
}

/*
 * strftime(format text, value timestamp, locale text) returns text
 */
PG_FUNCTION_INFO_V1(qbgl_strftime_timestamp);
Datum
qbgl_strftime_timestamp(PG_FUNCTION_ARGS)
{
	Timestamp value = PG_GETARG_TIMESTAMP(1);
	QbglLocale *locale = LoadLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(2));
	struct pg_tm time;
	fsec_t fraction;

	if (TIMESTAMP_NOT_FINITE(value))
		PG_RETURN_NULL();
	CheckTimestamp(timestamp2tm(value, NULL, &time, &fraction, NULL, NULL));
	PG_RETURN_TEXT_P(FormatTime(locale, PG_GETARG_TEXT_PP(0), &time, -1, 0, NULL));
}

/*
 * strftime(format text, value date, locale text) returns text
 */
PG_FUNCTION_INFO_V1(qbgl_strftime_date);
Datum
qbgl_strftime_date(PG_FUNCTION_ARGS)
{
	DateADT value = PG_GETARG_DATEADT(1);
	QbglLocale *locale = LoadLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(2));
	struct pg_tm time = {0};

	if (DATE_NOT_FINITE(value))
		PG_RETURN_NULL();
	j2date(value + POSTGRES_EPOCH_JDATE, &time.tm_year, &time.tm_mon, &time.tm_mday);
	PG_RETURN_TEXT_P(FormatTime(locale, PG_GETARG_TEXT_PP(0), &time, -1, 0, NULL));
}

/*
 * Ensure that a text was read to its end.
 */
static void
CheckTimeRead(QbglLocale *locale, const text *source, const text *format, const char *end, int left)
{
	int error = end == NULL ? gl_errno(locale->handle) : 0;

	if (end != NULL && left == 0)
		return;
	if (error == GL_EINVAL)
		CheckTimeFormat(NULL, format, locale);
	if (error == GL_ERANGE)
		ereport(ERROR,
				(errcode(ERRCODE_DATETIME_FIELD_OVERFLOW),
				 errmsg("\"%s\" is no day, or a part of one in the calendar of \"%s\", which takes "
						"year, month and day",
						text_to_cstring(source), locale->name)));
	ereport(ERROR, (errcode(ERRCODE_INVALID_DATETIME_FORMAT),
					errmsg("\"%s\" is no time as \"%s\" has it in \"%s\"", text_to_cstring(source),
						   text_to_cstring(format), locale->name),
					end == NULL ? 0
								: errdetail("Left over is \"%s\".",
											text_to_cstring(FromLocale(locale, end, left)))));
}

/*
 * What the library has read, as a timestamp. In UTC, where the text told
 * its distance from that. A leap second counts on.
 */
static Timestamp
TimestampOf(const gl_tm *tm)
{
	struct pg_tm time = {.tm_sec = tm->sec,
						 .tm_min = tm->min,
						 .tm_hour = tm->hour,
						 .tm_mday = tm->mday,
						 .tm_mon = tm->mon + 1};
	int64 year = (int64) tm->year + 1900;
	Timestamp result;

	CheckYear(year);
	CheckTimestamp(year > PG_INT32_MAX ? -1 : 0);
	time.tm_year = year;
	CheckTimestamp(tm2timestamp(&time, 0, NULL, &result));
	result -= tm->gmtoff * USECS_PER_SEC;
	CheckTimestamp(IS_VALID_TIMESTAMP(result) ? 0 : -1);
	return result;
}

/*
 * strptime(source text, format text, locale text) returns timestamp
 */
PG_FUNCTION_INFO_V1(qbgl_strptime);
Datum
qbgl_strptime(PG_FUNCTION_ARGS)
{
	text *source = PG_GETARG_TEXT_PP(0);
	text *format = PG_GETARG_TEXT_PP(1);
	QbglLocale *locale = LoadLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(2));
	int source_length;
	int format_length;
	char *in = ToLocaleString(locale, source, &source_length);
	char *in_format = ToLocaleString(locale, format, &format_length);
	gl_tm tm = {.year = 2000 - 1900, .mday = 1, .wday = 6};
	const char *end;

	NameZone(locale, "UTC");
	gl_clear_errno(locale->handle);
	end = gl_mbsptime(locale->handle, in, in_format, &tm);
	CheckTimeRead(locale, source, format, end, end == NULL ? 0 : in + source_length - end);
	pfree(in);
	pfree(in_format);
	PG_RETURN_TIMESTAMP(TimestampOf(&tm));
}

/*
 * Ensure that a number is one that money has.
 */
static void
CheckAmount(Numeric amount, const char *decimal)
{
	if (numeric_is_nan(amount) || numeric_is_inf(amount))
		ereport(ERROR, (errcode(ERRCODE_NUMERIC_VALUE_OUT_OF_RANGE),
						errmsg("%s is no amount of money", decimal)));
}

/*
 * money(amount numeric, locale text, format text) returns text
 */
PG_FUNCTION_INFO_V1(qbgl_money);
Datum
qbgl_money(PG_FUNCTION_ARGS)
{
	Numeric amount = PG_GETARG_NUMERIC(0);
	QbglLocale *locale = LoadLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(1));
	text *format = PG_GETARG_TEXT_PP(2);
	char *decimal = DatumGetCString(DirectFunctionCall1(numeric_out, NumericGetDatum(amount)));
	text *result;

	CheckAmount(amount, decimal);
	result = Format(locale, format, WriteAmount, decimal);
	if (result == NULL)
		ereport(ERROR,
				(errcode(ERRCODE_INVALID_PARAMETER_VALUE),
				 errmsg("\"%s\" is no format of amounts", text_to_cstring(format)),
				 errhint("%%n has the local symbol, %%i the international one, %%!n none.")));
	pfree(decimal);
	PG_RETURN_TEXT_P(result);
}

/*
 * Ensure that an amount was read to the end of its text.
 */
static void
CheckAmountRead(QbglLocale *locale, const text *source, int length, const char *end, int left)
{
	if (length >= 0 && left == 0)
		return;
	ereport(ERROR, (errcode(ERRCODE_INVALID_TEXT_REPRESENTATION),
					errmsg("\"%s\" is no amount of money in \"%s\"", text_to_cstring(source),
						   locale->name),
					length < 0 ? 0
							   : errdetail("Left over is \"%s\".",
										   text_to_cstring(FromLocale(locale, end, left)))));
}

/*
 * money_value(source text, locale text) returns numeric
 */
PG_FUNCTION_INFO_V1(qbgl_money_value);
Datum
qbgl_money_value(PG_FUNCTION_ARGS)
{
	text *source = PG_GETARG_TEXT_PP(0);
	QbglLocale *locale = LoadLocaleArgument(fcinfo->flinfo, PG_GETARG_TEXT_PP(1));
	int source_length;
	char *in = ToLocaleString(locale, source, &source_length);
	int room = source_length + TERMINATOR_SIZE;
	char *decimal = palloc(room);
	const char *end = in;
	int length = gl_mbspmon(locale->handle, in, &end, decimal, room);
	Datum result;

	/* Spaces at the end fill a width. */
	while (end < in + source_length && *end == ' ')
		end++;
	CheckAmountRead(locale, source, length, end, in + source_length - end);
	result = DirectFunctionCall3(numeric_in, CStringGetDatum(decimal), ObjectIdGetDatum(InvalidOid),
								 Int32GetDatum(-1));
	pfree(decimal);
	pfree(in);
	return result;
}
