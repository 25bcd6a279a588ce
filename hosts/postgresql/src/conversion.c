/*-------------------------------------------------------------------------
 *
 * conversion.c
 *	  Texts in any of the library's codesets, from and to the encoding of the
 *	  database.
 *
 * The library converts between a codeset and UTF-8; between UTF-8 and another
 * encoding of a database the server does, whose idea of its encoding counts.
 * Offsets in messages are always those of what the caller passed.
 *
 *-------------------------------------------------------------------------
 */
#include "conversion.h"

#include "catalog/namespace.h"
#include "fmgr.h"
#include "lib/stringinfo.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "utils/builtins.h"

/* A name in the registry has no more characters; the library cuts longer ones. */
#define MAX_CODESET_NAME 21

/* Output is made in pieces, between which a query can be cancelled. */
#define PIECE_SIZE (64 * 1024)

/* Some conversions ask for less room than they write to. */
#define SLACK 8

/* A character and the shift sequences around it. */
#define LONGEST_OUTPUT 16

/* The bytes of an input that a message shows. */
#define SHOWN_BYTES 4

/* Descriptors that a backend keeps open. */
#define KEPT_DESCRIPTORS 16

typedef struct Converter
{
	char codeset[MAX_CODESET_NAME + 1];
	bool from_codeset; /* to UTF-8, or from it */
	gl_cv *descriptor; /* null: the codeset is UTF-8 */
	uint64 generation; /* of qbgl.directory; of no use when that has changed */
	uint64 last_use;
} Converter;

/* How far a conversion came. */
typedef struct Progress
{
	gl_cv_state state;
	const char *in;
	int left;
} Progress;

static Converter converters[KEPT_DESCRIPTORS];
static uint64 converter_uses = 0;

/*
 * Ensure that a name is one that the registry has.
 */
static void
CheckCodeset(const char *name)
{
	gl_cv error = {0};

	if (strlen(name) <= MAX_CODESET_NAME && strpbrk(name, "./@ \xFF") == NULL && name[0] != '\0' &&
		gl_cs_name2cs_num(&error, name, NULL) != GL_NO_CODESET)
		return;
	if (error.error == GL_ENOMEM)
		ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory")));
	if (error.error == GL_ENODATA || error.error == GL_EBADFILE)
		ereport(ERROR, (errcode(ERRCODE_CONFIG_FILE_ERROR),
						errmsg("the registry of codesets in \"%s\" cannot be read: %s",
							   qbgl_directory, gl_strerror(error.error)),
						errhint("The setting qbgl.directory says where the data are.")));
	ereport(ERROR, (errcode(ERRCODE_UNDEFINED_OBJECT),
					errmsg("unknown codeset \"%.*s\"",
						   pg_mbcliplen(name, strlen(name), 2 * MAX_CODESET_NAME), name),
					errhint("SELECT qbgl.codesets() lists those that there are.")));
}

/*
 * Ensure that a conversion was opened.
 */
static void
CheckOpened(int result, gl_cv *descriptor, const char *codeset)
{
	int number;

	if (result >= 0)
		return;
	number = gl_errno(descriptor);
	gl_cv_unload(descriptor);
	if (number == GL_ENOMEM)
		ereport(ERROR,
				(errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory"),
				 errdetail("Failed while opening the conversion of codeset \"%s\".", codeset)));
	if (number == GL_EINVAL || number == GL_ENOFILE)
		ereport(ERROR, (errcode(ERRCODE_UNDEFINED_OBJECT),
						errmsg("there is no conversion between codeset \"%s\" and utf8", codeset),
						errdetail("It was looked for in \"%s\".", qbgl_directory)));
	ereport(ERROR, (errcode(ERRCODE_DATA_CORRUPTED),
					errmsg("the conversion of codeset \"%s\" in \"%s\" is damaged: %s", codeset,
						   qbgl_directory, gl_strerror(number))));
}

/*
 * The converter between a codeset and UTF-8, opened unless it is open, in
 * place of the one that was used longest ago.
 */
static Converter *
FindConverter(const char *codeset, bool from_codeset)
{
	Converter *place = &converters[0];
	gl_cv *descriptor;
	int result;
	int i;

	for (i = 0; i < KEPT_DESCRIPTORS; ++i)
	{
		Converter *converter = &converters[i];

		if (converter->generation == qbgl_directory_generation &&
			converter->from_codeset == from_codeset && strcmp(converter->codeset, codeset) == 0)
		{
			converter->last_use = ++converter_uses;
			return converter;
		}
		if (converter->last_use < place->last_use)
			place = converter;
	}

	CheckCodeset(codeset);
	if (place->descriptor != NULL)
		gl_cv_unload(place->descriptor);
	memset(place, 0, sizeof(*place));
	result = gl_cv_load(&descriptor, from_codeset ? "utf8" : codeset,
						from_codeset ? codeset : "utf8", NULL, NULL);
	CheckOpened(result, descriptor, codeset);
	strlcpy(place->codeset, codeset, sizeof(place->codeset));
	place->from_codeset = from_codeset;
	place->descriptor = descriptor;
	place->generation = qbgl_directory_generation;
	place->last_use = ++converter_uses;
	return place;
}

/*
 * Take one step, into a room of output bytes behind which SLACK bytes are
 * free. Returns the bytes written and tells what stopped the step; an output
 * that is full does not count.
 */
static int
Step(gl_cv *descriptor, Progress *progress, char *out, int room, Obstacle *obstacle)
{
	const char *start = out;
	int substituted = 0;
	int result;

	*obstacle = NO_OBSTACLE;
	gl_clear_errno(descriptor);
	result = gl_cv_mconv(descriptor, &progress->state, &progress->in, &progress->left, &out, &room,
						 &substituted);
	if (substituted)
		*obstacle = APPROXIMATION;
	else if (result < 0 && gl_errno(descriptor) == GL_EILSEQ)
		*obstacle = NO_SUCH_CHARACTER;
	else if (result < 0 && gl_errno(descriptor) != GL_E2BIG)
		*obstacle = BAD_BYTES;
	return out - start;
}

/*
 * Advance to the first character that has an approximation only: one
 * character at a time. It is found with just the room that it needs, and
 * looked at alone: with others behind it the library may have looked ahead.
 */
static void
FindApproximation(gl_cv *descriptor, Progress *progress)
{
	while (progress->left > 0)
	{
		Progress next = *progress;
		Progress alone = *progress;
		Obstacle obstacle;
		char out[LONGEST_OUTPUT + SLACK];
		int room;

		for (room = 1; room <= LONGEST_OUTPUT && next.in == progress->in; ++room)
			Step(descriptor, &next, out, room, &obstacle);
		alone.left = next.in - progress->in;
		Step(descriptor, &alone, out, LONGEST_OUTPUT, &obstacle);
		if (obstacle != NO_OBSTACLE || next.in == progress->in)
			return;
		*progress = next;
	}
}

/*
 * The room for what a text will be, or for a piece of it.
 */
static int
PieceRoom(gl_cv *descriptor, int length)
{
	double room = gl_iconv_expansion(descriptor) * length + LONGEST_OUTPUT;

	return room < PIECE_SIZE ? (int) room : PIECE_SIZE;
}

/*
 * Append the conversion of all of a text, which without a descriptor is the
 * text. Returns what stopped it and where; with NO_OBSTACLE the offset is the
 * text's length.
 */
static Obstacle
Convert(gl_cv *descriptor, const char *text, int length, StringInfo result, int *offset)
{
	Progress progress = {{0}, text, length};
	Obstacle obstacle = NO_OBSTACLE;

	if (descriptor == NULL)
	{
		*offset = pg_encoding_verifymbstr(PG_UTF8, text, length);
		appendBinaryStringInfo(result, text, *offset);
		return *offset < length ? BAD_BYTES : NO_OBSTACLE;
	}
	progress.state.flush = 1;
	while (progress.left > 0 && obstacle == NO_OBSTACLE)
	{
		Progress before = progress;
		int room = PieceRoom(descriptor, progress.left);

		CHECK_FOR_INTERRUPTS();
		enlargeStringInfo(result, room + SLACK);
		result->len += Step(descriptor, &progress, result->data + result->len, room, &obstacle);
		if (obstacle == APPROXIMATION)
		{
			progress = before;
			FindApproximation(descriptor, &progress);
		}
	}
	*offset = progress.in - text;
	return obstacle;
}

void
RefuseText(Obstacle obstacle, const char *text, int length, int offset, const char *source,
		   const char *target)
{
	char digits[SHOWN_BYTES * 3 + 1] = "";
	int i;

	for (i = 0; i < SHOWN_BYTES && offset + i < length; ++i)
		sprintf(digits + strlen(digits), " %02X", (unsigned char) text[offset + i]);
	if (obstacle == BAD_BYTES)
		ereport(ERROR,
				(errcode(ERRCODE_CHARACTER_NOT_IN_REPERTOIRE),
				 errmsg("no character of %s at offset %d: bytes%s", source, offset, digits)));
	if (obstacle == APPROXIMATION)
		ereport(ERROR, (errcode(ERRCODE_UNTRANSLATABLE_CHARACTER),
						errmsg("%s has only an approximation of the character of %s at offset %d: "
							   "bytes%s",
							   target, source, offset, digits)));
	ereport(ERROR, (errcode(ERRCODE_UNTRANSLATABLE_CHARACTER),
					errmsg("%s lacks the character of %s at offset %d: bytes%s", target, source,
						   offset, digits)));
}

/*
 * Convert between UTF-8 and the encoding of the database, by the server.
 * Appends what could be converted and returns the source bytes of it.
 */
static int
ConvertByServer(const char *text, int length, int source, int target, StringInfo result)
{
	Oid procedure = FindDefaultConversionProc(source, target);
	int done = 0;

	if (!OidIsValid(procedure))
		ereport(ERROR, (errcode(ERRCODE_UNDEFINED_FUNCTION),
						errmsg("the server has no conversion from %s to %s",
							   pg_encoding_to_char(source), pg_encoding_to_char(target))));
	while (done < length)
	{
		int count = Min(length - done, PIECE_SIZE);
		int converted;

		CHECK_FOR_INTERRUPTS();
		if (done + count < length)
			count = pg_encoding_mbcliplen(source, text + done, length - done, count);
		enlargeStringInfo(result, count * MAX_CONVERSION_GROWTH + 1);
		converted = pg_do_encoding_conversion_buf(
			procedure, source, target, (unsigned char *) text + done, count,
			(unsigned char *) result->data + result->len, count * MAX_CONVERSION_GROWTH + 1, true);
		result->len += strlen(result->data + result->len);
		done += converted;
		if (converted < count)
			break;
	}
	return done;
}

/*
 * Whether the server has to convert between UTF-8 and its own encoding. Bytes
 * of a database without an encoding count as UTF-8.
 */
static bool
NeedsServer(void)
{
	return GetDatabaseEncoding() != PG_UTF8 && GetDatabaseEncoding() != PG_SQL_ASCII;
}

static void
BeginVarlena(StringInfo result)
{
	initStringInfo(result);
	enlargeStringInfo(result, VARHDRSZ);
	result->len = VARHDRSZ;
}

static struct varlena *
EndVarlena(StringInfo result)
{
	SET_VARSIZE(result->data, result->len);
	return (struct varlena *) result->data;
}

/*
 * The bytes of a source whose conversion has a given number of bytes.
 */
static int
SourceOffset(gl_cv *descriptor, const char *source, int length, int converted)
{
	Progress progress = {{0}, source, length};
	Obstacle obstacle;
	char *room;

	if (descriptor == NULL)
		return converted;
	room = palloc(converted + SLACK);
	Step(descriptor, &progress, room, converted, &obstacle);
	pfree(room);
	return progress.in - source;
}

/*
 * Ensure that a text of UTF-8 has no NUL, which the server's texts cannot
 * have.
 */
static void
CheckNoNul(gl_cv *descriptor, const char *source, int length, StringInfo utf8, const char *codeset)
{
	const char *text = utf8->data + VARHDRSZ;
	const char *nul = memchr(text, '\0', utf8->len - VARHDRSZ);

	if (nul != NULL)
		ereport(ERROR, (errcode(ERRCODE_CHARACTER_NOT_IN_REPERTOIRE),
						errmsg("a text cannot have the NUL that stands at offset %d of the %s",
							   SourceOffset(descriptor, source, length, nul - text), codeset)));
}

/*
 * convert_from(source bytea, codeset text) returns text
 */
PG_FUNCTION_INFO_V1(qbgl_convert_from);
Datum
qbgl_convert_from(PG_FUNCTION_ARGS)
{
	bytea *argument = PG_GETARG_BYTEA_PP(0);
	char *codeset = text_to_cstring(PG_GETARG_TEXT_PP(1));
	const char *source = VARDATA_ANY(argument);
	int length = VARSIZE_ANY_EXHDR(argument);
	gl_cv *descriptor = FindConverter(codeset, true)->descriptor;
	StringInfoData utf8;
	StringInfoData result;
	Obstacle obstacle;
	int offset;

	BeginVarlena(&utf8);
	obstacle = Convert(descriptor, source, length, &utf8, &offset);
	CheckNoNul(descriptor, source, offset, &utf8, codeset);
	/* UTF-8 lacks no character: in a single-byte codeset this is a byte that is none. */
	if (obstacle == NO_SUCH_CHARACTER)
		obstacle = BAD_BYTES;
	if (obstacle != NO_OBSTACLE)
		RefuseText(obstacle, source, length, offset, codeset, "utf8");
	if (!NeedsServer())
		PG_RETURN_TEXT_P(EndVarlena(&utf8));

	BeginVarlena(&result);
	length = utf8.len - VARHDRSZ;
	offset = ConvertByServer(utf8.data + VARHDRSZ, length, PG_UTF8, GetDatabaseEncoding(), &result);
	if (offset < length)
		RefuseText(NO_SUCH_CHARACTER, source, VARSIZE_ANY_EXHDR(argument),
				   SourceOffset(descriptor, source, VARSIZE_ANY_EXHDR(argument), offset), codeset,
				   GetDatabaseEncodingName());
	PG_RETURN_TEXT_P(EndVarlena(&result));
}

/*
 * The bytes of a text in the encoding of the database that have as many
 * characters as a beginning of its UTF-8.
 */
static int
ServerOffset(const char *text, int length, const char *utf8, int utf8_offset)
{
	int utf8_done = 0;
	int done = 0;

	for (; utf8_done < utf8_offset && done < length; done += pg_mblen(text + done))
		utf8_done += pg_encoding_mblen(PG_UTF8, utf8 + utf8_done);
	return Min(done, length);
}

/*
 * convert_to(source text, codeset text) returns bytea
 */
PG_FUNCTION_INFO_V1(qbgl_convert_to);
Datum
qbgl_convert_to(PG_FUNCTION_ARGS)
{
	text *argument = PG_GETARG_TEXT_PP(0);
	char *codeset = text_to_cstring(PG_GETARG_TEXT_PP(1));
	const char *source = VARDATA_ANY(argument);
	int length = VARSIZE_ANY_EXHDR(argument);
	gl_cv *descriptor = FindConverter(codeset, false)->descriptor;
	const char *utf8 = source;
	int utf8_length = length;
	StringInfoData by_server;
	StringInfoData result;
	Obstacle obstacle;
	int offset;

	if (NeedsServer())
	{
		initStringInfo(&by_server);
		offset = ConvertByServer(source, length, GetDatabaseEncoding(), PG_UTF8, &by_server);
		if (offset < length)
			RefuseText(NO_SUCH_CHARACTER, source, length, offset, GetDatabaseEncodingName(),
					   "utf8");
		utf8 = by_server.data;
		utf8_length = by_server.len;
	}

	BeginVarlena(&result);
	obstacle = Convert(descriptor, utf8, utf8_length, &result, &offset);
	if (obstacle != NO_OBSTACLE)
		RefuseText(obstacle, source, length,
				   NeedsServer() ? ServerOffset(source, length, utf8, offset) : offset,
				   NeedsServer() ? GetDatabaseEncodingName() : "utf8", codeset);
	PG_RETURN_BYTEA_P(EndVarlena(&result));
}
