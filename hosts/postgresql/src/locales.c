/*-------------------------------------------------------------------------
 *
 * locales.c
 *	  Locales of the library in a backend.
 *
 * A locale is loaded once and stays.  With qbgl.preload that happens in the
 * postmaster, and backends share its pages.  No error leaves the library by a
 * jump: its memory comes from functions that return null, and what it returns
 * is looked at here.
 *
 *-------------------------------------------------------------------------
 */
#include "locales.h"

#include <math.h>

#include "access/xact.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "utils/builtins.h"
#include "utils/hsearch.h"
#include "utils/inval.h"
#include "utils/memutils.h"
#include "utils/varlena.h"

#include "../../icu.h"
#include "conversion.h"
#include "remembered.h"

/* gl_lc_spec2lc_fname may write this much, of a long form which no one gets to give it. */
#define FILE_NAME_ROOM 208

static MemoryContext locale_context = NULL;
/* What the library takes memory from: that, or while it loads a locale a part of its own. */
static MemoryContext library_context = NULL;
static HTAB *locales = NULL;
uint64 order_generation = 1;

/*
 * Whether the server may be asked for so much memory: it answers what it takes
 * for absurd by a jump.
 */
static bool
IsPossibleSize(uint64 bytes)
{
	return bytes <= MaxAllocHugeSize / 2;
}

/*
 * Memory for the library: null where there is none, whatever the size.
 */
static void *
AllocateBytes(uint64 bytes, int flags)
{
	if (!IsPossibleSize(bytes))
		return NULL;
	return MemoryContextAllocExtended(library_context, bytes,
									  MCXT_ALLOC_HUGE | MCXT_ALLOC_NO_OOM | flags);
}

static void *
AllocateForLibrary(uint32_t size)
{
	return AllocateBytes(size, 0);
}

static void *
AllocateZeroedForLibrary(uint32_t count, uint32_t size)
{
	return AllocateBytes((uint64) count * size, MCXT_ALLOC_ZERO);
}

/*
 * As repalloc, which has no form that returns null.
 */
static void *
ReallocateForLibrary(void *pointer, uint32_t size)
{
	MemoryContext context;

	if (pointer == NULL)
		return AllocateForLibrary(size);
	if (!IsPossibleSize(size))
		return NULL;
	context = GetMemoryChunkContext(pointer);
	return context->methods->realloc(context, pointer, size);
}

static void
FreeForLibrary(void *pointer)
{
	if (pointer)
		pfree(pointer);
}

/*
 * What a change of the table of remembered orders, or a lost message about one, does.
 */
static void
RememberedChanged(Datum argument, Oid relation)
{
	if (relation == InvalidOid || IsRememberedTable(relation))
		ForgetComparedOrders();
}

void
InitLocales(void)
{
	HASHCTL info = {.keysize = LOCALE_FILE_SIZE, .entrysize = sizeof(QbglLocale)};

	locale_context =
		AllocSetContextCreate(TopMemoryContext, "qbgl locales", ALLOCSET_DEFAULT_SIZES);
	library_context = locale_context;
	info.hcxt = locale_context;
	locales = hash_create("qbgl locales", 16, &info, HASH_ELEM | HASH_STRINGS | HASH_CONTEXT);
	gl_setextfunc(NULL, GL_EXT_MALLOC, (gl_extfunc) AllocateForLibrary);
	gl_setextfunc(NULL, GL_EXT_CALLOC, (gl_extfunc) AllocateZeroedForLibrary);
	gl_setextfunc(NULL, GL_EXT_REALLOC, (gl_extfunc) ReallocateForLibrary);
	gl_setextfunc(NULL, GL_EXT_FREE, (gl_extfunc) FreeForLibrary);
	CacheRegisterRelcacheCallback(RememberedChanged, (Datum) 0);
}

void
ForgetComparedOrders(void)
{
	order_generation++;
}

/*
 * Writes the file name of a locale, which is the same for every spelling of
 * the name, and tells whether there can be such a file.
 */
static bool
FindLocaleFile(const char *name, char file[LOCALE_FILE_SIZE])
{
	static uint64 cached_generation = 0;
	char found[FILE_NAME_ROOM];
	size_t length = strlen(name);

	if (cached_generation != qbgl_directory_generation)
	{
		(void) gl_cache_registry(NULL, NULL);
		cached_generation = qbgl_directory_generation;
	}

	/* A short form, of characters that lead nowhere outside the tree. */
	if (length == 0 || length >= NAMEDATALEN ||
		strspn(name, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.@-") !=
			length ||
		strstr(name, "..") != NULL)
		return false;
	if (gl_lc_spec2lc_fname(NULL, name, found, NULL, NULL) != 0)
	{
		/* ICU's own names, as sr_Latn_RS.utf8@icu, are those of their files. */
		if (!qbgl_asks_for_icu(name))
			return false;
		strlcpy(found, name, sizeof found);
	}
	if (strlen(found) >= LOCALE_FILE_SIZE)
		return false;
	strlcpy(file, found, LOCALE_FILE_SIZE);
	return true;
}

/*
 * Raises that no locale goes by a name.
 */
static void
RaiseNoLocale(const char *name)
{
	ereport(ERROR, (errcode(ERRCODE_UNDEFINED_OBJECT),
					errmsg("there is no locale \"%s\" in \"%s\"", name, qbgl_directory),
					errhint("qbgl.locales() lists those that are installed; a name is such as "
							"\"cs_CZ.utf8\".")));
}

/*
 * Ensure that a locale may be used that asks for ICU, which is loaded once,
 * from the directory of that time.
 */
static void
CheckIcu(const char *name)
{
	static char icu_directory[MAXPGPATH];

	if (!qbgl_icu)
		ereport(ERROR, (errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE),
						errmsg("the locale \"%s\" is ICU's, which is not in use here", name),
						errhint("A superuser allows it for a database, a role or the server: "
								"ALTER DATABASE ... SET qbgl.icu = on.")));
	if (pMap == NULL)
		strlcpy(icu_directory, qbgl_directory, sizeof icu_directory);
	if (strcmp(icu_directory, qbgl_directory) != 0)
		ereport(ERROR, (errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE),
						errmsg("the locale \"%s\" in \"%s\" cannot be ICU's", name, qbgl_directory),
						errdetail("The session has loaded ICU from \"%s\".", icu_directory)));
}

/*
 * Give a handle back that cannot be used, with its memory.
 */
static void
Discard(gl_locale *handle, MemoryContext context)
{
	gl_lc_unload(handle);
	if (context)
		MemoryContextDelete(context);
}

/*
 * Ensure that a locale which is installed was loaded; otherwise tell why not,
 * with its memory given back: the session goes on.  False where none is
 * installed.
 */
static bool
CheckLoaded(const char *name, gl_locale *handle, int result, MemoryContext context)
{
	int error = result == 0 ? 0 : gl_errno(handle);
	const char *why = qbgl_asks_for_icu(name) ? qbgl_why_no_icu(handle, result, error) : NULL;

	if (result == 0 && why == NULL)
		return true;
	Discard(handle, context);
	if (why)
		ereport(ERROR, (errcode(ERRCODE_CONFIG_FILE_ERROR),
						errmsg("ICU does not serve the locale \"%s\"", name),
						errdetail("In \"%s\": %s.", qbgl_directory, why),
						errhint("qbglc tree --icu puts the extension library over ICU into an "
								"installation.")));
	if (error == GL_ENOFILE || error == GL_EINVAL)
		return false;
	if (error == GL_ENOMEM)
		ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY),
						errmsg("out of memory while loading the locale \"%s\"", name)));
	ereport(ERROR, (errcode(ERRCODE_CONFIG_FILE_ERROR),
					errmsg("cannot load the locale \"%s\": %s", name, gl_strerror(error))));
}

/*
 * Loads a locale into its entry.  On an error the entry is as it was: an older
 * handle, of another directory, is not released, for a caller may have it.
 * False where there is no such locale.
 */
static bool
FillLocale(QbglLocale *locale, const char *name)
{
	gl_locale *handle;
	const char *fingerprint;
	MemoryContext context = NULL;
	int result;

	/* What ICU keeps of its first locales is for all later ones. */
	if (!qbgl_asks_for_icu(name))
		library_context = context =
			AllocSetContextCreate(locale_context, "qbgl locale", ALLOCSET_DEFAULT_SIZES);
	result = qbgl_load_locale(&handle, name);
	library_context = locale_context;
	if (!CheckLoaded(name, handle, result, context))
		return false;
	fingerprint = gl_order_fingerprint(handle);
	if (fingerprint == NULL)
	{
		Discard(handle, context);
		ereport(ERROR,
				(errcode(ERRCODE_CONFIG_FILE_ERROR), errmsg("cannot use the locale \"%s\"", name),
				 errdetail("The extension library that orders it does not tell the version of its "
						   "order.")));
	}
	if (context)
		MemoryContextSetIdentifier(context, locale->name);
	locale->handle = handle;
	strlcpy(locale->name, name, sizeof locale->name);
	strlcpy(locale->fingerprint, fingerprint, sizeof locale->fingerprint);
	locale->is_utf8 = gl_cs_name2cs_num(NULL, handle->codeset_name[GL_CAT_CTYPE], NULL) ==
					  gl_cs_name2cs_num(NULL, "utf8", NULL);
	locale->may_fail = handle->collate.kind == GL_COLLATION_EXTENSION;
	locale->directory_generation = qbgl_directory_generation;
	locale->order = ORDER_NOT_COMPARED;
	locale->prepared = false;
	locale->from_server = locale->to_server = NULL;
	locale->zone_name[0] = '\0';
	return true;
}

QbglLocale *
FindLocale(const char *name)
{
	char file[LOCALE_FILE_SIZE];
	QbglLocale *locale;
	bool found;

	if (!FindLocaleFile(name, file))
		return NULL;
	if (qbgl_asks_for_icu(name))
		CheckIcu(name);
	locale = hash_search(locales, file, HASH_ENTER, &found);
	if (!found)
		memset((char *) locale + LOCALE_FILE_SIZE, 0, sizeof *locale - LOCALE_FILE_SIZE);
	if ((locale->handle == NULL || locale->directory_generation != qbgl_directory_generation) &&
		!FillLocale(locale, name))
		return NULL;
	return locale;
}

QbglLocale *
LoadLocale(const char *name)
{
	QbglLocale *locale = FindLocale(name);

	if (locale == NULL)
		RaiseNoLocale(name);
	return locale;
}

void
PreloadLocales(void)
{
	char *names = pstrdup(qbgl_preload);
	List *list;
	ListCell *cell;

	if (!SplitGUCList(names, ',', &list))
	{
		ereport(WARNING, (errcode(ERRCODE_SYNTAX_ERROR),
						  errmsg("qbgl.preload is no list of names: \"%s\"", qbgl_preload)));
		return;
	}
	foreach (cell, list)
	{
		const char *name = lfirst(cell);
		MemoryContext context = CurrentMemoryContext;

		PG_TRY();
		{
			LoadLocale(name);
		}
		PG_CATCH();
		{
			/* A server that starts without a locale is better than one that does not start. */
			ErrorData *error;

			MemoryContextSwitchTo(context);
			error = CopyErrorData();
			FlushErrorState();
			ereport(WARNING,
					(errcode(error->sqlerrcode), errmsg("qbgl.preload: %s", error->message)));
			FreeErrorData(error);
		}
		PG_END_TRY();
	}
	list_free(list);
	pfree(names);
}

bool
IsNameOfLocale(const char *name, const QbglLocale *locale)
{
	char file[LOCALE_FILE_SIZE];

	return FindLocaleFile(name, file) && strcmp(file, locale->file) == 0;
}

/*
 * Ensure that a session which insists on an order meets that one.
 */
static void
CheckRequired(QbglLocale *locale)
{
	char *pairs;
	List *list;
	ListCell *cell;

	if (qbgl_require == NULL || qbgl_require[0] == '\0')
		return;
	pairs = pstrdup(qbgl_require);
	if (!SplitGUCList(pairs, ',', &list))
		ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
						errmsg("qbgl.require is no list of locales and fingerprints: \"%s\"",
							   qbgl_require)));
	foreach (cell, list)
	{
		char *name = lfirst(cell);
		char *colon = strrchr(name, ':');

		if (colon == NULL)
			ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
							errmsg("qbgl.require has no fingerprint in \"%s\"", name)));
		*colon = '\0';
		if (IsNameOfLocale(name, locale) && strcmp(colon + 1, locale->fingerprint) != 0)
			ereport(ERROR, (errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE),
							errmsg("the order of the locale \"%s\" is not the one that is required",
								   locale->name),
							errdetail("Required is %s, this server has %s.", colon + 1,
									  locale->fingerprint),
							errhint("Install the same data on both servers.")));
	}
	list_free(list);
	pfree(pairs);
}

/*
 * The first fingerprint that the database remembers for a locale and that is
 * not the loaded one, or NULL.
 */
static char *
FindOtherFingerprint(QbglLocale *locale)
{
	char *other = NULL;
	List *rows = ReadRemembered();
	ListCell *cell;

	foreach (cell, rows)
	{
		RememberedOrder *row = lfirst(cell);

		if (other == NULL && IsNameOfLocale(row->locale, locale) &&
			strcmp(row->fingerprint, locale->fingerprint) != 0)
			other = pstrdup(row->fingerprint);
	}
	list_free_deep(rows);
	return other;
}

bool
IsRemembered(QbglLocale *locale)
{
	bool remembered = false;
	List *rows = ReadRemembered();
	ListCell *cell;

	foreach (cell, rows)
		remembered =
			remembered || IsNameOfLocale(((RememberedOrder *) lfirst(cell))->locale, locale);
	list_free_deep(rows);
	return remembered;
}

/*
 * Ensure that the order is the one under which the database's indexes were
 * built.
 */
static void
CheckRemembered(QbglLocale *locale)
{
	char *other = FindOtherFingerprint(locale);

	locale->order = other ? ORDER_CHANGED : ORDER_AS_REMEMBERED;
	if (other == NULL)
		return;
	if (!qbgl_allow_changed_order)
		ereport(ERROR,
				(errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE),
				 errmsg("the order of the locale \"%s\" has changed: the database was built under "
						"%s, the installed data have %s",
						locale->name, other, locale->fingerprint),
				 errdetail("Indexes that were built under the other order may give wrong answers."),
				 errhint("Install the data that the database was built under; or: "
						 "SET qbgl.allow_changed_order = on; REINDEX each index that "
						 "qbgl.check_indexes() lists; SELECT qbgl.accept('%s').",
						 locale->name)));
	pfree(other);
}

void
CompareOrder(QbglLocale *locale)
{
	uint64 generation = order_generation;

	if (locale->order != ORDER_NOT_COMPARED && locale->compared_generation == generation &&
		(locale->order == ORDER_AS_REMEMBERED || qbgl_allow_changed_order))
		return;
	if (!IsTransactionState())
		return;
	locale->order = ORDER_NOT_COMPARED;
	CheckRequired(locale);
	CheckRemembered(locale);
	locale->compared_generation = generation;
}

bool
OrderHasChanged(QbglLocale *locale)
{
	char *other = FindOtherFingerprint(locale);

	if (other == NULL)
		return false;
	pfree(other);
	return true;
}

QbglLocale *
UseLocale(const char *name)
{
	QbglLocale *locale = LoadLocale(name);

	CheckOrder(locale);
	return locale;
}

/* What LoadLocaleArgument keeps. */
typedef struct LastLocale
{
	QbglLocale *locale;
	uint64 generation; /* at which the name led there */
	int length;
	char name[NAMEDATALEN];
} LastLocale;

QbglLocale *
LoadLocaleArgument(FmgrInfo *flinfo, const text *name)
{
	LastLocale *last = flinfo->fn_extra;
	const char *bytes = VARDATA_ANY(name);
	int length = VARSIZE_ANY_EXHDR(name);
	char *copy;

	if (last != NULL && last->length == length && memcmp(last->name, bytes, length) == 0 &&
		last->generation == qbgl_names_generation)
		return last->locale;
	copy = text_to_cstring(name);
	if (last == NULL)
		last = flinfo->fn_extra = MemoryContextAllocZero(flinfo->fn_mcxt, sizeof *last);
	last->length = -1;
	last->generation = qbgl_names_generation;
	last->locale = LoadLocale(copy);
	/* A name that has led to a locale is a short one. */
	memcpy(last->name, bytes, length);
	last->length = length;
	pfree(copy);
	return last->locale;
}

QbglLocale *
UseLocaleArgument(FmgrInfo *flinfo, const text *name)
{
	QbglLocale *locale = LoadLocaleArgument(flinfo, name);

	CheckOrder(locale);
	return locale;
}

const char *
ServerCodeset(void)
{
	static const struct
	{
		int encoding;
		const char *codeset;
	} names[] = {
		{PG_UTF8, "utf8"},		   {PG_LATIN1, "8859-1"},	  {PG_LATIN2, "8859-2"},
		{PG_LATIN3, "8859-3"},	   {PG_LATIN4, "8859-4"},	  {PG_LATIN5, "8859-9"},
		{PG_LATIN6, "8859-10"},	   {PG_LATIN7, "8859-13"},	  {PG_LATIN8, "8859-14"},
		{PG_LATIN9, "8859-15"},	   {PG_LATIN10, "8859-16"},	  {PG_ISO_8859_5, "8859-5"},
		{PG_ISO_8859_6, "8859-6"}, {PG_ISO_8859_7, "8859-7"}, {PG_ISO_8859_8, "8859-8"},
		{PG_WIN1250, "cp1250"},	   {PG_WIN1251, "cp1251"},	  {PG_WIN1252, "cp1252"},
		{PG_WIN1253, "cp1253"},	   {PG_WIN1254, "cp1254"},	  {PG_WIN1255, "cp1255"},
		{PG_WIN1256, "cp1256"},	   {PG_WIN1257, "cp1257"},	  {PG_WIN1258, "cp1258"},
		{PG_WIN866, "cp866"},	   {PG_WIN874, "cp874"},	  {PG_KOI8R, "koi8-r"},
		{PG_KOI8U, "koi8-u"},	   {PG_EUC_JP, "eucjp"},	  {PG_EUC_CN, "euc-cn"},
		{PG_EUC_KR, "euc-kr"},	   {PG_EUC_TW, "euc-tw"},
	};

	for (int i = 0; i < lengthof(names); i++)
		if (names[i].encoding == GetDatabaseEncoding())
			return names[i].codeset;
	return NULL;
}

/*
 * Opens a conversion, between codesets that differ.
 */
static gl_cv *
OpenConversion(const char *from, const char *to)
{
	gl_cv *cd;
	int error;

	if (gl_cv_load(&cd, to, from, NULL, NULL) == 1)
		return cd;
	error = gl_errno(cd);
	gl_cv_unload(cd);
	ereport(ERROR, (errcode(error == GL_ENOMEM ? ERRCODE_OUT_OF_MEMORY : ERRCODE_UNDEFINED_OBJECT),
					errmsg("cannot convert from %s to %s: %s", from, to, gl_strerror(error))));
}

/*
 * Finds out how the database's text comes into a locale's codeset.  Text of a
 * database whose encoding has no name is taken for the locale's.
 */
void
PrepareConversion(QbglLocale *locale)
{
	const char *from = ServerCodeset();
	const char *to = locale->handle->codeset_name[GL_CAT_CTYPE];

	locale->plain =
		from == NULL || gl_cs_name2cs_num(NULL, from, NULL) == gl_cs_name2cs_num(NULL, to, NULL);
	if (!locale->plain)
	{
		if (locale->from_server == NULL)
			locale->from_server = OpenConversion(from, to);
		if (locale->to_server == NULL)
			locale->to_server = OpenConversion(to, from);
	}
	locale->prepared = true;
}

/*
 * The room that a converted text may need.
 */
static int
ConvertedRoom(gl_cv *cd, int length)
{
	double room = ceil(gl_iconv_expansion(cd)) * length + 8;

	if (room > MaxAllocSize)
		ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
						errmsg("a text of %d bytes is too long to be converted", length)));
	return (int) room;
}

/*
 * Raises which character of a text has no more than an approximation: it
 * would be equal to another one.
 */
static void
RaiseApproximated(gl_cv *cd, const char *bytes, int length, const char *to)
{
	int at = 0;
	int character;

	for (; at < length; at += character)
	{
		char room[16];
		const char *in = bytes + at;
		int inleft = character = Min(pg_mblen(in), length - at);
		char *out = room;
		int outleft = sizeof room;
		int subst;

		gl_clear_errno(cd);
		(void) gl_miconv(cd, &in, &inleft, &out, &outleft, &subst);
		if (subst)
			break;
	}
	RefuseText(APPROXIMATION, bytes, length, at, ServerCodeset(), to);
}

/*
 * Converts a text that is in the database's encoding.
 */
static void
ConvertFromServer(QbglLocale *locale, const char *bytes, int length, LocaleText *result)
{
	gl_cv *cd = locale->from_server;
	int room = ConvertedRoom(cd, length);
	const char *in = bytes;
	int inleft = length;
	char *out;
	int outleft = room;
	int subst;

	result->allocated = out = palloc(room);
	while (inleft > 0)
	{
		int converted;

		gl_clear_errno(cd);
		converted = gl_miconv(cd, &in, &inleft, &out, &outleft, &subst);
		if (subst)
			RaiseApproximated(cd, bytes, length, locale->handle->codeset_name[GL_CAT_CTYPE]);
		if (converted == 0)
			break;
		if (!locale->is_utf8)
			RefuseText(NO_SUCH_CHARACTER, bytes, length, in - bytes, ServerCodeset(),
					   locale->handle->codeset_name[GL_CAT_CTYPE]);
		/* A byte for a byte: there is room for more. */
		*out++ = *in++;
		inleft--;
		outleft--;
	}
	result->bytes = result->allocated;
	result->length = out - result->allocated;
}

void
ToLocale(QbglLocale *locale, const char *bytes, int length, LocaleText *result)
{
	if (IsInServerCodeset(locale))
	{
		result->bytes = bytes;
		result->length = length;
		result->allocated = NULL;
		return;
	}
	ConvertFromServer(locale, bytes, length, result);
}

char *
ToLocaleString(QbglLocale *locale, const text *source, int *length)
{
	LocaleText in;
	char *string;

	ToLocale(locale, VARDATA_ANY(source), VARSIZE_ANY_EXHDR(source), &in);
	string = palloc(in.length + TERMINATOR_SIZE);
	memcpy(string, in.bytes, in.length);
	memset(string + in.length, 0, TERMINATOR_SIZE);
	*length = in.length;
	FreeLocaleText(&in);
	return string;
}

text *
FromLocale(QbglLocale *locale, const char *bytes, int length)
{
	gl_cv *cd;
	text *result;
	const char *in = bytes;
	int inleft = length;
	char *out;
	int outleft;
	int subst;

	if (IsInServerCodeset(locale))
		return cstring_to_text_with_len(bytes, length);
	cd = locale->to_server;
	outleft = ConvertedRoom(cd, length);
	result = palloc(VARHDRSZ + outleft);
	out = VARDATA(result);
	gl_clear_errno(cd);
	if (gl_miconv(cd, &in, &inleft, &out, &outleft, &subst) != 0)
		RefuseText(NO_SUCH_CHARACTER, bytes, length, in - bytes,
				   locale->handle->codeset_name[GL_CAT_CTYPE], ServerCodeset());
	SET_VARSIZE(result, out - (char *) result);
	return result;
}

void
RefuseBadText(QbglLocale *locale, const char *bytes, int length)
{
	int offset = 0;
	int character;

	while (offset < length &&
		   (character = gl_mblen(locale->handle, bytes + offset, length - offset)) >= 0)
		offset += Max(character, 1);
	RefuseText(BAD_BYTES, bytes, length, offset, locale->handle->codeset_name[GL_CAT_CTYPE], NULL);
}
