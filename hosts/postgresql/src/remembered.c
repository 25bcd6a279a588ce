/*-------------------------------------------------------------------------
 *
 * remembered.c
 *	  The table qbgl.remembered_orders, read without SQL: a comparison may need it in
 *	  the middle of a sort, in a parallel worker or on a standby.
 *
 *-------------------------------------------------------------------------
 */
#include "remembered.h"

#include "access/genam.h"
#include "access/htup_details.h"
#include "access/table.h"
#include "access/xact.h"
#include "catalog/namespace.h"
#include "utils/builtins.h"
#include "utils/lsyscache.h"
#include "utils/rel.h"
#include "utils/snapmgr.h"

enum
{
	COLUMN_LOCALE = 1,
	COLUMN_FINGERPRINT
};

/* The table that was read last. */
static Oid table = InvalidOid;

/*
 * Copies a column of type text, which is never null.
 */
static void
CopyText(HeapTuple row, int column, TupleDesc columns, char *copy, size_t room)
{
	bool is_null;
	char *value = TextDatumGetCString(heap_getattr(row, column, columns, &is_null));

	strlcpy(copy, value, room);
	pfree(value);
}

static RememberedOrder *
ReadRow(HeapTuple row, TupleDesc columns)
{
	RememberedOrder *result = palloc0(sizeof *result);

	CopyText(row, COLUMN_LOCALE, columns, result->locale, sizeof result->locale);
	CopyText(row, COLUMN_FINGERPRINT, columns, result->fingerprint, sizeof result->fingerprint);
	return result;
}

List *
ReadRemembered(void)
{
	List *rows = NIL;
	Oid schema = get_namespace_oid("qbgl", true);
	Relation relation;
	SysScanDesc scan;
	HeapTuple row;
	Snapshot snapshot;

	table = OidIsValid(schema) ? get_relname_relid("remembered_orders", schema) : InvalidOid;
	if (!OidIsValid(table))
		return NIL;
	relation = table_open(table, AccessShareLock);
	/* What stands there now, whatever the transaction sees; parallel workers may not look. */
	snapshot = RegisterSnapshot(IsInParallelMode() ? GetActiveSnapshot() : GetLatestSnapshot());
	scan = systable_beginscan(relation, InvalidOid, false, snapshot, 0, NULL);
	while (HeapTupleIsValid(row = systable_getnext(scan)))
		rows = lappend(rows, ReadRow(row, RelationGetDescr(relation)));
	systable_endscan(scan);
	UnregisterSnapshot(snapshot);
	table_close(relation, AccessShareLock);
	return rows;
}

bool
IsRememberedTable(Oid relation)
{
	return relation == table;
}
