/*-------------------------------------------------------------------------
 *
 * indexes.c
 *	  Indexes that were built under another order: they are not planned with,
 *	  found by reading them, and a new order is accepted when none is left.
 *
 * Whether an index is in order is read off its pages, and nowhere written
 * down: it holds after a restore, on a standby and after pg_upgrade, and an
 * index that the change does not touch need not be built anew.
 *
 *-------------------------------------------------------------------------
 */
#include "indexes.h"

#include "access/genam.h"
#include "access/hash.h"
#include "access/nbtree.h"
#include "access/relation.h"
#include "catalog/namespace.h"
#include "catalog/pg_am.h"
#include "catalog/pg_type.h"
#include "executor/spi.h"
#include "miscadmin.h"
#include "nodes/nodeFuncs.h"
#include "nodes/pathnodes.h"
#include "optimizer/plancat.h"
#include "storage/bufmgr.h"
#include "storage/lmgr.h"
#include "utils/builtins.h"
#include "utils/guc.h"
#include "utils/inval.h"
#include "utils/lsyscache.h"
#include "utils/memutils.h"
#include "utils/rel.h"
#include "utils/snapmgr.h"

#include "../../icu.h"
#include "collations.h"
#include "remembered.h"

PG_FUNCTION_INFO_V1(qbgl_check_index);
PG_FUNCTION_INFO_V1(qbgl_accept);

static get_relation_info_hook_type next_relation_info = NULL;

/* What the expressions of an index ask for. */
typedef struct Asked
{
	List *names;	  /* of locales: qbgl.key(name, 'cs_CZ.utf8') */
	List *collations; /* whose order decides: name < 'h' */
} Asked;

/*
 * Collects the names of locales whose keys or comparisons a call asks for,
 * where they are constants.  Case goes by the rules of ICU where those order.
 */
static void
CollectName(FuncExpr *call, Asked *asked)
{
	const char *function;
	Node *name = NULL;
	char *locale;
	bool is_case;

	if (get_func_namespace(call->funcid) != get_namespace_oid(QBGL_SCHEMA, true))
		return;
	function = get_func_name(call->funcid);
	is_case = strcmp(function, "upper") == 0 || strcmp(function, "lower") == 0;
	if (strcmp(function, "key") == 0 || (is_case && list_length(call->args) == 2))
		name = lsecond(call->args);
	else if (strcmp(function, "compare") == 0)
		name = lthird(call->args);
	if (name == NULL || !IsA(name, Const) || ((Const *) name)->constisnull)
		return;
	locale = TextDatumGetCString(((Const *) name)->constvalue);
	if (!is_case || qbgl_asks_for_icu(locale))
		asked->names = lappend(asked->names, locale);
}

/*
 * Whether a function of the type goes by the order of its collation: where all
 * passes and the bytes count, equality does not.
 */
static bool
GoesByOrder(Oid function, void *collation)
{
	static const char *const equal[] = {"qtext_eq", "qtext_ne", "qtext_like", "qtext_not_like"};
	const char *name = get_func_name(function);

	if (name == NULL || strncmp(name, "qtext_", strlen("qtext_")) != 0 ||
		strcmp(name, "qtext_concat") == 0 ||
		get_func_namespace(function) != get_namespace_oid(QBGL_SCHEMA, true))
		return false;
	for (int i = 0; i < lengthof(equal); i++)
		if (strcmp(name, equal[i]) == 0)
			return CollationHasPasses(*(Oid *) collation);
	return true;
}

/*
 * Collects what an expression asks for.
 */
static bool
CollectAsked(Node *node, Asked *asked)
{
	Oid collation;

	if (node == NULL)
		return false;
	collation = exprInputCollation(node);
	if (IsA(node, FuncExpr))
		CollectName((FuncExpr *) node, asked);
	if (IsA(node, RowCompareExpr))
		asked->collations = list_concat(asked->collations, ((RowCompareExpr *) node)->inputcollids);
	else if (OidIsValid(collation) &&
			 (IsA(node, MinMaxExpr) || check_functions_in_node(node, GoesByOrder, &collation)))
		asked->collations = lappend_oid(asked->collations, collation);
	return expression_tree_walker(node, CollectAsked, asked);
}

static Asked
AskedInExpressions(List *expressions, List *predicate)
{
	Asked asked = {NIL, NIL};

	CollectAsked((Node *) expressions, &asked);
	CollectAsked((Node *) predicate, &asked);
	return asked;
}

static Asked
AskedInIndex(Relation index)
{
	return AskedInExpressions(RelationGetIndexExpressions(index), RelationGetIndexPredicate(index));
}

/*
 * Whether the order of a locale is not the remembered one any more.  Raises
 * that, unless the session allows it.
 */
static bool
HasChanged(QbglLocale *locale)
{
	CheckOrder(locale);
	return locale->order == ORDER_CHANGED;
}

static bool
CollationHasChanged(Oid collation)
{
	const CollationOrder *order = FindOrderOfCollation(collation);

	return order && HasChanged(order->locale);
}

/*
 * The same of an index.
 */
static bool
HasChangedOrder(const IndexOptInfo *index)
{
	Asked asked = AskedInExpressions(index->indexprs, index->indpred);
	bool changed = false;
	ListCell *cell;

	for (int i = 0; i < index->nkeycolumns; i++)
		changed |= CollationHasChanged(index->indexcollations[i]);
	foreach (cell, asked.collations)
		changed |= CollationHasChanged(lfirst_oid(cell));
	foreach (cell, asked.names)
	{
		QbglLocale *locale = FindLocale(lfirst(cell));

		changed |= locale && HasChanged(locale);
	}
	return changed;
}

/*
 * Looks at the indexes of a relation before anything is planned with them: a
 * scan in the order of an index compares nothing, and would notice nothing.
 * Where the session allows a changed order, its indexes are left alone.
 */
static void
LookAtIndexes(PlannerInfo *root, Oid relation, bool is_parent, RelOptInfo *info)
{
	ListCell *cell;

	if (next_relation_info)
		next_relation_info(root, relation, is_parent, info);
	foreach (cell, info->indexlist)
		if (HasChangedOrder(lfirst(cell)))
			info->indexlist = foreach_delete_current(info->indexlist, cell);
}

void
InitIndexes(void)
{
	next_relation_info = get_relation_info_hook;
	get_relation_info_hook = LookAtIndexes;
}

/*
 * Copies a page of an index.  False for one that holds nothing.
 */
static bool
CopyPage(Relation index, BlockNumber block, BufferAccessStrategy strategy, char *page)
{
	Buffer buffer = ReadBufferExtended(index, MAIN_FORKNUM, block, RBM_NORMAL, strategy);

	LockBuffer(buffer, BT_READ);
	memcpy(page, BufferGetPage(buffer), BLCKSZ);
	UnlockReleaseBuffer(buffer);
	return !PageIsNew(page) && !P_IGNORE(BTPageGetOpaque(page));
}

/*
 * Whether an item comes before, or stands with, one of another page.
 */
static bool
ItemsInOrder(Relation index, Page page, OffsetNumber offset, Page other_page, OffsetNumber other)
{
	IndexTuple item = (IndexTuple) PageGetItem(page, PageGetItemId(page, offset));

	return _bt_compare(index, _bt_mkscankey(index, item), other_page, other) <= 0;
}

/*
 * The first item of a page that has a key: inside the tree the first stands
 * for all that is less.
 */
static OffsetNumber
FirstKey(Page page)
{
	BTPageOpaque opaque = BTPageGetOpaque(page);

	return P_FIRSTDATAKEY(opaque) + (P_ISLEAF(opaque) ? 0 : 1);
}

/*
 * Whether the items of a page are in order, and within its bounds.
 */
static bool
PageInOrder(Relation index, Page page)
{
	BTPageOpaque opaque = BTPageGetOpaque(page);
	OffsetNumber last = PageGetMaxOffsetNumber(page);

	for (OffsetNumber at = FirstKey(page); at < last; at++)
		if (!ItemsInOrder(index, page, at, page, at + 1))
			return false;
	return P_RIGHTMOST(opaque) || last < FirstKey(page) ||
		   ItemsInOrder(index, page, last, page, P_HIKEY);
}

/*
 * Whether the next page that holds something begins behind a page's bound.
 */
static bool
NextPageInOrder(Relation index, Page page, BufferAccessStrategy strategy, char *next_page)
{
	BlockNumber next = BTPageGetOpaque(page)->btpo_next;

	while (next != P_NONE)
	{
		if (CopyPage(index, next, strategy, next_page))
			return PageGetMaxOffsetNumber(next_page) < FirstKey(next_page) ||
				   ItemsInOrder(index, page, P_HIKEY, next_page, FirstKey(next_page));
		CHECK_FOR_INTERRUPTS();
		next = BTPageGetOpaque(next_page)->btpo_next;
	}
	return true;
}

/*
 * Whether a btree is in the order that its operator classes have now.  All
 * its pages are looked at, those inside the tree, too: their keys may be those
 * of rows that are gone, and a search goes by them.
 */
static bool
BtreeInOrder(Relation index)
{
	BufferAccessStrategy strategy = GetAccessStrategy(BAS_BULKREAD);
	BlockNumber count = RelationGetNumberOfBlocks(index);
	char *page = palloc(BLCKSZ);
	char *next_page = palloc(BLCKSZ);
	MemoryContext context =
		AllocSetContextCreate(CurrentMemoryContext, "qbgl index page", ALLOCSET_DEFAULT_SIZES);
	MemoryContext previous = MemoryContextSwitchTo(context);
	bool in_order = true;

	for (BlockNumber block = BTREE_METAPAGE + 1; block < count && in_order; block++)
	{
		CHECK_FOR_INTERRUPTS();
		if (CopyPage(index, block, strategy, page))
			in_order =
				PageInOrder(index, page) && NextPageInOrder(index, page, strategy, next_page);
		MemoryContextReset(context);
	}
	MemoryContextSwitchTo(previous);
	MemoryContextDelete(context);
	pfree(page);
	pfree(next_page);
	FreeAccessStrategy(strategy);
	return in_order;
}

/*
 * The order of a collation that stands for a locale (for any, for NULL), or
 * NULL.  Where that locale is none of ICU's, nobody asks for ICU, which may be
 * missing here.
 */
static const CollationOrder *
FindOrderUnder(Oid collation, const QbglLocale *locale)
{
	const CollationOrder *order;

	if (locale && !qbgl_asks_for_icu(locale->name) && CollationAsksForIcu(collation))
		return NULL;
	order = FindOrderOfCollation(collation);
	return order && (locale == NULL || order->locale == locale) ? order : NULL;
}

/*
 * Whether an index stands under the order of a locale (of any, for NULL) in a
 * way that the order decides what it holds: hashes of whole texts do not ask it.
 */
static bool
DependsOnOrder(Relation index, const QbglLocale *locale)
{
	bool is_hash = index->rd_rel->relam == HASH_AM_OID;

	for (int i = 0; i < IndexRelationGetNumberOfKeyAttributes(index); i++)
	{
		const CollationOrder *order = FindOrderUnder(index->rd_indcollation[i], locale);

		if (order && (!is_hash || order->passes != 0))
			return true;
	}
	return false;
}

/*
 * The same of an order that is not the remembered one.
 */
static bool
DependsOnChangedOrder(Relation index)
{
	for (int i = 0; i < IndexRelationGetNumberOfKeyAttributes(index); i++)
	{
		const CollationOrder *order = FindOrderOfCollation(index->rd_indcollation[i]);

		if (order && OrderHasChanged(order->locale))
			return true;
	}
	return false;
}

/*
 * Whether texts that differ may be equal in an index.
 */
static bool
FindsMoreEqual(Relation index)
{
	for (int i = 0; i < IndexRelationGetNumberOfKeyAttributes(index); i++)
	{
		const CollationOrder *order = FindOrderOfCollation(index->rd_indcollation[i]);

		if (order && order->passes != 0)
			return true;
	}
	return false;
}

/*
 * What is wrong with the order of an index, or NULL.  Two rows that have become
 * equal stand in order, and only a build finds out that they must not.
 */
static const char *
JudgeOrder(Relation index)
{
	bool is_btree = index->rd_rel->relam == BTREE_AM_OID;

	if (is_btree && !BtreeInOrder(index))
		return INDEX_OUT_OF_ORDER;
	if (is_btree && !(index->rd_index->indisunique && FindsMoreEqual(index)))
		return NULL;
	return DependsOnChangedOrder(index) ? INDEX_UNKNOWN : NULL;
}

/*
 * Whether the expressions of an index ask for a locale (for any, for NULL)
 * whose order is not the remembered one: what they gave cannot be told from
 * what they would give.
 */
static bool
HoldsChangedResults(Relation index, const QbglLocale *locale)
{
	Asked asked = AskedInIndex(index);
	ListCell *cell;

	foreach (cell, asked.names)
	{
		const char *name = lfirst(cell);
		QbglLocale *named =
			locale == NULL || IsNameOfLocale(name, locale) ? FindLocale(name) : NULL;

		if (named && OrderHasChanged(named))
			return true;
	}
	foreach (cell, asked.collations)
	{
		const CollationOrder *order = FindOrderUnder(lfirst_oid(cell), locale);

		if (order && OrderHasChanged(order->locale))
			return true;
	}
	return false;
}

/*
 * Why a locale that an index asks for cannot be loaded, or NULL.
 */
static const char *
WhyNotLoaded(Relation index)
{
	MemoryContext context = CurrentMemoryContext;
	const char *volatile why = NULL;

	PG_TRY();
	{
		Asked asked = AskedInIndex(index);
		ListCell *cell;

		for (int i = 0; i < IndexRelationGetNumberOfKeyAttributes(index); i++)
			(void) FindOrderOfCollation(index->rd_indcollation[i]);
		foreach (cell, asked.collations)
			(void) FindOrderOfCollation(lfirst_oid(cell));
		foreach (cell, asked.names)
			(void) FindLocale(lfirst(cell));
	}
	PG_CATCH();
	{
		ErrorData *error;

		MemoryContextSwitchTo(context);
		error = CopyErrorData();
		/* Those of loading; they leave nothing behind. */
		if (error->sqlerrcode != ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE &&
			error->sqlerrcode != ERRCODE_CONFIG_FILE_ERROR)
			PG_RE_THROW();
		FlushErrorState();
		why = error->message;
	}
	PG_END_TRY();
	return why;
}

/*
 * Allows a changed order up to the end of a level, which AtEOXact_GUC ends.
 */
static int
AllowChangedOrder(void)
{
	int level = NewGUCNestLevel();

	(void) set_config_option("qbgl.allow_changed_order", "on", PGC_USERSET, PGC_S_SESSION,
							 GUC_ACTION_SAVE, true, 0, false);
	return level;
}

/*
 * What is wrong with an index under the order of a locale (of any, for NULL),
 * or NULL.
 */
static const char *
JudgeIndex(Relation index, const QbglLocale *locale)
{
	const char *why = locale == NULL || DependsOnOrder(index, locale) ? WhyNotLoaded(index) : NULL;
	const char *verdict = NULL;
	int level;

	if (why)
		return psprintf(INDEX_UNKNOWN_FOR, why);
	if (DependsOnOrder(index, locale))
	{
		level = AllowChangedOrder();
		verdict = JudgeOrder(index);
		AtEOXact_GUC(false, level);
	}
	if (verdict == NULL && HoldsChangedResults(index, locale))
		verdict = INDEX_UNKNOWN;
	return verdict;
}

/*
 * qbgl.check_index(index regclass, locale text) returns text
 *
 * What is wrong with an index under the order that is loaded, or null. With a
 * locale, indexes of others are not looked at.
 */
Datum
qbgl_check_index(PG_FUNCTION_ARGS)
{
	const QbglLocale *locale =
		PG_ARGISNULL(1) ? NULL : LoadLocale(text_to_cstring(PG_GETARG_TEXT_PP(1)));
	const char *verdict = NULL;
	Relation index;

	if (PG_ARGISNULL(0))
		PG_RETURN_NULL();
	index = try_relation_open(PG_GETARG_OID(0), AccessShareLock);
	if (index == NULL)
		PG_RETURN_NULL();
	if (index->rd_rel->relkind == RELKIND_INDEX && !RELATION_IS_OTHER_TEMP(index))
		verdict = JudgeIndex(index, locale);
	relation_close(index, AccessShareLock);
	if (verdict == NULL)
		PG_RETURN_NULL();
	PG_RETURN_TEXT_P(cstring_to_text(verdict));
}

static void
Execute(const char *statement, int expected)
{
	if (SPI_execute(statement, false, 0) != expected)
		elog(ERROR, "could not execute \"%s\"", statement);
}

/*
 * Keeps all indexes of our collations from being written to, up to the end of the transaction, and has plans made anew then.
 */
static void
LockTables(void)
{
	Execute("SELECT DISTINCT table_oid FROM qbgl.collated_indexes", SPI_OK_SELECT);
	for (uint64 row = 0; row < SPI_processed; row++)
	{
		bool is_null;
		Oid table = DatumGetObjectId(
			SPI_getbinval(SPI_tuptable->vals[row], SPI_tuptable->tupdesc, 1, &is_null));

		LockRelationOid(table, ShareLock);
		CacheInvalidateRelcacheByRelid(table);
	}
}

/*
 * Ensure that no index of a locale is out of order; those that no one can tell
 * of are built anew.
 */
static void
CheckIndexes(const QbglLocale *locale)
{
	SPITupleTable *found;
	uint64 count;

	Execute(psprintf("SELECT index, reason FROM qbgl.check_indexes(%s)",
					 quote_literal_cstr(locale->name)),
			SPI_OK_SELECT);
	found = SPI_tuptable;
	count = SPI_processed;
	for (uint64 row = 0; row < count; row++)
	{
		char *index = SPI_getvalue(found->vals[row], found->tupdesc, 1);
		char *reason = SPI_getvalue(found->vals[row], found->tupdesc, 2);

		if (strcmp(reason, INDEX_OUT_OF_ORDER) == 0)
			ereport(ERROR,
					(errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE),
					 errmsg("the index %s is in another order than the installed data of the "
							"locale \"%s\" have",
							index, locale->name),
					 errhint("SET qbgl.allow_changed_order = on; REINDEX INDEX %s; "
							 "qbgl.check_indexes() lists all such indexes.",
							 index)));
	}
	for (uint64 row = 0; row < count; row++)
		Execute(psprintf("REINDEX INDEX %s", SPI_getvalue(found->vals[row], found->tupdesc, 1)),
				SPI_OK_UTILITY);
}

/*
 * Whether a partition has a row that does not meet its condition, which may
 * hold functions of the owner: they run as the owner's.
 */
static bool
HasStrayRows(const char *partition, const char *condition, Oid owner)
{
	Oid user;
	int context;

	GetUserIdAndSecContext(&user, &context);
	SetUserIdAndSecContext(owner, context | SECURITY_RESTRICTED_OPERATION);
	Execute(psprintf("SELECT FROM ONLY %s WHERE NOT (%s) LIMIT 1", partition, condition),
			SPI_OK_SELECT);
	SetUserIdAndSecContext(user, context);
	return SPI_processed > 0;
}

/*
 * Ensure that the rows of each partition under a locale's order belong there.
 */
static void
CheckPartitions(const QbglLocale *locale)
{
	SPITupleTable *found;
	uint64 count;

	Execute("SELECT partition, condition, owner, collation_oid FROM qbgl.collated_partitions",
			SPI_OK_SELECT);
	found = SPI_tuptable;
	count = SPI_processed;
	for (uint64 row = 0; row < count; row++)
	{
		char *partition = SPI_getvalue(found->vals[row], found->tupdesc, 1);
		char *condition = SPI_getvalue(found->vals[row], found->tupdesc, 2);
		bool is_null;
		Oid owner = DatumGetObjectId(SPI_getbinval(found->vals[row], found->tupdesc, 3, &is_null));
		Oid collation =
			DatumGetObjectId(SPI_getbinval(found->vals[row], found->tupdesc, 4, &is_null));

		if (FindOrderUnder(collation, locale) && HasStrayRows(partition, condition, owner))
			ereport(ERROR,
					(errcode(ERRCODE_OBJECT_NOT_IN_PREREQUISITE_STATE),
					 errmsg("the partition %s has rows that do not belong there under the "
							"installed data of the locale \"%s\"",
							partition, locale->name),
					 errhint("SET qbgl.allow_changed_order = on; WITH moved AS (DELETE FROM %s "
							 "RETURNING *) INSERT INTO its table SELECT * FROM moved.",
							 partition)));
	}
}

/*
 * Writes the loaded order down as the remembered one, under all names that the
 * locale goes by.
 */
static void
RememberLoadedOrder(const QbglLocale *locale)
{
	List *rows = ReadRemembered();
	ListCell *cell;

	foreach (cell, rows)
	{
		const char *name = ((RememberedOrder *) lfirst(cell))->locale;
		Oid types[2] = {TEXTOID, TEXTOID};
		Datum values[2] = {CStringGetTextDatum(name), CStringGetTextDatum(locale->fingerprint)};

		if (IsNameOfLocale(name, locale) &&
			SPI_execute_with_args(
				"UPDATE qbgl.remembered_orders SET fingerprint = $2 WHERE locale = $1", 2, types,
				values, NULL, false, 0) != SPI_OK_UPDATE)
			elog(ERROR, "could not write to qbgl.remembered_orders");
	}
}

/*
 * qbgl.accept(locale text) returns text
 *
 * Remembers the order of a locale that is loaded now, once no index is left in
 * another one.  The result is its fingerprint.
 */
Datum
qbgl_accept(PG_FUNCTION_ARGS)
{
	QbglLocale *locale = LoadLocale(text_to_cstring(PG_GETARG_TEXT_PP(0)));
	int level;

	if (OrderHasChanged(locale))
	{
		if (SPI_connect() != SPI_OK_CONNECT)
			elog(ERROR, "could not connect to the SPI manager");
		level = AllowChangedOrder();
		LockTables();
		CheckIndexes(locale);
		CheckPartitions(locale);
		RememberLoadedOrder(locale);
		AtEOXact_GUC(false, level);
		SPI_finish();
	}
	PG_RETURN_TEXT_P(cstring_to_text(locale->fingerprint));
}
