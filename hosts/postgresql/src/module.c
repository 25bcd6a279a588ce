/*-------------------------------------------------------------------------
 *
 * module.c
 *	  Loading of the extension's library, and its settings.
 *
 *-------------------------------------------------------------------------
 */
#include "collations.h"

#include "fmgr.h"
#include "miscadmin.h"
#include "utils/guc.h"
#include "utils/memutils.h"

#include "indexes.h"

PG_MODULE_MAGIC;

/* The library takes no more. */
#define MAX_DIRECTORY_LENGTH 256

void _PG_init(void);

char *qbgl_directory = NULL;
bool qbgl_allow_changed_order = false;
bool qbgl_icu = false;
char *qbgl_require = NULL;
char *qbgl_preload = NULL;
uint64 qbgl_directory_generation = 0;
uint64 qbgl_names_generation = 0;

/*
 * The environment that the library sees. Where the data are is said by
 * qbgl.directory, not by whoever started the postmaster, and which locales may
 * be ICU's by qbgl.icu: the library may have it whenever it is asked for it.
 */
static char *
LibraryEnvironment(const char *name)
{
	static char yes[] = "1";

	if (strcmp(name, "QUORBANEDIR") == 0)
		return qbgl_directory;
	return strcmp(name, "GL_USEGLU") == 0 ? yes : NULL;
}

/*
 * Ensure that a directory is an absolute path of a length that the library
 * takes.
 */
static bool
CheckDirectory(char **value, void **extra, GucSource source)
{
	if (!is_absolute_path(*value))
	{
		GUC_check_errdetail("The directory must be an absolute path.");
		return false;
	}
	if (strlen(*value) > MAX_DIRECTORY_LENGTH)
	{
		GUC_check_errdetail("The path has %zu bytes, and at most %d are possible.", strlen(*value),
							MAX_DIRECTORY_LENGTH);
		return false;
	}
	return true;
}

/*
 * Have the library look for its data anew.
 */
static void
AssignDirectory(const char *value, void *extra)
{
	gl_free_registry_cache();
	qbgl_directory_generation++;
	qbgl_names_generation++;
}

/*
 * Have it asked anew whether the locales in use may be ICU's.
 */
static void
AssignIcu(bool value, void *extra)
{
	qbgl_names_generation++;
}

/*
 * Have the locales in use compared with what is required from now on.
 */
static void
AssignRequire(const char *value, void *extra)
{
	ForgetComparedOrders();
}

/*
 * Define the settings. The default of qbgl.directory is where
 * install_postgresql puts the data.
 */
static void
DefineSettings(void)
{
	char share[MAXPGPATH];
	char directory[MAXPGPATH + 16];

	get_share_path(my_exec_path, share);
	snprintf(directory, sizeof directory, "%s/quorbane", share);

	DefineCustomStringVariable("qbgl.directory", "Directory of the data of locales and codesets.",
							   NULL, &qbgl_directory,
							   MemoryContextStrdup(TopMemoryContext, directory), PGC_SUSET, 0,
							   CheckDirectory, AssignDirectory, NULL);
	DefineCustomBoolVariable(
		"qbgl.allow_changed_order",
		"Lets a locale be used whose order is not the one that the database remembers.",
		"To be switched on for REINDEX; queries may return wrong rows.", &qbgl_allow_changed_order,
		false, PGC_USERSET, 0, NULL, NULL, NULL);
	DefineCustomBoolVariable("qbgl.icu", "Lets locales be used that ICU serves.",
							 "Those whose names ask for it, as \"cs_CZ.utf8@icu\".", &qbgl_icu,
							 false, PGC_SUSET, 0, NULL, AssignIcu, NULL);
	DefineCustomStringVariable("qbgl.require", "Orders that this session insists on.",
							   "Pairs of a locale and its fingerprint, as in "
							   "\"cs_CZ.utf8:0123456789abcdef\", separated by commas.",
							   &qbgl_require, "", PGC_USERSET, 0, NULL, AssignRequire, NULL);
	DefineCustomStringVariable("qbgl.preload", "Locales that are loaded once for all sessions.",
							   "Names separated by commas; needs qbgl in shared_preload_libraries.",
							   &qbgl_preload, "", PGC_SIGHUP, 0, NULL, NULL, NULL);
	MarkGUCPrefixReserved("qbgl");
}

void
_PG_init(void)
{
	unsetenv("GL_PATH"); /* which the library asks the platform for */
	gl_setextfunc(NULL, GL_EXT_GETENV, (gl_extfunc) LibraryEnvironment);
	InitLocales();
	InitCollations();
	InitIndexes();
	DefineSettings();
	if (process_shared_preload_libraries_in_progress)
		PreloadLocales();
}
