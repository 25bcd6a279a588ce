/*-------------------------------------------------------------------------
 *
 * indexes.h
 *	  Indexes that were built under another order.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_INDEXES_H
#define QBGL_INDEXES_H

#include "qbgl_pg.h"

/* What qbgl.check_indexes tells of an index. */
#define INDEX_OUT_OF_ORDER "out of order"
#define INDEX_UNKNOWN "unknown: to be built anew"
#define INDEX_UNKNOWN_FOR "unknown: %s"

/* Has the planner refuse indexes whose order has changed. Called once. */
extern void InitIndexes(void);

#endif /* QBGL_INDEXES_H */
