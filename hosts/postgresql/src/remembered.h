/*-------------------------------------------------------------------------
 *
 * remembered.h
 *	  The table qbgl.collations: which locale a collation stands for, and
 *	  under which order the database's indexes were built.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_REMEMBERED_H
#define QBGL_REMEMBERED_H

#include "qbgl_pg.h"

#include "nodes/pg_list.h"

typedef struct RememberedCollation
{
	char collation[NAMEDATALEN];
	char locale[NAMEDATALEN];
	int passes;
	char fingerprint[17];
} RememberedCollation;

/* All rows, which list_free_deep frees; none where the extension is not installed in the database. */
extern List *ReadRemembered(void);

/* Whether a relation is the table. Looks at no catalog. */
extern bool IsRememberedTable(Oid relation);

#endif /* QBGL_REMEMBERED_H */
