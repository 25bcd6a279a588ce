/*-------------------------------------------------------------------------
 *
 * qtext.h
 *	  Values of the type qtext in the order of a collation.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_QTEXT_H
#define QBGL_QTEXT_H

#include "collations.h"

/* -1, 0 or 1; 0 for identical bytes alone, unless passes say that less counts. */
extern int CompareTexts(const CollationOrder *order, const char *a, int a_length, const char *b,
						int b_length);

/* The key of a text, to be freed. */
extern bytea *KeyOfText(const CollationOrder *order, const char *bytes, int length);

#endif /* QBGL_QTEXT_H */
