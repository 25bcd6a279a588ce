/*-------------------------------------------------------------------------
 *
 * qbgl_pg.h
 *	  What the files of the extension share.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_PG_H
#define QBGL_PG_H

#include "postgres.h"

#include "qbgl.h"

/* The settings, module.c */
extern char *qbgl_directory;
extern bool qbgl_allow_changed_order;
extern bool qbgl_icu;
extern char *qbgl_require;
extern char *qbgl_preload;

/* Raised when qbgl.directory is set: what was loaded before is of another tree. */
extern uint64 qbgl_directory_generation;

/* Raised when qbgl.directory or qbgl.icu is set: who keeps what a name led to asks for it again. */
extern uint64 qbgl_names_generation;

#endif /* QBGL_PG_H */
