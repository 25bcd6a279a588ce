/*-------------------------------------------------------------------------
 *
 * qtext.c
 *	  The type qtext: text in the order of a locale, which the collation's name
 *	  tells.
 *
 * Comparison looks at the texts no further than it must; sorts go by the first
 * bytes of the keys.  Where all passes and the bytes count, equal texts are
 * identical ones, and neither equality nor hashes ask the locale.
 *
 *-------------------------------------------------------------------------
 */
#include "qtext.h"

#include "access/detoast.h"
#include "common/hashfn.h"
#include "lib/hyperloglog.h"
#include "port/pg_bswap.h"
#include "utils/builtins.h"
#include "utils/memutils.h"
#include "utils/sortsupport.h"

PG_FUNCTION_INFO_V1(qtext_lt);
PG_FUNCTION_INFO_V1(qtext_le);
PG_FUNCTION_INFO_V1(qtext_eq);
PG_FUNCTION_INFO_V1(qtext_ne);
PG_FUNCTION_INFO_V1(qtext_ge);
PG_FUNCTION_INFO_V1(qtext_gt);
PG_FUNCTION_INFO_V1(qtext_cmp);
PG_FUNCTION_INFO_V1(qtext_key_lt);
PG_FUNCTION_INFO_V1(qtext_key_le);
PG_FUNCTION_INFO_V1(qtext_key_eq);
PG_FUNCTION_INFO_V1(qtext_key_ge);
PG_FUNCTION_INFO_V1(qtext_key_gt);
PG_FUNCTION_INFO_V1(qtext_key_cmp);
PG_FUNCTION_INFO_V1(qtext_smaller);
PG_FUNCTION_INFO_V1(qtext_larger);
PG_FUNCTION_INFO_V1(qtext_hash);
PG_FUNCTION_INFO_V1(qtext_hash_extended);
PG_FUNCTION_INFO_V1(qtext_sortsupport);
PG_FUNCTION_INFO_V1(qtext_equalimage);

/* A comparison of shorter texts asks for no memory, except under ICU. */
#define SHORT_TEXT 127
/* Keys up to this size need no memory. */
#define KEY_ON_STACK 1024

/*
 * Ensure that a comparison which returned 0 could be made.
 */
static void
CheckCompared(gl_locale *handle)
{
	int error = gl_errno(handle);

	if (error == 0)
		return;
	gl_clear_errno(handle);
	if (error != GL_ENOMEM)
		ereport(ERROR, (errcode(ERRCODE_INTERNAL_ERROR),
						errmsg("texts cannot be compared: %s", gl_strerror(error))));
	ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory while comparing texts")));
}

/*
 * Compares texts that are in the locale's codeset.
 */
static int
CompareLocaleTexts(const CollationOrder *order, const char *a, int a_length, const char *b,
				   int b_length)
{
	gl_locale *handle = order->locale->handle;
	int result;

	if (a_length <= SHORT_TEXT && b_length <= SHORT_TEXT && !order->locale->may_fail)
		return gl_order_compare(handle, a, a_length, b, b_length, order->passes);
	gl_clear_errno(handle);
	result = gl_order_compare(handle, a, a_length, b, b_length, order->passes);
	if (result == 0)
		CheckCompared(handle);
	return result;
}

static int
CompareBytes(const char *a, int a_length, const char *b, int b_length)
{
	int result = memcmp(a, b, Min(a_length, b_length));

	if (result == 0)
		result = a_length - b_length;
	return (result > 0) - (result < 0);
}

int
CompareTexts(const CollationOrder *order, const char *a, int a_length, const char *b, int b_length)
{
	LocaleText a_text, b_text;
	int result;

	if (a_length == b_length && memcmp(a, b, a_length) == 0)
		return 0;
	if (IsInServerCodeset(order->locale))
		return CompareLocaleTexts(order, a, a_length, b, b_length);
	ToLocale(order->locale, a, a_length, &a_text);
	ToLocale(order->locale, b, b_length, &b_text);
	result = CompareLocaleTexts(order, a_text.bytes, a_text.length, b_text.bytes, b_text.length);
	FreeLocaleText(&a_text);
	FreeLocaleText(&b_text);
	/* Bytes without a counterpart may become what others already are. */
	if (result == 0 && order->passes == 0)
		result = CompareBytes(a, a_length, b, b_length);
	return result;
}

/*
 * Compares the two arguments of a function.
 */
static int
CompareArguments(FunctionCallInfo fcinfo)
{
	const CollationOrder *order = OrderOfCollation(PG_GET_COLLATION());
	text *a = PG_GETARG_TEXT_PP(0);
	text *b = PG_GETARG_TEXT_PP(1);
	int result = CompareTexts(order, VARDATA_ANY(a), VARSIZE_ANY_EXHDR(a), VARDATA_ANY(b),
							  VARSIZE_ANY_EXHDR(b));

	PG_FREE_IF_COPY(a, 0);
	PG_FREE_IF_COPY(b, 1);
	return result;
}

/*
 * Whether the two arguments of a function are equal.
 */
static bool
EqualArguments(FunctionCallInfo fcinfo)
{
	const CollationOrder *order = OrderOfCollation(PG_GET_COLLATION());

	/* Texts of other lengths are not looked at, nor fetched from where they are stored. */
	if (order->passes == 0 &&
		toast_raw_datum_size(PG_GETARG_DATUM(0)) != toast_raw_datum_size(PG_GETARG_DATUM(1)))
		return false;
	if (order->passes == 0)
	{
		text *a = PG_GETARG_TEXT_PP(0);
		text *b = PG_GETARG_TEXT_PP(1);
		bool equal = memcmp(VARDATA_ANY(a), VARDATA_ANY(b), VARSIZE_ANY_EXHDR(a)) == 0;

		PG_FREE_IF_COPY(a, 0);
		PG_FREE_IF_COPY(b, 1);
		return equal;
	}
	return CompareArguments(fcinfo) == 0;
}

Datum
qtext_lt(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareArguments(fcinfo) < 0);
}

Datum
qtext_le(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareArguments(fcinfo) <= 0);
}

Datum
qtext_eq(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(EqualArguments(fcinfo));
}

Datum
qtext_ne(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(!EqualArguments(fcinfo));
}

Datum
qtext_ge(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareArguments(fcinfo) >= 0);
}

Datum
qtext_gt(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareArguments(fcinfo) > 0);
}

Datum
qtext_cmp(PG_FUNCTION_ARGS)
{
	PG_RETURN_INT32(CompareArguments(fcinfo));
}

Datum
qtext_smaller(PG_FUNCTION_ARGS)
{
	PG_RETURN_DATUM(CompareArguments(fcinfo) <= 0 ? PG_GETARG_DATUM(0) : PG_GETARG_DATUM(1));
}

Datum
qtext_larger(PG_FUNCTION_ARGS)
{
	PG_RETURN_DATUM(CompareArguments(fcinfo) >= 0 ? PG_GETARG_DATUM(0) : PG_GETARG_DATUM(1));
}

/*
 * Ensure that the library had the memory for a key.
 */
static void
CheckKey(gl_locale *handle, int size)
{
	if (size >= 0)
		return;
	gl_clear_errno(handle);
	ereport(ERROR,
			(errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory while making a sort key")));
}

bytea *
KeyOfText(const CollationOrder *order, const char *bytes, int length)
{
	gl_locale *handle = order->locale->handle;
	LocaleText converted;
	/* Most keys have fewer bytes than this. */
	Size room = Min(2 * (Size) length + 32, MaxAllocSize - VARHDRSZ);
	bytea *key;
	int size;

	ToLocale(order->locale, bytes, length, &converted);
	for (;;)
	{
		if (room > MaxAllocSize - VARHDRSZ)
			ereport(ERROR, (errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
							errmsg("a text of %d bytes is too long for a sort key", length)));
		key = palloc(VARHDRSZ + room);
		size = gl_order_key(handle, converted.bytes, converted.length, order->passes,
							(unsigned char *) VARDATA(key), (int) room);
		CheckKey(handle, size);
		if (size <= room)
			break;
		pfree(key);
		room = size;
	}
	FreeLocaleText(&converted);
	SET_VARSIZE(key, VARHDRSZ + size);
	return key;
}

/*
 * Compares a text with a key: as its own key compares, of which no more is
 * made than is needed.
 */
static int
CompareWithKey(FunctionCallInfo fcinfo)
{
	const CollationOrder *order = OrderOfCollation(PG_GET_COLLATION());
	text *a = PG_GETARG_TEXT_PP(0);
	bytea *key = PG_GETARG_BYTEA_PP(1);
	int key_length = VARSIZE_ANY_EXHDR(key);
	unsigned char on_stack[KEY_ON_STACK];
	unsigned char *part = key_length < KEY_ON_STACK ? on_stack : palloc(key_length + 1);
	LocaleText converted;
	int length, result;

	ToLocale(order->locale, VARDATA_ANY(a), VARSIZE_ANY_EXHDR(a), &converted);
	/* One byte more tells whether the text's key goes on. */
	length = gl_order_key_part(order->locale->handle, converted.bytes, converted.length,
							   order->passes, part, key_length + 1);
	CheckKey(order->locale->handle, length);
	FreeLocaleText(&converted);
	result = CompareBytes((char *) part, length, VARDATA_ANY(key), key_length);
	if (part != on_stack)
		pfree(part);
	PG_FREE_IF_COPY(a, 0);
	PG_FREE_IF_COPY(key, 1);
	return result;
}

Datum
qtext_key_lt(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareWithKey(fcinfo) < 0);
}

Datum
qtext_key_le(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareWithKey(fcinfo) <= 0);
}

Datum
qtext_key_eq(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareWithKey(fcinfo) == 0);
}

Datum
qtext_key_ge(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareWithKey(fcinfo) >= 0);
}

Datum
qtext_key_gt(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(CompareWithKey(fcinfo) > 0);
}

Datum
qtext_key_cmp(PG_FUNCTION_ARGS)
{
	PG_RETURN_INT32(CompareWithKey(fcinfo));
}

/*
 * Hashes the argument of a function by what makes it equal to others: the
 * bytes where all of them count, otherwise the key.
 */
static uint64
HashArgument(FunctionCallInfo fcinfo, uint64 seed, bool extended)
{
	const CollationOrder *order = OrderOfCollation(PG_GET_COLLATION());
	text *a = PG_GETARG_TEXT_PP(0);
	bytea *key = NULL;
	const unsigned char *bytes = (unsigned char *) VARDATA_ANY(a);
	int length = VARSIZE_ANY_EXHDR(a);
	uint64 hash;

	if (order->passes != 0)
	{
		key = KeyOfText(order, VARDATA_ANY(a), length);
		bytes = (unsigned char *) VARDATA(key);
		length = VARSIZE(key) - VARHDRSZ;
	}
	hash = extended ? hash_bytes_extended(bytes, length, seed) : hash_bytes(bytes, length);
	if (key)
		pfree(key);
	PG_FREE_IF_COPY(a, 0);
	return hash;
}

Datum
qtext_hash(PG_FUNCTION_ARGS)
{
	PG_RETURN_UINT32((uint32) HashArgument(fcinfo, 0, false));
}

Datum
qtext_hash_extended(PG_FUNCTION_ARGS)
{
	PG_RETURN_UINT64(HashArgument(fcinfo, PG_GETARG_INT64(1), true));
}

/*
 * Whether equal values have equal bytes, so that an index may keep one of
 * them for all.
 */
Datum
qtext_equalimage(PG_FUNCTION_ARGS)
{
	const CollationOrder *order = FindOrderOfCollation(PG_GET_COLLATION());

	PG_RETURN_BOOL(order != NULL && order->passes == 0);
}

/* What a sort keeps. */
typedef struct QtextSort
{
	CollationOrder order;
	int64 count;		 /* of values that were abbreviated */
	double wanted_share; /* of differing values, that differ when abbreviated */
	hyperLogLogState abbreviated;
	hyperLogLogState full;
} QtextSort;

static int
SortCompare(Datum x, Datum y, SortSupport ssup)
{
	text *a = DatumGetTextPP(x);
	text *b = DatumGetTextPP(y);
	int result = CompareTexts(&((QtextSort *) ssup->ssup_extra)->order, VARDATA_ANY(a),
							  VARSIZE_ANY_EXHDR(a), VARDATA_ANY(b), VARSIZE_ANY_EXHDR(b));

	if (PointerGetDatum(a) != x)
		pfree(a);
	if (PointerGetDatum(b) != y)
		pfree(b);
	return result;
}

/*
 * The first bytes of a text's key, as a number.  Where two are the same the
 * texts are compared.
 */
static Datum
SortAbbreviate(Datum original, SortSupport ssup)
{
	QtextSort *sort = ssup->ssup_extra;
	text *value = DatumGetTextPP(original);
	unsigned char part[sizeof(Datum)] = {0};
	LocaleText converted;
	Datum result;
	uint32 hash;

	ToLocale(sort->order.locale, VARDATA_ANY(value), VARSIZE_ANY_EXHDR(value), &converted);
	CheckKey(sort->order.locale->handle,
			 gl_order_key_part(sort->order.locale->handle, converted.bytes, converted.length,
							   sort->order.passes, part, sizeof part));
	memcpy(&result, part, sizeof result);
	result = DatumBigEndianToNative(result);

	sort->count++;
	addHyperLogLog(&sort->full,
				   DatumGetUInt32(hash_any((unsigned char *) converted.bytes,
										   Min(converted.length, PG_CACHE_LINE_SIZE))));
#if SIZEOF_DATUM == 8
	hash = (uint32) result ^ (uint32) ((uint64) result >> 32);
#else
	hash = (uint32) result;
#endif
	addHyperLogLog(&sort->abbreviated, DatumGetUInt32(hash_uint32(hash)));

	FreeLocaleText(&converted);
	if (PointerGetDatum(value) != original)
		pfree(value);
	return result;
}

/*
 * Whether abbreviations tell too few values apart to be worth their making.
 */
static bool
SortAbortAbbreviation(int memtupcount, SortSupport ssup)
{
	QtextSort *sort = ssup->ssup_extra;
	double abbreviated, full;

	if (memtupcount < 100 || sort->count < 100)
		return false;
	abbreviated = Max(estimateHyperLogLog(&sort->abbreviated), 1.0);
	full = Max(estimateHyperLogLog(&sort->full), 1.0);
	if (abbreviated <= full * sort->wanted_share)
		return true;
	/* What has proved itself for long is not given up for little. */
	if (sort->count > 10000)
		sort->wanted_share *= 0.65;
	return false;
}

Datum
qtext_sortsupport(PG_FUNCTION_ARGS)
{
	SortSupport ssup = (SortSupport) PG_GETARG_POINTER(0);
	MemoryContext previous = MemoryContextSwitchTo(ssup->ssup_cxt);
	QtextSort *sort = palloc0(sizeof *sort);

	sort->order = *OrderOfCollation(ssup->ssup_collation);
	ssup->ssup_extra = sort;
	ssup->comparator = SortCompare;
	if (ssup->abbreviate)
	{
		sort->wanted_share = 0.20;
		initHyperLogLog(&sort->abbreviated, 10);
		initHyperLogLog(&sort->full, 10);
		ssup->abbrev_full_comparator = SortCompare;
		ssup->comparator = ssup_datum_unsigned_cmp;
		ssup->abbrev_converter = SortAbbreviate;
		ssup->abbrev_abort = SortAbortAbbreviation;
	}
	MemoryContextSwitchTo(previous);
	PG_RETURN_VOID();
}
