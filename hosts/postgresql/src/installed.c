/*-------------------------------------------------------------------------
 *
 * installed.c
 *	  Which locales and codesets there are.
 *
 *-------------------------------------------------------------------------
 */
#include "qbgl_pg.h"

#include "fmgr.h"
#include "funcapi.h"
#include "utils/builtins.h"

#define MAX_NAME 64

/*
 * Ensure that the library could make its list.
 */
static void
CheckCount(int count)
{
	if (count < 0)
		ereport(ERROR, (errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory"),
						errdetail("Failed while listing \"%s\".", qbgl_directory)));
}

/*
 * Return one of the library's lists as a set of texts.
 */
static Datum
ReturnNames(FunctionCallInfo fcinfo, int (*count)(void *), int (*name)(void *, int, char *, int))
{
	ReturnSetInfo *set;
	char text[MAX_NAME];
	int found;
	int i;

	InitMaterializedSRF(fcinfo, MAT_SRF_USE_EXPECTED_DESC);
	set = (ReturnSetInfo *) fcinfo->resultinfo;
	found = count(NULL);
	CheckCount(found);
	for (i = 0; i < found; ++i)
	{
		if (name(NULL, i, text, sizeof(text)) > 0)
		{
			Datum value = CStringGetTextDatum(text);
			bool is_null = false;

			tuplestore_putvalues(set->setResult, set->setDesc, &value, &is_null);
		}
	}
	return (Datum) 0;
}

/*
 * locales() returns setof text
 */
PG_FUNCTION_INFO_V1(qbgl_locales);
Datum
qbgl_locales(PG_FUNCTION_ARGS)
{
	return ReturnNames(fcinfo, gl_locale_count, gl_locale_name);
}

/*
 * codesets() returns setof text
 */
PG_FUNCTION_INFO_V1(qbgl_codesets);
Datum
qbgl_codesets(PG_FUNCTION_ARGS)
{
	return ReturnNames(fcinfo, gl_codeset_count, gl_codeset_name);
}
