/*-------------------------------------------------------------------------
 *
 * remembered.h
 *	  The table qbgl.remembered_orders: under which order of a locale the
 *	  database's indexes were built.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_REMEMBERED_H
#define QBGL_REMEMBERED_H

#include "qbgl_pg.h"

#include "nodes/pg_list.h"

typedef struct RememberedOrder
{
	char locale[NAMEDATALEN];
	char fingerprint[17];
} RememberedOrder;

/* All rows, which list_free_deep frees; none where the extension is not installed in the database. */
extern List *ReadRemembered(void);

/* Whether a relation is the table. Looks at no catalog. */
extern bool IsRememberedTable(Oid relation);

#endif /* QBGL_REMEMBERED_H */
