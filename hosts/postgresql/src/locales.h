/*-------------------------------------------------------------------------
 *
 * locales.h
 *	  Locales of the library in a backend.
 *
 *-------------------------------------------------------------------------
 */
#ifndef QBGL_LOCALES_H
#define QBGL_LOCALES_H

#include "qbgl_pg.h"

#include "fmgr.h"

/* Bytes of a locale's file name, its terminator included. */
#define LOCALE_FILE_SIZE 32

/* Whether the order of a locale is the one that the database remembers. */
typedef enum OrderState
{
	ORDER_NOT_COMPARED,
	ORDER_AS_REMEMBERED, /* or not remembered at all */
	ORDER_CHANGED
} OrderState;

/*
 * A locale that the backend has loaded.  Entries stay where they are, and the
 * handle is complete, for as long as the backend lives.
 */
typedef struct QbglLocale
{
	char file[LOCALE_FILE_SIZE]; /* the same for each spelling of the name */
	char name[NAMEDATALEN];		 /* as its first user wrote it: "cs_CZ.utf8" */
	gl_locale *handle;
	char fingerprint[17];
	uint64 directory_generation; /* of the tree that it came from */
	OrderState order;
	uint64 compared_generation; /* at which `order` was found out */
	bool is_utf8;
	bool may_fail;				 /* comparisons ask for memory, however short the texts */
	bool prepared;				 /* the following are valid */
	bool plain;					 /* the database's text needs no conversion */
	gl_cv *from_server;			 /* from the database's encoding, unless plain */
	gl_cv *to_server;			 /* and back */
	char zone_name[NAMEDATALEN]; /* of the zone 0; empty before the first */
} QbglLocale;

/* The database's text as a locale has it. */
typedef struct LocaleText
{
	const char *bytes;
	int length;
	char *allocated; /* or NULL where bytes are the caller's */
} LocaleText;

/* Makes all memory of the library the server's. Called once, before any other. */
extern void InitLocales(void);

/* Loads what qbgl.preload names, in the postmaster. Warns of what cannot be loaded. */
extern void PreloadLocales(void);

/* Makes each locale be compared with what is remembered and required once more. */
extern void ForgetComparedOrders(void);

/*
 * The locale of a name, loaded on first use.  Raises undefined_object where
 * there is none, and out_of_memory.  The first looks at no fingerprint; the
 * second ensures that the order is the one remembered and required.
 */
extern QbglLocale *LoadLocale(const char *name);
extern QbglLocale *UseLocale(const char *name);

/* LoadLocale, or NULL for a name that no locale goes by. */
extern QbglLocale *FindLocale(const char *name);

/* LoadLocale and UseLocale for an argument of a function, which remembers the last one in fn_extra. */
extern QbglLocale *LoadLocaleArgument(FmgrInfo *flinfo, const text *name);
extern QbglLocale *UseLocaleArgument(FmgrInfo *flinfo, const text *name);

/* Raised when what is remembered or required may have become another. */
extern uint64 order_generation;

/* Compares the order of a locale with what is remembered and required, and raises the difference. */
extern void CompareOrder(QbglLocale *locale);

/* Ensures that the order of a locale is the one remembered and required. */
static inline void
CheckOrder(QbglLocale *locale)
{
	if (unlikely(locale->order != ORDER_AS_REMEMBERED ||
				 locale->compared_generation != order_generation))
		CompareOrder(locale);
}

/* Whether the loaded order is not the remembered one, and whether any is remembered. */
extern bool OrderHasChanged(QbglLocale *locale);
extern bool IsRemembered(QbglLocale *locale);

/* Whether a name is one of a locale's, in any spelling. */
extern bool IsNameOfLocale(const char *name, const QbglLocale *locale);

/* The library's name of the database's encoding, or NULL where text has none that it knows. */
extern const char *ServerCodeset(void);

/* Finds out how the database's text comes into a locale's codeset, which sets `plain`. */
extern void PrepareConversion(QbglLocale *locale);

/* Whether a locale takes the database's text as it is. */
static inline bool
IsInServerCodeset(QbglLocale *locale)
{
	if (unlikely(!locale->prepared))
		PrepareConversion(locale);
	return locale->plain;
}

/*
 * Text of the database in the codeset of a locale, and back.  Where nothing is
 * converted the bytes are the caller's.  On the way into utf8 bytes without a
 * counterpart stand for themselves, so that every text has a place; otherwise
 * they raise untranslatable_character.
 */
extern void ToLocale(QbglLocale *locale, const char *bytes, int length, LocaleText *result);
extern text *FromLocale(QbglLocale *locale, const char *bytes, int length);

/* The zeros that end a text in any codeset. */
#define TERMINATOR_SIZE 8

/* A copy of a text in a locale's codeset, with a terminator behind its length there. */
extern char *ToLocaleString(QbglLocale *locale, const text *source, int *length);

/* Raises the first bytes of a text in a locale's codeset that are no character. */
extern void RefuseBadText(QbglLocale *locale, const char *bytes, int length)
	pg_attribute_noreturn();

static inline void
FreeLocaleText(LocaleText *text)
{
	if (text->allocated)
		pfree(text->allocated);
}

#endif /* QBGL_LOCALES_H */
