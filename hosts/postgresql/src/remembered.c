/*-------------------------------------------------------------------------
 *
 * remembered.c
 *	  The table qbgl.collations, read without SQL: a comparison may need it in
 *	  the middle of a sort, in a parallel worker or on a standby.
 *
 *-------------------------------------------------------------------------
 */
#include "remembered.h"

#include "access/genam.h"
#include "access/htup_details.h"
#include "access/table.h"
#include "catalog/namespace.h"
#include "utils/builtins.h"
#include "utils/lsyscache.h"
#include "utils/rel.h"
#include "utils/snapmgr.h"

enum
{
	COLUMN_COLLATION = 1,
	COLUMN_LOCALE,
	COLUMN_PASSES,
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

static RememberedCollation *
ReadRow(HeapTuple row, TupleDesc columns)
{
	RememberedCollation *result = palloc0(sizeof *result);
	bool is_null;

	strlcpy(result->collation,
			NameStr(*DatumGetName(heap_getattr(row, COLUMN_COLLATION, columns, &is_null))),
			sizeof result->collation);
	CopyText(row, COLUMN_LOCALE, columns, result->locale, sizeof result->locale);
	result->passes = DatumGetInt32(heap_getattr(row, COLUMN_PASSES, columns, &is_null));
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

	table = OidIsValid(schema) ? get_relname_relid("collations", schema) : InvalidOid;
	if (!OidIsValid(table))
		return NIL;
	relation = table_open(table, AccessShareLock);
	snapshot =
		RegisterSnapshot(ActiveSnapshotSet() ? GetActiveSnapshot() : GetTransactionSnapshot());
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
