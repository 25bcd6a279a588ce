/*-------------------------------------------------------------------------
 *
 * conversion.h
 *	  What keeps a text from being converted, and how that is told.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_CONVERSION_H
#define QBGL_CONVERSION_H

#include "qbgl_pg.h"

typedef enum Obstacle
{
	NO_OBSTACLE,
	BAD_BYTES,		   /* no character of the source */
	NO_SUCH_CHARACTER, /* of the target */
	APPROXIMATION	   /* is all that the target has */
} Obstacle;

/* Raises an obstacle that is met in a text, with its place and bytes. The codesets are those of the text and of the target. */
extern void RefuseText(Obstacle obstacle, const char *text, int length, int offset,
					   const char *source, const char *target) pg_attribute_noreturn();

#endif /* QBGL_CONVERSION_H */
