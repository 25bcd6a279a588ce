/*-------------------------------------------------------------------------
 *
 * collations.c
 *	  Which locale a collation of the schema qbgl stands for, and the guard
 *	  that keeps the operators of text away from it.
 *
 * To the server such a collation is one of libc, of a locale that has no
 * version.  The guard is a version that the row has all the same: whoever
 * asks the server for that collation gets an error then, and not the order of
 * bytes.  A dump does not carry it; it is set again with the rows of
 * qbgl.remembered_orders.
 *
 *-------------------------------------------------------------------------
 */
#include "collations.h"

#include "access/genam.h"
#include "access/htup_details.h"
#include "access/table.h"
#include "access/transam.h"
#include "access/xact.h"
#include "catalog/indexing.h"
#include "catalog/namespace.h"
#include "catalog/objectaccess.h"
#include "catalog/pg_collation.h"
#include "catalog/pg_type.h"
#include "commands/dbcommands.h"
#include "commands/trigger.h"
#include "executor/spi.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "nodes/value.h"
#include "utils/builtins.h"
#include "utils/fmgroids.h"
#include "utils/guc.h"
#include "utils/hsearch.h"
#include "utils/inval.h"
#include "utils/lsyscache.h"
#include "utils/memutils.h"
#include "utils/rel.h"
#include "utils/syscache.h"
#include "utils/varlena.h"

#include "../../icu.h"
#include "remembered.h"

PG_FUNCTION_INFO_V1(qbgl_add_locale);
PG_FUNCTION_INFO_V1(qbgl_guard_trigger);

/* A collation that pg_upgrade makes, while its guard is put aside. */
typedef struct PutAside
{
	Oid collation; /* or InvalidOid */
	char version[NAMEDATALEN];
} PutAside;

static object_access_hook_type next_object_access = NULL;
static PutAside put_aside = {InvalidOid};
static HTAB *orders = NULL;
const CollationOrder *last_order = NULL;
uint64 collation_generation = 1;

static void
CollationChanged(Datum argument, int cache, uint32 hash)
{
	collation_generation++;
}

/*
 * Takes a collation's name apart.  False where it cannot name a locale.
 */
static bool
SplitCollationName(const char *name, char territory[NAMEDATALEN], char codeset[NAMEDATALEN],
				   char modifier[NAMEDATALEN], int *passes)
{
	char rest[NAMEDATALEN];
	size_t length;
	char *mark;

	strlcpy(rest, name, sizeof rest);
	length = strlen(rest);
	*passes = 0;
	/* "cs_CZ" ends in "_" and letters, "cs_CZ_1" in "_" and a digit. */
	if (length > 2 && rest[length - 2] == '_' && rest[length - 1] >= '1' && rest[length - 1] <= '8')
	{
		*passes = rest[length - 1] - '0';
		rest[length - 2] = '\0';
	}
	codeset[0] = modifier[0] = '\0';
	if ((mark = strchr(rest, '@')) != NULL)
	{
		strlcpy(modifier, mark, NAMEDATALEN);
		*mark = '\0';
	}
	if ((mark = strchr(rest, '.')) != NULL)
	{
		strlcpy(codeset, mark + 1, NAMEDATALEN);
		*mark = '\0';
	}
	strlcpy(territory, rest, NAMEDATALEN);
	return territory[0] != '\0';
}

/*
 * Whether a collation's name asks for ICU.
 */
static bool
NameAsksForIcu(const char *name)
{
	char territory[NAMEDATALEN], codeset[NAMEDATALEN], modifier[NAMEDATALEN];
	int passes;

	return SplitCollationName(name, territory, codeset, modifier, &passes) &&
		   qbgl_asks_for_icu(modifier);
}

/*
 * The locale of a territory in a codeset, or NULL where none is installed.
 */
static QbglLocale *
TryLocale(const char *territory, const char *codeset, const char *modifier)
{
	char name[3 * NAMEDATALEN];

	snprintf(name, sizeof name, "%s.%s%s", territory, codeset, modifier);
	return strlen(name) < NAMEDATALEN ? FindLocale(name) : NULL;
}

/*
 * The locale that a collation's name stands for, or NULL.
 */
static QbglLocale *
LocaleOfCollationName(const char *name, int *passes)
{
	char territory[NAMEDATALEN], codeset[NAMEDATALEN], modifier[NAMEDATALEN];
	QbglLocale *locale = NULL;

	if (!SplitCollationName(name, territory, codeset, modifier, passes))
		return NULL;
	if (codeset[0] != '\0')
		return TryLocale(territory, codeset, modifier);
	if (ServerCodeset() != NULL)
		locale = TryLocale(territory, ServerCodeset(), modifier);
	return locale ? locale : TryLocale(territory, "utf8", modifier);
}

/*
 * Whether a collation is one of the schema qbgl, and its name.
 */
static bool
FindCollationName(Oid collation, char name[NAMEDATALEN])
{
	HeapTuple tuple = SearchSysCache1(COLLOID, ObjectIdGetDatum(collation));
	Oid schema;

	if (!HeapTupleIsValid(tuple))
		return false;
	strlcpy(name, NameStr(((Form_pg_collation) GETSTRUCT(tuple))->collname), NAMEDATALEN);
	schema = ((Form_pg_collation) GETSTRUCT(tuple))->collnamespace;
	ReleaseSysCache(tuple);
	return schema == get_namespace_oid(QBGL_SCHEMA, true);
}

bool
CollationAsksForIcu(Oid collation)
{
	char name[NAMEDATALEN];

	return FindCollationName(collation, name) && NameAsksForIcu(name);
}

bool
CollationHasPasses(Oid collation)
{
	char name[NAMEDATALEN], territory[NAMEDATALEN], codeset[NAMEDATALEN], modifier[NAMEDATALEN];
	int passes;

	return FindCollationName(collation, name) &&
		   SplitCollationName(name, territory, codeset, modifier, &passes) && passes != 0;
}

/*
 * Looks up what a collation stands for.
 */
static bool
LookUpCollation(Oid collation, CollationOrder *order)
{
	char name[NAMEDATALEN];

	if (!FindCollationName(collation, name))
		return false;
	order->locale = LocaleOfCollationName(name, &order->passes);
	return order->locale != NULL;
}

const CollationOrder *
FindOrderOfCollation(Oid collation)
{
	CollationOrder *order;
	uint64 generation = collation_generation + qbgl_names_generation;
	bool found;

	if (last_order && last_order->collation == collation && last_order->generation == generation)
		return last_order;
	if (collation < FirstNormalObjectId)
		return NULL;
	order = hash_search(orders, &collation, HASH_ENTER, &found);
	if (!found || order->generation != generation)
	{
		order->generation = 0;
		order->locale = NULL;
		order->passes = 0;
		if (!LookUpCollation(collation, order))
			return NULL;
		order->generation = generation;
	}
	last_order = order;
	return order;
}

/*
 * Raises why a collation cannot order values of type qtext.
 */
static void
RaiseNoOrder(Oid collation)
{
	char name[NAMEDATALEN] = "?";

	if (!OidIsValid(collation))
		ereport(ERROR, (errcode(ERRCODE_INDETERMINATE_COLLATION),
						errmsg("could not determine which collation to use for type qbgl.qtext"),
						errhint("Use the COLLATE clause to set the collation explicitly.")));
	if (FindCollationName(collation, name))
		ereport(ERROR, (errcode(ERRCODE_UNDEFINED_OBJECT),
						errmsg("the locale of the collation \"%s\" is not installed in \"%s\"",
							   name, qbgl_directory),
						errhint("qbgl.locales() lists those that are installed.")));
	ereport(ERROR, (errcode(ERRCODE_COLLATION_MISMATCH),
					errmsg("the collation \"%s\" stands for no locale of qbgl", name),
					errhint("Declare columns as qbgl.qtext COLLATE qbgl.\"cs_CZ\"; "
							"SELECT qbgl.add_locale('cs_CZ.utf8') makes that collation.")));
}

const CollationOrder *
RequireOrderOfCollation(Oid collation)
{
	const CollationOrder *order = FindOrderOfCollation(collation);

	if (order == NULL)
		RaiseNoOrder(collation);
	return order;
}

/*
 * Ensure that every text of the database has a place in a locale's order.
 */
static void
CheckServesDatabase(QbglLocale *locale)
{
	if (locale->is_utf8 || IsInServerCodeset(locale))
		return;
	ereport(ERROR,
			(errcode(ERRCODE_FEATURE_NOT_SUPPORTED),
			 errmsg("the locale \"%s\" cannot order all text of a database in the encoding %s",
					locale->name, GetDatabaseEncodingName()),
			 errhint("Take the one in utf8, or in the database's own codeset.")));
}

/*
 * Ensure that passes are a number that a collation's name can tell.
 */
static void
CheckCollationPasses(int passes)
{
	if (passes < 0 || passes > 8)
		ereport(ERROR, (errcode(ERRCODE_INVALID_PARAMETER_VALUE),
						errmsg("passes are 1 to 8, or 0 for all and the bytes behind them, not %d",
							   passes)));
}

/*
 * Writes the shortest name that stands for a locale and passes.
 */
static void
CollationName(QbglLocale *locale, int passes, char name[NAMEDATALEN])
{
	char territory[NAMEDATALEN], codeset[NAMEDATALEN], modifier[NAMEDATALEN], digit[3] = "";
	int ignored;

	SplitCollationName(locale->name, territory, codeset, modifier, &ignored);
	if (passes > 0)
		snprintf(digit, sizeof digit, "_%d", passes);
	snprintf(name, NAMEDATALEN, "%s%s%s", territory, modifier, digit);
	if (LocaleOfCollationName(name, &ignored) != locale)
		snprintf(name, NAMEDATALEN, "%s.%s%s%s", territory, codeset, modifier, digit);
}

/*
 * Tells whether a list of libraries has this one, and appends the others to a
 * list of literals.
 */
static bool
ListsExtension(const char *setting, StringInfo others)
{
	List *libraries = NIL;
	ListCell *cell;

	if (!SplitDirectoriesString(pstrdup(setting), ',', &libraries))
		return false;
	foreach (cell, libraries)
	{
		if (strcmp(lfirst(cell), "qbgl") == 0 || strcmp(lfirst(cell), "$libdir/qbgl") == 0)
			return true;
		appendStringInfo(others, "%s, ", quote_literal_cstr(lfirst(cell)));
	}
	return false;
}

/*
 * Has sessions of this database load the extension before they plan anything:
 * a scan of an index may need none of its functions, and an order that has
 * changed is to be refused all the same.
 */
static void
PreloadInSessions(void)
{
	StringInfoData others;
	char *command;

	initStringInfo(&others);
	if (ListsExtension(GetConfigOption("shared_preload_libraries", false, false), &others))
		return;
	resetStringInfo(&others);
	if (ListsExtension(GetConfigOption("session_preload_libraries", false, false), &others))
		return;
	command = psprintf("ALTER DATABASE %s SET session_preload_libraries = %s'qbgl'",
					   quote_identifier(get_database_name(MyDatabaseId)), others.data);
	if (SPI_connect() != SPI_OK_CONNECT || SPI_execute(command, false, 0) != SPI_OK_UTILITY ||
		SPI_finish() != SPI_OK_FINISH)
		elog(ERROR, "could not execute \"%s\"", command);
}

/*
 * Sets the guard of one collation, or takes it away.
 */
static void
GuardCollation(Relation catalog, HeapTuple tuple, const char *version)
{
	Datum values[Natts_pg_collation] = {0};
	bool nulls[Natts_pg_collation] = {false};
	bool replaces[Natts_pg_collation] = {false};
	HeapTuple changed;

	replaces[Anum_pg_collation_collversion - 1] = true;
	if (version)
		values[Anum_pg_collation_collversion - 1] = CStringGetTextDatum(version);
	else
		nulls[Anum_pg_collation_collversion - 1] = true;
	changed = heap_modify_tuple(tuple, RelationGetDescr(catalog), values, nulls, replaces);
	CatalogTupleUpdate(catalog, &changed->t_self, changed);
	heap_freetuple(changed);
}

/*
 * Whether a collation has the version that is its guard.
 */
static bool
HasVersion(Relation catalog, HeapTuple tuple, const char *version)
{
	bool is_null;
	Datum value =
		heap_getattr(tuple, Anum_pg_collation_collversion, RelationGetDescr(catalog), &is_null);

	return !is_null && strcmp(TextDatumGetCString(value), version) == 0;
}

/*
 * The guard of a collation, or NULL where it stands for no locale.  For that of
 * one of ICU's, nothing is loaded: any version is a guard.
 */
static const char *
GuardOf(const char *name)
{
	int passes;
	QbglLocale *locale;

	if (NameAsksForIcu(name))
		return "ICU";
	locale = LocaleOfCollationName(name, &passes);
	return locale ? locale->fingerprint : NULL;
}

/*
 * Sets the guards of all collations of the schema that stand for a locale.
 */
static void
GuardCollations(void)
{
	Relation catalog = table_open(CollationRelationId, RowExclusiveLock);
	SysScanDesc scan;
	ScanKeyData key;
	HeapTuple tuple;

	ScanKeyInit(&key, Anum_pg_collation_collnamespace, BTEqualStrategyNumber, F_OIDEQ,
				ObjectIdGetDatum(get_namespace_oid(QBGL_SCHEMA, false)));
	scan = systable_beginscan(catalog, InvalidOid, false, NULL, 1, &key);
	while (HeapTupleIsValid(tuple = systable_getnext(scan)))
	{
		const char *guard = GuardOf(NameStr(((Form_pg_collation) GETSTRUCT(tuple))->collname));

		if (guard != NULL && !HasVersion(catalog, tuple, guard))
			GuardCollation(catalog, tuple, guard);
	}
	systable_endscan(scan);
	table_close(catalog, RowExclusiveLock);
	CommandCounterIncrement();
}

/*
 * Sets the guard of a collation that may have gone, or takes it away and tells
 * what it was.
 */
static void
ReplaceGuard(Oid collation, const char *version, char old_version[NAMEDATALEN])
{
	Relation catalog = table_open(CollationRelationId, RowExclusiveLock);
	HeapTuple tuple = SearchSysCacheCopy1(COLLOID, ObjectIdGetDatum(collation));
	bool is_null = true;
	Datum value = (Datum) 0;

	if (HeapTupleIsValid(tuple) && ((Form_pg_collation) GETSTRUCT(tuple))->collnamespace ==
									   get_namespace_oid(QBGL_SCHEMA, true))
		value =
			heap_getattr(tuple, Anum_pg_collation_collversion, RelationGetDescr(catalog), &is_null);
	if (HeapTupleIsValid(tuple) && is_null == (version != NULL))
	{
		if (!is_null)
			strlcpy(old_version, TextDatumGetCString(value), NAMEDATALEN);
		GuardCollation(catalog, tuple, version);
		CommandCounterIncrement();
	}
	table_close(catalog, RowExclusiveLock);
}

/*
 * pg_upgrade alone makes collations with their versions, and the server then
 * asks for the collation, which the guard is to prevent.  So it is put aside
 * up to the end of that transaction.
 */
static void
PutGuardAside(ObjectAccessType access, Oid class, Oid object, int sub_object, void *argument)
{
	if (next_object_access)
		next_object_access(access, class, object, sub_object, argument);
	if (access != OAT_POST_CREATE || class != CollationRelationId)
		return;
	CommandCounterIncrement();
	put_aside.version[0] = '\0';
	ReplaceGuard(object, NULL, put_aside.version);
	put_aside.collation = put_aside.version[0] != '\0' ? object : InvalidOid;
}

static void
PutGuardBack(XactEvent event, void *argument)
{
	if (event == XACT_EVENT_PRE_COMMIT && OidIsValid(put_aside.collation))
		ReplaceGuard(put_aside.collation, put_aside.version, NULL);
	put_aside.collation = InvalidOid;
}

void
InitCollations(void)
{
	HASHCTL info = {.keysize = sizeof(Oid), .entrysize = sizeof(CollationOrder)};

	info.hcxt = TopMemoryContext;
	orders = hash_create("qbgl collations", 16, &info, HASH_ELEM | HASH_BLOBS | HASH_CONTEXT);
	CacheRegisterSyscacheCallback(COLLOID, CollationChanged, (Datum) 0);
	if (IsBinaryUpgrade)
	{
		next_object_access = object_access_hook;
		object_access_hook = PutGuardAside;
		RegisterXactCallback(PutGuardBack, NULL);
	}
}

/*
 * Writes the order of a locale down, unless the database remembers one.
 */
static void
RememberOrder(QbglLocale *locale)
{
	Oid types[2] = {TEXTOID, TEXTOID};
	Datum values[2] = {CStringGetTextDatum(locale->name), CStringGetTextDatum(locale->fingerprint)};

	if (IsRemembered(locale))
		return;
	if (SPI_connect() != SPI_OK_CONNECT ||
		SPI_execute_with_args("INSERT INTO qbgl.remembered_orders VALUES ($1, $2)", 2, types,
							  values, NULL, false, 0) != SPI_OK_INSERT ||
		SPI_finish() != SPI_OK_FINISH)
		elog(ERROR, "could not write to qbgl.remembered_orders");
}

/*
 * qbgl.add_locale(locale text, passes int) returns regcollation
 *
 * Makes the collation of a locale, remembers its order and sets the guard.
 * What is there already stays.
 */
Datum
qbgl_add_locale(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = UseLocale(text_to_cstring(PG_GETARG_TEXT_PP(0)));
	int passes = PG_GETARG_INT32(1);
	Oid schema = get_namespace_oid(QBGL_SCHEMA, false);
	/* Of one encoding, and of a locale of libc that a dump can be restored with. */
	int encoding = GetDatabaseEncoding();
	const char *platform_locale = encoding == PG_UTF8 || encoding == PG_SQL_ASCII ? "C.UTF-8" : "C";
	char name[NAMEDATALEN];

	CheckServesDatabase(locale);
	CheckCollationPasses(passes);
	CollationName(locale, passes, name);
	CollationCreate(name, schema, GetUserId(), COLLPROVIDER_LIBC, true, encoding, platform_locale,
					platform_locale, NULL, NULL, true, true);
	CommandCounterIncrement();
	RememberOrder(locale);
	GuardCollations();
	PreloadInSessions();
	PG_RETURN_OID(
		get_collation_oid(list_make2(makeString(QBGL_SCHEMA), makeString(pstrdup(name))), false));
}

/*
 * What happens when rows come into qbgl.remembered_orders, or others: all
 * sessions compare their orders again, and at a restore the collations, which
 * are there, get their guards back.
 */
Datum
qbgl_guard_trigger(PG_FUNCTION_ARGS)
{
	if (!CALLED_AS_TRIGGER(fcinfo))
		ereport(ERROR, (errcode(ERRCODE_E_R_I_E_TRIGGER_PROTOCOL_VIOLATED),
						errmsg("not called by the trigger manager")));
	CacheInvalidateRelcache(((TriggerData *) fcinfo->context)->tg_relation);
	GuardCollations();
	PreloadInSessions();
	return PointerGetDatum(NULL);
}
