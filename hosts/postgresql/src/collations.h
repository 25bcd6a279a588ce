/*-------------------------------------------------------------------------
 *
 * collations.h
 *	  Which locale a collation of the schema qbgl stands for.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_COLLATIONS_H
#define QBGL_COLLATIONS_H

#include "locales.h"

#define QBGL_SCHEMA "qbgl"

/*
 * The order that a collation stands for.  The name tells it, so that it holds
 * in a restored database before any row is there:
 *
 *	   cs_CZ			in the database's own codeset where there is such a
 *						locale, otherwise in utf8
 *	   cs_CZ.utf8		in that codeset
 *	   th_TH@dict		with a modifier
 *	   cs_CZ_1			the first pass alone: neither accents nor case
 */
typedef struct CollationOrder
{
	Oid collation;
	QbglLocale *locale;
	int passes;
	uint64 generation;
} CollationOrder;

/* The order of a collation, whatever is remembered; NULL for a collation that is not ours. */
extern const CollationOrder *FindOrderOfCollation(Oid collation);

/* The same, which raises what is wrong with a collation that stands for no locale. */
extern const CollationOrder *RequireOrderOfCollation(Oid collation);

/* Whether the name of a collation of ours asks for ICU. */
extern bool CollationAsksForIcu(Oid collation);

/* Whether the name of a collation of ours tells passes, so that texts which differ may be equal. */
extern bool CollationHasPasses(Oid collation);

/* The one that was asked for last, or NULL. */
extern const CollationOrder *last_order;

/* Raised when a collation may have become another. */
extern uint64 collation_generation;

/* RequireOrderOfCollation, ensured to be the order that is remembered. */
static inline const CollationOrder *
OrderOfCollation(Oid collation)
{
	const CollationOrder *order = last_order;

	if (unlikely(order == NULL || order->collation != collation ||
				 order->generation != collation_generation + qbgl_names_generation))
		order = RequireOrderOfCollation(collation);
	CheckOrder(order->locale);
	return order;
}

/* Has collations looked up anew when they or the data's directory change. Called once. */
extern void InitCollations(void);

#endif /* QBGL_COLLATIONS_H */
