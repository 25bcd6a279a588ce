/*-------------------------------------------------------------------------
 *
 * like.c
 *	  LIKE for the type qtext.
 *
 * It goes by characters: in Czech 'c%' finds "chata", which begins with a c,
 * although ch is sorted as a letter behind h.  Where fewer passes count,
 * characters are alike that those find equal.
 *
 *-------------------------------------------------------------------------
 */
#include "qtext.h"

#include "catalog/pg_collation.h"
#include "catalog/pg_type.h"
#include "mb/pg_wchar.h"
#include "miscadmin.h"
#include "nodes/makefuncs.h"
#include "nodes/nodeFuncs.h"
#include "nodes/pathnodes.h"
#include "nodes/supportnodes.h"
#include "optimizer/optimizer.h"
#include "parser/parse_func.h"
#include "utils/builtins.h"
#include "utils/fmgrprotos.h"
#include "utils/lsyscache.h"
#include "utils/selfuncs.h"
#include "utils/typcache.h"

PG_FUNCTION_INFO_V1(qtext_like);
PG_FUNCTION_INFO_V1(qtext_not_like);
PG_FUNCTION_INFO_V1(qtext_like_support);
PG_FUNCTION_INFO_V1(qtext_like_in_ranges_support);
PG_FUNCTION_INFO_V1(qtext_like_selectivity);

#define ESCAPE '\\'

/* Of the texts with the right beginning, how many are taken to match the rest of a pattern. */
#define SHARE_BEHIND_PREFIX 0.25

/* What is left of a text. */
typedef struct Rest
{
	const char *bytes;
	int length;
} Rest;

typedef enum PatternKind
{
	ANY_TEXT,
	ANY_CHARACTER,
	ITSELF
} PatternKind;

static int
CharacterLength(const Rest *rest)
{
	return Min(pg_mblen(rest->bytes), rest->length);
}

static void
Skip(Rest *rest, int length)
{
	rest->bytes += length;
	rest->length -= length;
}

/*
 * Ensure that an escape has something behind it.
 */
static void
CheckEscape(const Rest *pattern)
{
	if (pattern->length == 0)
		ereport(ERROR, (errcode(ERRCODE_INVALID_ESCAPE_SEQUENCE),
						errmsg("LIKE pattern must not end with escape character")));
}

/*
 * Takes the next element off a pattern that is not empty.
 */
static PatternKind
NextOfPattern(Rest *pattern, Rest *character)
{
	bool escaped = *pattern->bytes == ESCAPE;

	if (escaped)
	{
		Skip(pattern, 1);
		CheckEscape(pattern);
	}
	character->bytes = pattern->bytes;
	character->length = CharacterLength(pattern);
	Skip(pattern, character->length);
	if (!escaped && *character->bytes == '%')
		return ANY_TEXT;
	return !escaped && *character->bytes == '_' ? ANY_CHARACTER : ITSELF;
}

/*
 * Matches by characters that the first passes find alike.
 */
static bool
MatchByPasses(const CollationOrder *order, Rest value, Rest pattern)
{
	/*
	 * Behind the last % a mismatch goes back to, one character further on each
	 * time: what an earlier one matched need not be tried again.
	 */
	Rest behind_any = {0}, from_there = {0};
	bool any = false;

	for (;;)
	{
		if (pattern.length > 0)
		{
			Rest rest = pattern, wanted;
			PatternKind kind = NextOfPattern(&rest, &wanted);

			if (kind == ANY_TEXT)
			{
				behind_any = pattern = rest;
				from_there = value;
				any = true;
				continue;
			}
			if (value.length > 0)
			{
				int length = CharacterLength(&value);

				if (kind == ANY_CHARACTER ||
					CompareTexts(order, value.bytes, length, wanted.bytes, wanted.length) == 0)
				{
					pattern = rest;
					Skip(&value, length);
					continue;
				}
			}
		}
		else if (value.length == 0)
			return true;
		if (!any || from_there.length == 0)
			return false;
		CHECK_FOR_INTERRUPTS();
		Skip(&from_there, CharacterLength(&from_there));
		value = from_there;
		pattern = behind_any;
	}
}

/*
 * Whether the first argument of a function matches the second.
 */
static bool
MatchArguments(FunctionCallInfo fcinfo)
{
	const CollationOrder *order = OrderOfCollation(PG_GET_COLLATION());
	text *value, *pattern;
	bool result;

	/* Identical characters are what the server's own LIKE goes by. */
	if (order->passes == 0)
		return DatumGetBool(DirectFunctionCall2Coll(textlike, C_COLLATION_OID, PG_GETARG_DATUM(0),
													PG_GETARG_DATUM(1)));
	value = PG_GETARG_TEXT_PP(0);
	pattern = PG_GETARG_TEXT_PP(1);
	result = MatchByPasses(order, (Rest){VARDATA_ANY(value), VARSIZE_ANY_EXHDR(value)},
						   (Rest){VARDATA_ANY(pattern), VARSIZE_ANY_EXHDR(pattern)});
	PG_FREE_IF_COPY(value, 0);
	PG_FREE_IF_COPY(pattern, 1);
	return result;
}

Datum
qtext_like(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(MatchArguments(fcinfo));
}

Datum
qtext_not_like(PG_FUNCTION_ARGS)
{
	PG_RETURN_BOOL(!MatchArguments(fcinfo));
}

/*
 * Copies the characters that a pattern begins with.  Tells whether there are
 * no others.
 */
static bool
PatternPrefix(Rest pattern, StringInfo prefix)
{
	while (pattern.length > 0)
	{
		Rest character;

		if (NextOfPattern(&pattern, &character) != ITSELF)
			return false;
		appendBinaryStringInfo(prefix, character.bytes, character.length);
	}
	return true;
}

/* What the clauses of an index are made for. */
typedef struct ClausePlace
{
	Oid family; /* of operators */
	Oid type;
	Oid collation;
	Expr *column;
} ClausePlace;

/*
 * A clause that compares a column with a constant, or NULL where the operator
 * family has no such operator.
 */
static Expr *
MakeClause(const ClausePlace *place, int strategy, Oid type, Datum value)
{
	Oid member = get_opfamily_member(place->family, place->type, type, strategy);

	if (!OidIsValid(member))
		return NULL;
	return make_opclause(member, BOOLOID, false, place->column,
						 (Expr *) makeConst(type, -1, InvalidOid, -1, value, false, false),
						 InvalidOid, place->collation);
}

/* The ranges of keys in which all texts lie that begin with a prefix. */
typedef struct PrefixRanges
{
	int count;
	unsigned char *bounds;
	int32_t offsets[2 * GL_ORDER_RANGES + 1];
} PrefixRanges;

static void
FindRanges(const CollationOrder *order, const StringInfo prefix, PrefixRanges *ranges)
{
	LocaleText converted;
	int room = 64 + 8 * prefix->len;

	ToLocale(order->locale, prefix->data, prefix->len, &converted);
	ranges->bounds = palloc(room);
	while (
		(ranges->count = gl_order_ranges(order->locale->handle, converted.bytes, converted.length,
										 ranges->bounds, room, ranges->offsets)) == 0 &&
		ranges->offsets[0] > room)
	{
		room = ranges->offsets[0];
		ranges->bounds = repalloc(ranges->bounds, room);
	}
	FreeLocaleText(&converted);
}

/*
 * The clauses that hold what lies between two bounds.  An empty one does not
 * bound anything.
 */
static List *
RangeClauses(const ClausePlace *place, const PrefixRanges *ranges, int lower, int upper)
{
	List *clauses = NIL;

	for (int i = 0; i < 2; i++)
	{
		int bound = i == 0 ? lower : upper;
		int size = ranges->offsets[bound + 1] - ranges->offsets[bound];
		bytea *key = palloc(VARHDRSZ + size);
		Expr *clause;

		SET_VARSIZE(key, VARHDRSZ + size);
		memcpy(VARDATA(key), ranges->bounds + ranges->offsets[bound], size);
		clause =
			size == 0
				? NULL
				: MakeClause(place, i == 0 ? BTGreaterEqualStrategyNumber : BTLessStrategyNumber,
							 BYTEAOID, PointerGetDatum(key));
		if (clause)
			clauses = lappend(clauses, clause);
	}
	return clauses;
}

/* What the planner can know of a pattern. */
typedef struct PatternShape
{
	bool is_literal; /* has no wildcard */
	bool is_prefix;	 /* has none but a % at its end */
	StringInfoData prefix;
	PrefixRanges ranges; /* of a prefix that is not empty; otherwise of a count of 0 */
} PatternShape;

/*
 * Looks at a pattern.  False where its beginning says nothing about the order.
 */
static bool
ReadPattern(Oid collation, const Const *pattern, PatternShape *shape)
{
	const CollationOrder *order = OrderOfCollation(collation);
	text *value = DatumGetTextPP(pattern->constvalue);

	/* Texts that fewer passes find alike need not begin with the same bytes. */
	if (order->passes != 0)
		return false;
	initStringInfo(&shape->prefix);
	shape->ranges.count = 0;
	shape->is_literal =
		PatternPrefix((Rest){VARDATA_ANY(value), VARSIZE_ANY_EXHDR(value)}, &shape->prefix);
	/* "ab%" is all in its prefix. */
	shape->is_prefix = VARSIZE_ANY_EXHDR(value) == shape->prefix.len + 1;
	if (!shape->is_literal && shape->prefix.len > 0)
		FindRanges(order, &shape->prefix, &shape->ranges);
	return shape->is_literal || shape->ranges.count > 0;
}

/*
 * The clauses that a LIKE stands for, or NIL.  Of several ranges it is from
 * the first one's beginning to the last one's end: what lies between is looked
 * at and left out.
 */
static List *
LikeClauses(const ClausePlace *place, const PatternShape *shape)
{
	Expr *clause;

	if (!shape->is_literal)
		return RangeClauses(place, &shape->ranges, 0, 2 * shape->ranges.count - 1);
	clause = MakeClause(
		place, BTEqualStrategyNumber, TEXTOID,
		PointerGetDatum(cstring_to_text_with_len(shape->prefix.data, shape->prefix.len)));
	return clause ? list_make1(clause) : NIL;
}

static bool
IsConstant(Node *node)
{
	return IsA(node, Const) && !((Const *) node)->constisnull;
}

/*
 * Takes a LIKE apart, an operator or a call.  False for any other node.
 */
static bool
SplitLike(Node *node, Expr **column, Node **pattern, Oid *collation)
{
	List *arguments;

	if (IsA(node, OpExpr))
	{
		arguments = ((OpExpr *) node)->args;
		*collation = ((OpExpr *) node)->inputcollid;
	}
	else if (IsA(node, FuncExpr))
	{
		arguments = ((FuncExpr *) node)->args;
		*collation = ((FuncExpr *) node)->inputcollid;
	}
	else
		return false;
	*column = linitial(arguments);
	*pattern = lsecond(arguments);
	return true;
}

/*
 * What LIKE comes to in an index.
 */
static List *
IndexCondition(SupportRequestIndexCondition *request)
{
	ClausePlace place = {.family = request->opfamily};
	PatternShape shape;
	Node *pattern;

	if (request->indexarg != 0 ||
		!SplitLike(request->node, &place.column, &pattern, &place.collation) ||
		request->index->indexcollations[request->indexcol] != place.collation ||
		!IsConstant(pattern) || !ReadPattern(place.collation, (Const *) pattern, &shape))
		return NIL;
	place.type = request->index->opcintype[request->indexcol];
	request->lossy = true;
	return LikeClauses(&place, &shape);
}

/*
 * What stands for the family of operators that order a type.
 */
static Oid
FamilyOf(Oid type)
{
	return lookup_type_cache(type, TYPECACHE_BTREE_OPFAMILY)->btree_opf;
}

/*
 * A LIKE whose prefix has several ranges, with the ranges beside it: an index
 * condition has no form for more than one, and a bitmap of the index has.  In
 * Czech that are the texts of c before d, and those of ch before i.
 */
static Node *
WithRanges(const FuncExpr *call)
{
	ClausePlace place = {.column = linitial(call->args), .collation = call->inputcollid};
	Node *pattern = lsecond(call->args);
	PatternShape shape;
	Oid types[2] = {exprType(linitial(call->args)), TEXTOID};
	Oid function;
	List *ranges = NIL;

	if (!IsA(place.column, Var) || !IsConstant(pattern) ||
		!ReadPattern(place.collation, (Const *) pattern, &shape) || shape.ranges.count < 2)
		return NULL;
	place.type = types[0];
	place.family = FamilyOf(place.type);
	function = LookupFuncName(
		list_make2(makeString(QBGL_SCHEMA), makeString("qtext_like_in_ranges")), 2, types, true);
	if (!OidIsValid(function))
		return NULL;
	for (int i = 0; i < shape.ranges.count; i++)
		ranges = lappend(ranges,
						 make_ands_explicit(RangeClauses(&place, &shape.ranges, 2 * i, 2 * i + 1)));
	return (Node *) make_andclause(
		list_make2(makeFuncExpr(function, BOOLOID, call->args, InvalidOid, call->inputcollid,
								COERCE_EXPLICIT_CALL),
				   make_orclause(ranges)));
}

/*
 * The planner's questions about LIKE.
 */
Datum
qtext_like_support(PG_FUNCTION_ARGS)
{
	Node *request = (Node *) PG_GETARG_POINTER(0);

	if (IsA(request, SupportRequestIndexCondition))
		PG_RETURN_POINTER(IndexCondition((SupportRequestIndexCondition *) request));
	if (IsA(request, SupportRequestSimplify))
		PG_RETURN_POINTER(WithRanges(((SupportRequestSimplify *) request)->fcall));
	PG_RETURN_POINTER(NULL);
}

/*
 * The planner's questions about a LIKE that has its ranges beside it: they
 * tell how many rows there are.
 */
Datum
qtext_like_in_ranges_support(PG_FUNCTION_ARGS)
{
	Node *request = (Node *) PG_GETARG_POINTER(0);

	if (!IsA(request, SupportRequestSelectivity))
		PG_RETURN_POINTER(NULL);
	((SupportRequestSelectivity *) request)->selectivity = 1.0;
	PG_RETURN_POINTER(request);
}

/*
 * The planner's question how many rows a LIKE leaves: as many as the clauses
 * that it stands for, by what ANALYZE has found.
 */
Datum
qtext_like_selectivity(PG_FUNCTION_ARGS)
{
	PlannerInfo *root = (PlannerInfo *) PG_GETARG_POINTER(0);
	List *arguments = (List *) PG_GETARG_POINTER(2);
	int relation = PG_GETARG_INT32(3);
	ClausePlace place = {.column = linitial(arguments), .collation = PG_GET_COLLATION()};
	Node *pattern = estimate_expression_value(root, lsecond(arguments));
	PatternShape shape;
	List *clauses = NIL;

	if (IsA(pattern, Const) && ((Const *) pattern)->constisnull)
		PG_RETURN_FLOAT8(0.0);
	place.type = exprType((Node *) place.column);
	place.family = FamilyOf(place.type);
	if (IsConstant(pattern) && ReadPattern(place.collation, (Const *) pattern, &shape))
		clauses = LikeClauses(&place, &shape);
	if (clauses == NIL)
		PG_RETURN_FLOAT8(DEFAULT_MATCH_SEL);
	PG_RETURN_FLOAT8(clauselist_selectivity(root, clauses, relation, JOIN_INNER, NULL) *
					 (shape.is_literal || shape.is_prefix ? 1.0 : SHARE_BEHIND_PREFIX));
}
