/* qbgl.h: locales, character sets and codeset conversion without the host system's locale support.
 *
 * Link with -lqbgl (pkg-config: qbgl). The library needs libc and nothing else, starts no threads, takes no locks but the one under
 * which the extension library is loaded, and has no initialisation call. The header is C99 and C++.
 *
 * How to read it
 *   1. Version, errors, shared types
 *   2. Codeset conversion                        <- read this far and convert text
 *   3. The locale handle: loading, selecting, what it tells
 *   4. Multibyte and wide characters
 *   5. Classes and case
 *   6. Collation and sort keys                   <- read this far and order text
 *   7. Stepping, lengths and width
 *   8. Characters and lines on streams
 *   9. Numbers
 *  10. Calendars
 *  11. Words by the text they begin
 *  12. Charmaps: characters and their symbolic names
 *  13. Codeset names and numbers
 *  14. Locale specifications and file names
 *  15. Where the data files are, and which there are
 *  16. Replacing memory, file, clock and error functions
 *  17. Messages, memory, object-file tokens, lists
 *  18. The byte-sequence table
 *  19. The Unicode extension library
 *  20. The handle's records, parts of loading, the inline functions
 *  21. An order for indexes                       <- read this and build an index over any bytes
 *  22. Dates and times as text
 *  23. Amounts of money as text
 *  24. Strings
 *  25. What a locale tells by item
 *  26. Printing and scanning
 *
 * Conventions that hold for every function
 *   - Errors. The first argument `ctx` (a gl_locale, or any record whose first field is an int32_t error number, such as gl_cv)
 *     receives the number of a failure; gl_errno(ctx) reads it, whatever the record. A success leaves an older number alone: look
 *     at the result first, and where a result can be good or bad, gl_clear_errno(ctx) before the call. Where a null context is
 *     allowed, the function says so; the failure is then told by the result alone.
 *   - Text. `char *` text is a sequence of bytes in some codeset and ends with a NUL byte, unless a length is given with it.
 *     Lengths and sizes are bytes. Wide text is gl_wchar values at addresses that are multiples of 4, ended by a 0.
 *   - Names. `mbs` is multibyte text, `wcs` wide text, both with a terminator; `fs` (mbfs, wcfs) takes explicit lengths, and NUL is
 *     then a character like any other. Where a length may be -1, that means "up to the terminator". gl_full_, _gl_im_ (multibyte)
 *     and _gl_is_ (single-byte) are the versions that the plain names choose from: call the plain ones.
 *   - Ownership. The caller keeps what it passes in; nothing is retained after a call returns, unless stated. A record handed
 *     out is released by the one function named with it.
 *   - Threads. A complete locale handle, an open conversion and a loaded charmap may be used by any number of threads at once:
 *     calls write nothing into them but the error number of a failure. A host whose threads share them puts its own errno
 *     function into slot 1 (section 16), which gives each thread a number of its own. Whatever changes a record (selecting,
 *     copying, releasing) needs it alone. The process-wide settings (sections 13, 15, 16, 17 and 19) are made before threads
 *     share the library.
 */
#ifndef QBGL_H
#define QBGL_H

#include <stdarg.h> /* va_list */
#include <stdint.h> /* int32_t and its relatives */
#include <stdio.h>  /* FILE */

#if defined(__GNUC__)
#define QBGL_API __attribute__((visibility("default")))
#else
#define QBGL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------------------------------------
 * 1. Version, errors, shared types
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The version of this header; gl_version tells that of the library in the process. What a version promises about hosts that were
 * built with another one stands in docs/abi.md. */
#define QBGL_VERSION_MAJOR 1
#define QBGL_VERSION_MINOR 2
#define QBGL_VERSION_PATCH 0
#define QBGL_VERSION (QBGL_VERSION_MAJOR * 10000 + QBGL_VERSION_MINOR * 100 + QBGL_VERSION_PATCH)

/* The version of the library: as QBGL_VERSION has it, and as text ("1.1.0"). */
QBGL_API int gl_version(void);
QBGL_API const char *gl_version_text(void);

/* Error numbers. They are stored and exchanged, so a number never changes its meaning. */
enum gl_error {
    GL_EILSEQ = 1,      /* invalid or unmappable byte sequence, or a value that cannot be encoded */
    GL_ENULLPTR = 2,    /* null string pointer */
    GL_ENOMEM = 3,      /* out of memory */
    GL_ENEGCOUNT = 4,   /* negative count */
    GL_EENDBEFORE = 5,  /* end pointer before start pointer */
    GL_ERANGE = 6,      /* empty multibyte number, or value out of range */
    GL_EINVAL = 7,      /* malformed specification, unknown codeset, text too long, character running past the given length */
    GL_ENOFILE = 8,     /* file not found or unreadable, or a name of bad length */
    GL_EBADARG = 9,     /* bad slot, category or index, or a negative length other than -1 */
    GL_EBADFILE = 11,   /* malformed object file or registry */
    GL_EMIXEDCS = 12,   /* the categories of a locale are in different codesets */
    GL_EIO = 13,        /* a stream reported an error, or a write failed */
    GL_E2BIG = 14,      /* output buffer too small */
    GL_ENODATA = 15,    /* required data file not found */
    GL_EEOF = 16,       /* end of input */
    GL_EREAD = 17,      /* a read failed without an end-of-file or error indication */
    GL_ENOCAT = 18,     /* the copy source lacks the category */
    GL_EHASCAT = 19,    /* the copy target already holds the category */
    GL_ETABLELEN = 21,  /* a byte-sequence table declares sequences longer than allowed */
    GL_ENOCONV = 46,    /* a real-number conversion consumed nothing */
    GL_EBADERA = 49,    /* malformed era string */
    GL_EBADCAL = 50,    /* unknown calendar name */
    GL_EVERSION = 51,   /* object file built by another compiler version */
    GL_ENOSYM = 53,     /* character without a symbolic name */
    GL_ELOADCAT = 55,   /* a category failed to load without a more specific error */
    GL_EMIXEDLEN = 56,  /* one length argument is -1 and the other is not */
    GL_ENOCODESET = 57, /* a category is set up on a locale whose codeset table declares no character length */
    GL_ECTYPECS = 58    /* a category read alone is in a codeset other than that of LC_CTYPE */
};

/* The number of the last failure in a context, 0 for none: of a gl_locale, gl_cv or gl_charmap, the canned ones that a failed
 * creation hands out included, and wherever the host's errno function (slot 1) keeps it. A null context is asked of that function;
 * without one it has 0. */
QBGL_API int gl_errno(void *ctx);

/* Sets the number to 0. A canned record keeps its own; a null context is fine. */
QBGL_API void gl_clear_errno(void *ctx);

/* What a number means, in one line of English without a full stop: "no error" for 0, "unknown error" for one that is none of
 * gl_error. Never null, constant, not to be freed. */
QBGL_API const char *gl_strerror(int number);

/* Category numbers; per-category arrays of the handle are indexed by them. */
enum gl_category {
    GL_CAT_ALL = 1,
    GL_CAT_CTYPE = 2,
    GL_CAT_COLLATE = 3,
    GL_CAT_NUMERIC = 4,
    GL_CAT_MONETARY = 5,
    GL_CAT_TIME = 6,
    GL_CAT_MESSAGES = 7
};

/* Class masks, 16 bits a character. A class that a locale defines itself has the mask 2048 shifted left by the class's bit. */
enum gl_class {
    GL_CLASS_UPPER = 1,
    GL_CLASS_LOWER = 2,
    GL_CLASS_ALPHA = 4,
    GL_CLASS_DIGIT = 8,
    GL_CLASS_ALNUM = 12,
    GL_CLASS_SPACE = 16,
    GL_CLASS_CNTRL = 32,
    GL_CLASS_PUNCT = 64,
    GL_CLASS_GRAPH = 128,
    GL_CLASS_PRINT = 256,
    GL_CLASS_XDIGIT = 512,
    GL_CLASS_BLANK = 1024
};

/* The codeset number that stands for "no such codeset". Numbers below it are CCSID numbers, numbers above it are private. */
#define GL_NO_CODESET 0xE000

/* A wide character: the character's byte sequence read as a big-endian number (one to four bytes), 0 for the NUL character. Under
 * a locale that the extension library serves it is a Unicode scalar value. */
typedef uint32_t gl_wchar;

/* A byte descriptor: the first `count` of `bytes` are a big-endian byte sequence. */
typedef struct gl_desc {
    uint32_t count; /* 1 to 4 */
    uint8_t bytes[4];
} gl_desc;

typedef struct gl_multi gl_multi;     /* a byte-sequence table, section 18 */
typedef struct gl_locale gl_locale;   /* a locale handle, section 3 */
typedef struct gl_cv gl_cv;           /* an open codeset conversion, section 2 */
typedef struct gl_charmap gl_charmap; /* a loaded charmap, section 12; begins with an int32_t error number */

/* ------------------------------------------------------------------------------------------------------------------------------
 * 2. Codeset conversion
 *
 *     gl_cv *cd;
 *     int subst, inleft = ..., outleft = ...;
 *     if (gl_cv_load(&cd, "utf8", "sjis", NULL, NULL) < 0) fail(gl_strerror(gl_errno(cd)));
 *     if (cd == NULL) { ... same codeset, nothing to convert ... }
 *     gl_clear_errno(cd);
 *     if (gl_miconv(cd, &in, &inleft, &out, &outleft, &subst) < 0) ... gl_errno(cd), and `in` is on the culprit ...
 *     gl_cv_unload(cd);
 *
 * The buffer contract of every conversion call
 *   - Input is consumed character by character; output is never cut inside a character. On return, pointers and counts stand behind
 *     the last character that was converted, whether the call succeeded or not: to go on, mend the cause and call again.
 *   - The output room is the library's until the call returns: bytes behind the advanced output pointer may be overwritten, never
 *     beyond the room. Input and output must not overlap.
 *   - GL_E2BIG: the next character does not fit; empty or enlarge the output and call again with the same state.
 *   - GL_EILSEQ: the target codeset cannot express the character at `*in`. In a single-byte source codeset every byte counts as
 *     a character: one that is none is told like this, too. gl_cm_mblen (section 12) with a charmap of the source knows which of
 *     the two it is: -1 for such a byte.
 *   - A result of -1 that leaves the error number as it was: the bytes at `*in` are no character of the source codeset, or the
 *     input ends inside a character. gl_clear_errno before the call tells this from the others. When fewer bytes remain than
 *     the longest character of the source has, the missing ones may be still to come.
 *   - `subst` is set to 1 when at least one character of this call had an approximate mapping only, otherwise to 0.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The shift states of a stateful conversion, owned by the caller and carried from one call to the next. Set all fields to 0 before
 * the first call. Conversions between stateless codesets ignore it. A flush takes effect behind the last character of its call: a
 * call without input writes nothing, so keep some of the text for the last one. */
typedef struct gl_cv_state {
    int32_t reset;        /* nonzero: both sides start each call in their initial state */
    int32_t flush;        /* nonzero: the input of this call is the last; the target returns to its initial state behind it */
    int32_t source_shift; /* 0 initial, 1 shifted */
    int32_t target_shift;
} gl_cv_state;

typedef int (*gl_cv_function)(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);

/* An open conversion: a record of the library's; hosts go through the functions, and gl_errno. Threads may share one as the
 * conventions at the head tell, each with a state of its own; one that the extension library serves is for one thread at a time. */
struct gl_cv {
    int32_t error;              /* number of the last failure, 0 for none */
    uint8_t *single_byte_table; /* 256 target bytes indexed by source byte, or null */
    int32_t source_stateful, target_stateful;
    int32_t sequence_length[4];             /* bytes used of each of `sequence`, 0 to 4 */
    int32_t target_min_len, target_max_len; /* bytes an output character */
    int32_t further[2];                     /* kept for the object file's sake */
    int32_t source_min_len, source_max_len; /* bytes an input character */
    int32_t single_byte_table_flag;         /* 0: the loader builds single_byte_table where the conversion allows it */
    float expansion;                        /* output bytes an input byte, at most */
    uint8_t sequence[4][4];                 /* [0] enters the target's shifted state, [1] leaves it; [2] and [3] are unused */
    gl_multi *main_table;
    gl_multi *shifted_table; /* the source's shifted state, or null */
    int32_t conversion_state;
    gl_cv_function convert;
    void *glu_handle; /* the extension library's converter */
    int32_t glu_flag; /* 1: the extension library converts */
    void *lane;       /* lookup arrays derived from main_table while loading, or null */
    /* What is read or written by algorithm, as src/unicode/form.h numbers the forms; 0: nothing, the tables have all. That is a
     * side as a whole, which is a form of Unicode: such a source has its records in main_table by their UTF-8, and the table is
     * empty where the target is one, too. Or it is what the tables do not list. */
    int32_t source_form, target_form;
    gl_multi *unlisted_table; /* by their UTF-8, the records of what the source has by algorithm beside its tables; null: none */
    uint32_t glu_load;        /* the load of the extension library that gave glu_handle */
};

/* Canned descriptors, handed out by an open that failed before it had a record: read with gl_errno, never freed or changed
 * (gl_cv_unload accepts them and does nothing). Their errors are GL_ENOMEM, GL_ENOFILE and GL_EINVAL. */
extern QBGL_API const gl_cv cd_enomem, cd_fileerr, cd_einval;

/* Opens the conversion from one codeset to another, by codeset number. In this order it is
 *   - the object SSSSTTTT.cvo, the numbers in hexadecimal, where there is one;
 *   - an algorithm, between the forms of Unicode: utf8, utf-16le, utf-16be, ucs4 (utf-32le), utf-32be, and from unicode (two-byte
 *     units) to these;
 *   - composed of the two conversions through utf8, each of which may be an object or an algorithm.
 *   cd             receives the descriptor; release it with gl_cv_unload, also after a failure
 *   target_spec,   a codeset name ("sjis", "819") or a locale specification ("ja_jp.sjis")
 *   source_spec
 *   registry_path  registry file for the names, or null: the cached registry, or the one of the installation directory
 *   directory      directory of the conversion object, or null: searched as section 15 tells, in "cv9"
 * Returns 1 when a conversion was loaded, 0 when both name one codeset (*cd is null then), -1 on failure: *cd is never null and its
 * error is GL_EINVAL (unknown codeset), GL_ENOFILE (not found, not a conversion object, or of another version), GL_EBADFILE
 * (damaged parameters, a file cut short, or a conversion that would run on over the terminator), GL_ETABLELEN (a table with keys
 * too long), or GL_ENOMEM (memory is out, or a table is damaged). */
QBGL_API int gl_cv_load(gl_cv **cd, const char *target_spec, const char *source_spec, const char *registry_path,
                        const char *directory);

/* Opens by codeset names: what follows the first "." of each specification, up to a space or "@", names the file
 * SOURCE_TARGET.cvo, searched in "cv9"; where there is none, as gl_cv_load by the numbers of the names. Results as gl_cv_load; a
 * specification without a "." is GL_ENOFILE. */
QBGL_API int gl_cv_open(gl_cv **cd, const char *target_spec, const char *source_spec);

/* The same by two bare codeset names. Returns 0, or -1 with *cd as for gl_cv_load; two equal names are a failure here
 * (cd_fileerr). */
QBGL_API int gl_iconv_open(gl_cv **cd, const char *target_cs_name, const char *source_cs_name);

/* Opens a conversion object by its file name, searched in "cv9" (a name that begins with "/" is opened as it is). Returns 0, or -1
 * with *cd as for gl_cv_load; a null name is GL_ENOFILE. */
QBGL_API int gl_iconv_open1(gl_cv **cd, const char *file_name);

/* Releases a descriptor. Returns 0 (a canned one included), -1 for null. */
QBGL_API int gl_cv_unload(gl_cv *cd);

/* The largest ratio of output bytes to input bytes. */
QBGL_API double gl_iconv_expansion(gl_cv *cd);

/* The output size that always suffices for `input_length` bytes of input, but for the terminator and closing shift sequence: the
 * expansion factor, rounded up to a whole number, times the length. */
QBGL_API int gl_cv_outbuflen(gl_cv *cd, int input_length);

/* Converts text.
 *   state    shift states of a stateful conversion; null: both sides start and end in their initial state
 *   in       address of the input pointer, advanced
 *   inleft   address of the number of input bytes, decreased; null: the input ends with the source codeset's terminator, which is
 *            converted too
 *   out      address of the output pointer, advanced; null: nothing is written, the output is only measured
 *   outleft  address of the number of output bytes that are free, decreased
 *   subst    address of the substitution flag
 * Returns 0, or -1 as the buffer contract above tells. A conversion to 4-byte little-endian units asks for 2 bytes of room only
 * before it writes 4: size its output with gl_cv_outbuflen. */
QBGL_API int gl_cv_mconv(gl_cv *cd, gl_cv_state *state, const char **in, int *inleft, char **out, int *outleft, int *subst);

/* gl_cv_mconv without a state. */
QBGL_API int gl_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);

/* gl_cv_mconv without an output: *outleft decreases by the bytes that the conversion would write. */
QBGL_API int gl_mconvlen(gl_cv *cd, gl_cv_state *state, const char **in, int *inleft, int *outleft, int *subst);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 3. The locale handle: loading, selecting, what it tells
 *
 *     gl_locale *loc;
 *     if (gl_lc_load(&loc, "ja_JP.sjis", NULL, NULL) < 0) fail(gl_strerror(gl_errno(loc)));
 *     ...
 *     gl_lc_unload(loc);
 *
 * A handle holds the records of six categories and, chosen once from its codeset, the functions that compare, transform and convert
 * text under it. It is built by one thread and may then be shared by any number, as the conventions at the head tell.
 *
 * A category's name is the name of its object file ("ja_jp/e006.lco", "default.lco"), at most 32 characters, or "native", which is
 * the default object. Objects are searched as section 15 tells, in "lc11" and "lc", or in a directory that the call names.
 *
 * A handle is never null after a creating call. When there was no memory or no default object, it is one of the canned handles,
 * which serve gl_errno and nothing else and are never freed or changed (gl_lc_unload accepts them and does nothing). Any other
 * handle that failed keeps what it has loaded so far: calls that need more of it fail. Unload it.
 * ------------------------------------------------------------------------------------------------------------------------------ */
extern QBGL_API const gl_locale loc_nomem, loc_filer; /* GL_ENOMEM, GL_ENOFILE */

/* Creates a handle without any locale data. Returns 0, or -1 with *out = loc_nomem. Its functions serve once a locale is loaded. */
QBGL_API int gl_create_null_locale_4(gl_locale **out);

/* Creates a handle from the default object, "default.lco". The second form looks in `directory`, which ends in "/", first. Returns
 * 0, or -1: *out is a canned handle, or carries GL_EBADFILE, GL_EVERSION, GL_ENOMEM, a category's own error, or GL_ELOADCAT where a
 * category has none. A directory of more than 116 characters is GL_ENOFILE, and the error's context is then `out` itself: with the
 * default errno function the number stands in *out, which is no handle, so check the length before. */
QBGL_API int gl_createlocale_4(gl_locale **out);
QBGL_API int gl_createlocale2_4(gl_locale **out, const char *directory);

/* Creates a handle and loads all categories.
 *   spec           a locale specification of section 14, or what gl_setlocale_4 takes
 *   registry_path  registry file for the codeset's name; null: the cached registry, or the installation's
 *   directory      where the objects are; null: searched
 * Returns 0, or -1 with the handle's error: GL_ENOFILE (an object not found, a name of bad length), GL_EVERSION or GL_EBADFILE (not
 * an object of this library, damaged), GL_EMIXEDCS, GL_ECTYPECS, GL_ENOMEM, a category's own error or else GL_ELOADCAT. */
QBGL_API int gl_lc_load(gl_locale **out, const char *spec, const char *registry_path, const char *directory);

/* Selects one category, or all (GL_CAT_ALL).
 *   spec  a name; or "GL_CTYPE = NAME GL_TIME = NAME ...", of which each category takes its own name; "" takes GL_ALL, the
 *         category's own variable (GL_CTYPE, GL_COLLATE, GL_NUMERIC, GL_MONETARY, GL_TIME, GL_MESSAGES) or GL_LANG from the
 *         environment, the first that is set and not empty, and "default.lco" when none is; null only asks
 * Returns the names in force, to be freed with gl_destroystring: one category's name, or a list of all six, each followed by " ; ";
 * or null with the error: those of gl_lc_load, GL_EBADARG (no such category, more than 311 characters), GL_ELOADCAT. Where no
 * object is found, the category stays as it was; one that fails to load is empty then. What was loaded before it stays loaded:
 * there is no way back but to select the old names again. The categories must share LC_CTYPE's codeset, LC_MESSAGES excepted:
 * selecting LC_CTYPE alone in another codeset returns its name with GL_EMIXEDCS set, until the others follow. */
QBGL_API char *gl_setlocale_4(gl_locale *locale, int category, const char *spec);

/* Lets `target` share one category of `source`, or all of them. Returns 0, or -1: GL_ENOCAT (the source lacks a category),
 * GL_EHASCAT (the target has it already), GL_EMIXEDCS, GL_ENOMEM. The target is freed with gl_free_nonshared_loc, before the
 * source. What is later selected over a shared category is the target's own.
 * The way to a handle for each session or thread: load one, then gl_create_null_locale_4 and a copy of GL_CAT_ALL for each, which
 * takes some microseconds and kilobytes where loading takes milliseconds. No file is read. */
QBGL_API int gl_copy_cat(gl_locale *target, gl_locale *source, int category);

/* Frees a handle with all that it loaded; the second form frees a target of gl_copy_cat with what it does not share. Null is
 * fine. */
QBGL_API void gl_lc_unload(gl_locale *locale);
QBGL_API void gl_free_nonshared_loc(gl_locale *locale);

/* Puts one category back into its empty state without freeing what it held; frees what one category holds. Functions that need the
 * category, LC_CTYPE above all, are not to be called until it is loaded again. */
QBGL_API void gl_make_null_category(gl_locale *locale, int category);
QBGL_API void gl_free_category(gl_locale *locale, int category);

/* The numeric and monetary conventions, named as in the standard's struct lconv, with the wide forms beside them. A text that a
 * locale has not got is empty. Null are the groupings when digits are not grouped, texts of more than 255 characters, and
 * everything of a category that is not loaded. A layout number of 127 is not available. */
typedef struct gl_lconv {
    char *decimal_point;
    gl_wchar *w_decimal_point;
    char *thousands_sep;
    gl_wchar *w_thousands_sep;
    char *grouping;
    char *int_curr_symbol;
    gl_wchar *w_int_curr_symbol;
    char *currency_symbol;
    gl_wchar *w_currency_symbol;
    char *mon_decimal_point;
    gl_wchar *w_mon_decimal_point;
    char *mon_thousands_sep;
    gl_wchar *w_mon_thousands_sep;
    char *mon_grouping;
    char *positive_sign;
    gl_wchar *w_positive_sign;
    char *negative_sign;
    gl_wchar *w_negative_sign;
    char *num_positive_sign;
    gl_wchar *w_num_positive_sign;
    char *num_negative_sign;
    gl_wchar *w_num_negative_sign;
    signed char int_frac_digits, frac_digits, p_cs_precedes, p_sep_by_space, n_cs_precedes, n_sep_by_space, p_sign_posn,
        n_sign_posn;
} gl_lconv;

/* The handle's own record: valid until a category is selected or the handle is freed. */
QBGL_API const gl_lconv *gl_localeconv(gl_locale *locale);

/* What tells the order of a handle from any other: 16 hexadecimal digits over everything that decides comparisons and sort keys,
 * the version of the key form included. Handles of equal fingerprints order the same texts alike and give them the same keys, on
 * every machine; a host that stores keys or builds indexes keeps the digits with them, and rebuilds when they differ. They are
 * those of the object that LC_COLLATE came from (what `qbgl locale` shows as order_fingerprint), or for an object that has none
 * made from its rules. A handle that orders by code values has a fingerprint as well; one without LC_COLLATE yet has zeros. Where
 * the extension library orders, they are made from what it says of its order; null, with GL_ENODATA, where it says nothing. The
 * handle's own text: valid until LC_COLLATE is selected or the handle is freed. */
QBGL_API const char *gl_order_fingerprint(gl_locale *locale);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 4. Multibyte and wide characters
 *
 * `n` is the room in the output: wide characters, or bytes. `len` is the length of the input: bytes, or wide characters; -1 means
 * that it ends with its terminator. Failures are -1 with GL_EILSEQ (bytes that are no character, or a value that is none) or
 * GL_EINVAL (a character that runs past its given length, or a length below 1); what was written before one stays. A terminator is
 * the NUL character: one zero byte, or as many as the codeset's shortest character has.
 *
 * A locale that the extension library serves forwards each call to it.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* One character: the bytes it has, 0 for the NUL character or a null s. At most n bytes are read; the third form also takes n = -1
 * for text with a terminator, where empty text is GL_EINVAL, and pwc is not null. */
static inline int gl_mbtowc(gl_locale *locale, gl_wchar *pwc, const char *s, int n);
QBGL_API int gl_full_mbtowc(gl_locale *locale, gl_wchar *pwc, const char *s, int n);
QBGL_API int _qbx_gl_full_mbtowc(gl_locale *locale, gl_wchar *pwc, const char *s, int n);
/* One wide character: the bytes written, 1 to 4. After a failure some bytes may have been written. */
static inline int gl_wctomb(gl_locale *locale, char *s, gl_wchar wc);
QBGL_API int gl_full_wctomb(gl_locale *locale, char *s, gl_wchar wc);

/* Text to wide characters; `is` for single-byte codesets, where nothing can fail, `im` for the others. Terminated text: the number
 * of characters before the terminator, which is stored but not counted; n when there was no room for it. Text with a length:
 * single-byte, the number stored; otherwise that number when the input ended first, n + 1 when the room did, 1 without storing
 * anything when n is below 1. With a length of 0 one character is read all the same. */
static inline int gl_mbstowcs(gl_locale *locale, gl_wchar *dst, const char *src, int n);
static inline int gl_mbfstowcfs(gl_locale *locale, gl_wchar *dst, const char *src, int len, int n);
QBGL_API int _gl_is_mbstowcs(gl_locale *locale, gl_wchar *dst, const char *src, int n);
QBGL_API int _gl_im_mbstowcs(gl_locale *locale, gl_wchar *dst, const char *src, int n);
QBGL_API int _qbx_gl_is_mbfstowcfs(gl_locale *locale, gl_wchar *dst, const char *src, int len, int n);
QBGL_API int _qbx_gl_im_mbfstowcfs(gl_locale *locale, gl_wchar *dst, const char *src, int len, int n);

/* Wide characters to text: the bytes written, without the terminator. A character that does not fit ends the call quietly, and no
 * terminator is written then. `is` refuses values above 255; `full` serves every codeset, and in a single-byte one stores the low
 * byte. With a length of 0 one value is taken all the same. */
QBGL_API int _gl_is_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int n);
QBGL_API int _qbx_gl_is_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int len, int n);
QBGL_API int gl_full_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int n);
QBGL_API int _qbx_gl_full_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int len, int n);

/* Lengths of characters: bytes. The first two give 0 for the NUL character and a null s; the third has no such rule for NUL.
 * gl_wclen asks what a value would need, 1 in any single-byte codeset. */
static inline int gl_mblen(gl_locale *locale, const char *s, int n);
QBGL_API int gl_full_mblen(gl_locale *locale, const char *s, int n);
QBGL_API int _qbx_gl_full_mblen(gl_locale *locale, const char *s, int n);
QBGL_API int gl_wclen(gl_locale *locale, gl_wchar wc);

/* Lengths of texts. gl_wcslen and _gl_im_mbslen count the characters before the terminator; _qbx_gl_im_mbfslen those in `len`
 * bytes, NUL characters included, and reads up to 4 bytes from where the last one begins; gl_wcsbytes and gl_mbsbytes give the
 * bytes with the terminator, gl_mbsbytes 0 for a null s or a bad sequence. */
QBGL_API int gl_wcslen(const gl_wchar *ws);
QBGL_API int gl_wcsbytes(const gl_wchar *ws);
QBGL_API int _gl_im_mbslen(gl_locale *locale, const char *s);
QBGL_API int _qbx_gl_im_mbfslen(gl_locale *locale, const char *s, int len);
QBGL_API int gl_mbsbytes(gl_locale *locale, const char *s);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 5. Classes and case
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The mask of a class by name: the twelve standard names of POSIX, then the locale's own; 0 for an unknown one. */
QBGL_API unsigned gl_ctype(gl_locale *locale, const char *class_name);
/* The character's mask and `mask`: nonzero when it is in one of the classes. Bytes that are no character are in none; the last
 * form reads at most `len` bytes. */
static inline unsigned gl_iswctype(gl_locale *locale, gl_wchar wc, unsigned mask);
QBGL_API unsigned _gl_im_iswctype(gl_locale *locale, gl_wchar wc, unsigned mask);
QBGL_API unsigned _gl_im_ismctype(gl_locale *locale, const char *s, unsigned mask);
QBGL_API unsigned _qbx_gl_im_ismctype(gl_locale *locale, const char *s, int len, unsigned mask);

/* The same by the name of the class. */
static inline unsigned gl_iswalpha(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswupper(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswlower(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswdigit(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswspace(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswcntrl(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswpunct(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswgraph(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswprint(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswxdigit(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswblank(gl_locale *locale, gl_wchar wc);
static inline unsigned gl_iswalnum(gl_locale *locale, gl_wchar wc);

/* The character in the other case, or itself. No error is set. */
static inline gl_wchar gl_towupper(gl_locale *locale, gl_wchar wc);
static inline gl_wchar gl_towlower(gl_locale *locale, gl_wchar wc);
QBGL_API gl_wchar _gl_im_towupper(gl_locale *locale, gl_wchar wc);
QBGL_API gl_wchar _gl_im_towlower(gl_locale *locale, gl_wchar wc);

/* Writes one character in the other case (at most 4 bytes) and returns the bytes read times 256 plus the bytes written. The counted
 * form reads at most `len` bytes and returns 0, writing nothing, for what is no character. */
QBGL_API uint16_t _gl_im_tomupper(gl_locale *locale, char *dst, const char *src);
QBGL_API uint16_t _gl_im_tomlower(gl_locale *locale, char *dst, const char *src);
QBGL_API uint16_t _qbx_gl_im_tomupper(gl_locale *locale, char *dst, const char *src, int len);
QBGL_API uint16_t _qbx_gl_im_tomlower(gl_locale *locale, char *dst, const char *src, int len);

/* Terminated text in the other case, terminator included. Room for the multibyte forms: gl_case_conv_outbuflen, and the terminator;
 * they return the bytes written before it. The wide forms write as many characters as they read, and return 0. -1 with GL_EILSEQ
 * for what is no character. dst and src may be the same for the wide forms and in single-byte codesets. */
QBGL_API int gl_tombsupper(gl_locale *locale, char *dst, const char *src);
QBGL_API int gl_tombslower(gl_locale *locale, char *dst, const char *src);
QBGL_API int gl_towcsupper(gl_locale *locale, gl_wchar *dst, const gl_wchar *src);
QBGL_API int gl_towcslower(gl_locale *locale, gl_wchar *dst, const gl_wchar *src);
/* Text with a length in the other case; a NUL is a character like any other, and no terminator is written.
 *   dst, room  receives the text: bytes, or wide characters. gl_case_conv_outbuflen says what always suffices of the one, `len` of
 *              the other. dst and src may be the same for the wide forms and in single-byte codesets
 *   src, len   the text: bytes, or wide characters; -1: up to the terminator
 * Returns what was written, in the units of the room, or -1: GL_E2BIG where the room is too small, GL_EILSEQ for what is no
 * character, GL_EINVAL for a character that runs past the length, GL_EBADARG for a negative room, or a length below -1. What was
 * written before a failure is whole characters. */
QBGL_API int gl_tombfsupper(gl_locale *locale, char *dst, int room, const char *src, int len);
QBGL_API int gl_tombfslower(gl_locale *locale, char *dst, int room, const char *src, int len);
QBGL_API int gl_towcfsupper(gl_locale *locale, gl_wchar *dst, int room, const gl_wchar *src, int len);
QBGL_API int gl_towcfslower(gl_locale *locale, gl_wchar *dst, int room, const gl_wchar *src, int len);

/* The bytes that text of n bytes may need in the other case. */
QBGL_API int gl_case_conv_outbuflen(gl_locale *locale, int n);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 6. Collation and sort keys
 *
 * gl_mbfscoll compares two texts, gl_mbfsxfrm makes a key whose bytes memcmp orders as gl_mbfscoll orders the texts. A host that
 * stores keys, or an index in this order, stores gl_order_fingerprint (section 3) with them.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Order by the rules of LC_COLLATE: negative, 0 or positive. The lengths count characters of wide text and bytes of multibyte text,
 * or are both -1 for terminated texts. Each pass of the rules compares the weights of all characters; the first that finds a
 * difference decides. A character that the rules do not know ends its text for the comparison. A failure gives 0 with an error
 * number: GL_EILSEQ for multibyte text that does not convert, GL_ENULLPTR, GL_ENOMEM, GL_EMIXEDLEN for one length of -1; so
 * gl_clear_errno before a comparison whose 0 has to mean equality. */
static inline int gl_mbscoll(gl_locale *locale, const char *s1, const char *s2);
static inline int gl_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
static inline int gl_wcscoll(gl_locale *locale, const gl_wchar *s1, const gl_wchar *s2);
QBGL_API int _qbx_gl_full_wcscoll(gl_locale *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2);
QBGL_API int gl_full_wcscoll(gl_locale *locale, const gl_wchar *s1, const gl_wchar *s2);

/* Writes the sort key of a text: bytes that compare, as unsigned bytes, as the texts do. The result is the length of the whole key
 * without the zero byte behind it, or -1 with an error number as above. Nothing is written beyond `capacity` bytes, which may be 0;
 * a result of `capacity` or more says that the key was cut. The key of a shorter capacity begins the key of a longer one, so that
 * cut keys compare right where they differ. Up to `capacity` bytes may be overwritten, whatever the result.
 *
 * The counted forms take bytes, or wide characters, and -1 for terminated text; GL_EBADARG for any other negative length. A NUL in
 * counted text is what gl_mbfscoll takes it for. A locale that the extension library orders has no keys for text with a NUL within:
 * GL_EINVAL.
 *
 * Where the order is that of code values, the key is the text itself. Comparison puts characters of fewer bytes first, keys go by
 * the bytes. The two agree in single-byte codesets and in utf8, and differ where the first byte of a longer character is below that
 * of a shorter one: half-width katakana of Shift-JIS, characters of three bytes in EUC, of four in EUC-TW and GB 18030. */
static inline int gl_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity);
QBGL_API int gl_mbfsxfrm(gl_locale *locale, char *out, const char *s, int len, int capacity);
QBGL_API int gl_wcsxfrm(gl_locale *locale, char *out, const gl_wchar *s, int capacity);
QBGL_API int gl_wcfsxfrm(gl_locale *locale, char *out, const gl_wchar *s, int len, int capacity);

/* Order by code value: negative, 0 or positive. Where the one text begins the other, the shorter comes first. Multibyte characters
 * of fewer bytes come before those of more. Counted texts may hold NUL characters; where one runs out, the result of the counted
 * wide form, and of the counted multibyte one, is the difference of what is left of both. With both lengths -1 the multibyte form
 * takes terminated texts; the wide form has counts only, and 0 for two of -1. */
QBGL_API int gl_wcscmp(gl_locale *locale, const gl_wchar *s1, const gl_wchar *s2);
QBGL_API int gl_wcsncmp(gl_locale *locale, const gl_wchar *s1, const gl_wchar *s2, int n);
QBGL_API int _qbx_gl_wcfscmp(gl_locale *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2);
QBGL_API int gl_full_mbscmp(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int gl_full_mbsncmp(gl_locale *locale, const char *s1, const char *s2, int n); /* n bytes of each */
QBGL_API int _qbx_gl_mbscmp(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);

/* What a handle's mbscoll, mbfscoll and mbsxfrm can be; hosts call gl_mbscoll, gl_mbfscoll and gl_mbsxfrm. */
QBGL_API int _gl_im_mbscoll(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _gl_is_mbscoll_exp(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _gl_is_mbscoll_elem(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _gl_is_mbscoll_back(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _gl_is_mbscoll_exp_elem(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _gl_thaismocoll(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _glu_mbscoll(gl_locale *locale, const char *s1, const char *s2);
QBGL_API int _qbx_gl_im_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int _qbx_gl_is_mbfscoll_exp(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int _qbx_gl_is_mbfscoll_elem(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int _qbx_gl_is_mbfscoll_back(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int _qbx_gl_is_mbfscoll_exp_elem(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int _qbx_gl_thaismoncoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int _glu_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
QBGL_API int gl_full_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity);
QBGL_API int _gl_thaismoxfrm(gl_locale *locale, char *out, const char *s, int capacity);
QBGL_API int _glu_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity);

/* Encodes a wide character by the collation table of the locale, as gl_full_wctomb does by the codeset's. */
QBGL_API int _gl_sl_wctomb(gl_locale *locale, char *buffer, gl_wchar wc);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 7. Stepping, lengths and width
 *
 * A terminator is as many zero bytes as the codeset's shortest character has. Where a character begins is known from the start of
 * the text only. Unless stated, a failure is -1 or null with GL_EILSEQ (bytes that are no character), GL_ENULLPTR (a null text) or
 * what is named with the function. Pointers that are returned point into the caller's text.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The bytes of the codeset's longest and shortest character. */
QBGL_API int gl_mb_loc_max(gl_locale *locale);
QBGL_API int gl_mb_loc_min(gl_locale *locale);

/* Writes a terminator; its length. The length of the terminator at s, or 0 when none stands there. */
QBGL_API int gl_mbsterm(gl_locale *locale, char *dst);
QBGL_API int gl_ismbsterm(gl_locale *locale, const char *s);

/* The place behind the character at s, a NUL character included. The third form reads at most n bytes: GL_EINVAL when the
 * character needs more, or n is below 1. */
static inline char *gl_mbsnext(gl_locale *locale, const char *s);
QBGL_API char *gl_full_mbsnext(gl_locale *locale, const char *s);
QBGL_API char *_qbx_gl_full_mbsnext(gl_locale *locale, const char *s, int n);

/* The character before `pos` in the text that begins at `start`, found from there: time proportional to the distance.
 * GL_EENDBEFORE when pos is not behind start; GL_EINVAL when it is inside a character. */
static inline char *gl_mbsprev(gl_locale *locale, const char *start, const char *pos);
QBGL_API char *gl_full_mbsprev(gl_locale *locale, const char *start, const char *pos);

/* The i-th character, counted from 0; GL_ENEGCOUNT for i below 0. The first form does not look for the terminator; the second
 * stops at it. */
QBGL_API char *gl_full_getmbsi(gl_locale *locale, const char *s, int i);
QBGL_API char *gl_getmbsinull(gl_locale *locale, const char *s, int i);

/* Puts a character into the place of the one at `pos`, or of the i-th, and moves the rest of the text, for which the caller
 * provides the room. It must stand before the terminator. Returns pos, or s. The text is unchanged after a failure; GL_ENOMEM is
 * one. */
QBGL_API char *gl_mbcreplace(gl_locale *locale, char *pos, const char *new_char);
QBGL_API char *gl_full_putmbsi(gl_locale *locale, char *s, int i, const char *new_char);

/* Lengths without trailing white space: of wide text the characters of class space, of multibyte text those of class blank, both
 * without control characters. The counts are characters, or bytes for the ...bytes functions. `len` counts characters of wide text
 * or bytes, or is -1 for terminated text; GL_EBADARG for any other negative one. A wide value that is no character is not white
 * space: the length counts it, and GL_EILSEQ tells of it. */
QBGL_API int gl_wcsntslen(gl_locale *locale, const gl_wchar *ws);
QBGL_API int _qbx_gl_wcsntslen(gl_locale *locale, const gl_wchar *ws, int len);
QBGL_API int gl_mbsntslen(gl_locale *locale, const char *s);
QBGL_API int gl_mbsntsbytes(gl_locale *locale, const char *s);
QBGL_API int _qbx_gl_mbsntsbytes(gl_locale *locale, const char *s, int len);
/* Where the trailing blanks begin; null, without an error, when there are none. */
QBGL_API char *gl_mbsp(gl_locale *locale, const char *s);
/* Cut the trailing white space off; the place of the new terminator, or null when there was none to cut. The wide form cuts control
 * characters of class space, too. */
QBGL_API gl_wchar *gl_wcsntstrunc(gl_locale *locale, gl_wchar *ws);
QBGL_API char *gl_mbsntstrunc(gl_locale *locale, char *s);

/* The bytes before the terminator. Under a locale that the extension serves one byte is taken for it, however long it is. */
QBGL_API int gl_mbsbytes_nt(gl_locale *locale, const char *s);

/* Width in columns of a terminal: 0 for the NUL character, 2 for a character of the locale's class "full_width", 1 for any other of
 * class print. What is not printable has none: -1 with GL_EINVAL; but gl_mbwidth gives 1 for any one-byte character. */
QBGL_API int gl_wcwidth(gl_locale *locale, gl_wchar wc);
QBGL_API int gl_mbwidth(gl_locale *locale, const char *s);
/* The width of at most n characters, or of those that begin before `end`, as far as the terminator. -1 with GL_ENEGCOUNT (n),
 * GL_EENDBEFORE, or GL_EINVAL (a character that is not printable, bytes that are none). gl_mbspwidth sets the number to 0 before it
 * measures, and tells bytes that are no character by GL_EILSEQ. */
QBGL_API int gl_wcswidth(gl_locale *locale, const gl_wchar *ws, int n);
QBGL_API int gl_mbswidth(gl_locale *locale, const char *s, int n);
QBGL_API int gl_wcspwidth(gl_locale *locale, const gl_wchar *start, const gl_wchar *end);
QBGL_API int gl_mbspwidth(gl_locale *locale, const char *start, const char *end);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 8. Characters and lines on streams
 *
 * A character is never cut. Every byte goes through the fgetc and fwrite slots of section 16, or through the reader or writer that
 * a host passes. The newline is byte 0A, behind as many zero bytes as the codeset's shortest character is longer than one; the wide
 * one is 10. Failures: GL_EEOF at the end of input, GL_EILSEQ for bytes that are no character, GL_EINVAL when the input ends
 * inside one, GL_EIO for an error of the stream or a failed write, GL_EREAD for a read that failed with no reason given. What was
 * read before a failure is not put back.
 * ------------------------------------------------------------------------------------------------------------------------------ */
typedef int (*gl_byte_reader)(void *stream);           /* the next byte, or -1 */
typedef int (*gl_byte_writer)(int byte, void *stream); /* 0, or -1 */

/* Reads one character into `buffer`, which has room for the codeset's longest, and for one byte at least. 0 or -1; *length is the
 * number of bytes read either way. */
QBGL_API int gl_getmb(gl_locale *locale, char *buffer, gl_byte_reader reader, void *stream, int *length);
/* The same from a FILE: the character's length, or -1. The end of the file is GL_EEOF within a character, too. */
QBGL_API int gl_full_fgetmb(gl_locale *locale, char *buffer, FILE *stream);
/* One character as a wide one, or (gl_wchar)-1. */
QBGL_API gl_wchar gl_full_fgetwc(gl_locale *locale, FILE *stream);

/* Reads a line with its newline, and terminates it. Returns the buffer, or null: GL_E2BIG when line and terminator need more than
 * `size` bytes, or `count` wide characters. A last line without a newline is not returned: GL_EEOF (of wide characters, GL_EINVAL
 * when it ends within one). In a single-byte codeset every byte is a character. */
QBGL_API char *gl_fgetmbs(gl_locale *locale, char *buffer, int size, FILE *stream);
QBGL_API gl_wchar *gl_fgetwcs(gl_locale *locale, gl_wchar *buffer, int count, FILE *stream);

/* Writes the character at `mb`, of at most max_length bytes (negative: as many as any character has). 0 or -1, without an error
 * number for a null mb; *count is the number of bytes written, but 0 when a NUL character could not be written whole. The second
 * form wants a length of 1 or more. */
QBGL_API int gl_putmb(gl_locale *locale, const char *mb, int max_length, gl_byte_writer writer, void *stream, int *count);
QBGL_API int _qbx_gl_putmb(gl_locale *locale, const char *mb, int length, gl_byte_writer writer, void *stream, int *count);
/* The same to a FILE: mb, or null; the value, or (gl_wchar)-1. */
QBGL_API char *gl_fputmb(gl_locale *locale, const char *mb, FILE *stream);
QBGL_API gl_wchar gl_fputwc(gl_locale *locale, gl_wchar wc, FILE *stream);
/* Write terminated text without its terminator. 0 or -1; GL_ENULLPTR for a null text. Of multibyte text that is not well formed
 * nothing is written. */
QBGL_API int gl_fputmbs(gl_locale *locale, const char *s, FILE *stream);
QBGL_API int gl_fputwcs(gl_locale *locale, const gl_wchar *ws, FILE *stream);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 9. Numbers
 *
 * `base` is 2 to 36; for input also 0, which takes 0x and 0 in front of the digits for bases 16 and 8. Digits are the ASCII ones
 * and letters. With `grouping` not 0, text is read and written with the thousands separator of LC_NUMERIC between its groups. Input
 * must have it at the border of each full group, counted from the end of an integer's text, or of a real number's digits; within a
 * group any character is taken, and then ends the number as it would without grouping. Text behind a number is no error: `end`,
 * which may be null, receives the place where reading stopped, and who wants nothing else there has to look at it. An integer and
 * what stands behind it have at most 254 characters; of a real number 256 digits are read before the point, and 255 characters from
 * it on. More is GL_E2BIG, and what fits is read. A null text is GL_ENULLPTR, with the result of text that is refused.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Integers of wide text. Out of range: the nearest value and errno = ERANGE, as the standard's strtol, strtoul and strtoull have
 * it. Text that lacks a separator or has, with grouping, more than 255 characters, and for the unsigned functions text
 * of more than 254 characters, is GL_EINVAL with the result 0x7fffffff (gl_wcstol, gl_wcstoul) or 0x7fffffffffffffff; `end` is left
 * alone then. Only gl_wcstol knows the locale's signs; one of several characters counts as one in `end`. */
QBGL_API long gl_wcstol(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping);
QBGL_API unsigned long gl_wcstoul(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping);
QBGL_API unsigned long long gl_wcstoull(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping);

/* The same of multibyte text, of which 256 characters are read: 0x7fffffff, or 0xffffffff of gl_mbstoul, with GL_ERANGE for text
 * that is empty or a number out of range, and without an error number for text that does not convert to anything. -1 when the place
 * of `end` cannot be told. `end` receives null for text that is GL_EINVAL, and is left alone by the other failures. */
QBGL_API long gl_mbstol(gl_locale *locale, const char *s, char **end, int base, int grouping);
QBGL_API unsigned long gl_mbstoul(gl_locale *locale, const char *s, char **end, int base, int grouping);

/* Real numbers, with signs and decimal point of LC_NUMERIC, or of LC_MONETARY where `monetary` is 1; out of range as strtod has it.
 * 0 with `end` at the beginning for text that is no number (a separator within a group makes it none), with GL_EINVAL where one is
 * missing or more than 254 digits and separators follow one another; 0 with GL_ENOCONV for a point alone, and with grouping for a
 * minus sign or an exponent alone. What the host's setlocale says has no influence. */
QBGL_API double gl_wcstod(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int grouping);
QBGL_API double gl_wcstod_num_mon(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int grouping, int monetary);
/* Of multibyte text: 2147483647 in the cases in which gl_mbstol gives 0x7fffffff for its own part, -1 for a place that cannot be
 * told. */
QBGL_API double gl_mbstod(gl_locale *locale, const char *s, char **end, int grouping);

/* Write a number into `size` characters, terminator included, with capital letters for digits above 9. Text that does not fit is
 * cut, and with grouping empty; it is empty for any other base. With grouping the sign counts as a digit when the room is reckoned,
 * so that a negative number may be refused a separator's length too early; beyond 256 characters the digits stand without
 * separators, with GL_E2BIG. The multibyte forms return what the conversion of the wide text to `size` bytes gives. */
QBGL_API void gl_ltowcs(gl_locale *locale, gl_wchar *out, int size, long value, int base, int grouping);
QBGL_API void gl_ultowcs(gl_locale *locale, gl_wchar *out, int size, unsigned long value, int base, int grouping);
QBGL_API int gl_ltombs(gl_locale *locale, char *out, int size, long value, int base, int grouping);
QBGL_API int gl_ultombs(gl_locale *locale, char *out, int size, unsigned long value, int base, int grouping);

/* The length of the thousands separator, or decimal point, that begins at `pos` (direction 0) or ends at it (1); 0 when none does.
 * monetary: 0 for that of LC_NUMERIC, 1 of LC_MONETARY. A search backwards reads as far before pos as the symbol is long. */
QBGL_API int gl_iswgrpsymb(gl_locale *locale, const gl_wchar *pos, int direction, int monetary);
QBGL_API int gl_iswcdecml(gl_locale *locale, const gl_wchar *pos, int direction, int monetary);
/* 1 for "E" or "e", 2 when a sign follows it, otherwise 0. */
QBGL_API int gl_iswcexponent(const gl_wchar *pos);
/* The index of the "." or "," behind spaces, a sign and digits of ASCII text, or -1. */
QBGL_API int gl_getDecimalCharIndex(const char *text);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 10. Calendars
 *
 * Gregorian, and by the arithmetic rules of each, Hebrew (months of 29 and 30 days from the molad and its four postponements) and
 * Islamic (30-year cycle with leap years 2, 5, 7, 10, 13, 16, 18, 21, 24, 26, 29; the first day is 18 July 622 of the proleptic
 * Gregorian calendar). Days begin at midnight in all three.
 * ------------------------------------------------------------------------------------------------------------------------------ */
typedef struct gl_tm {
    int32_t sec, min, hour, extra; /* carried along by the conversions, as are the last three */
    int32_t mday;                  /* from 1 */
    int32_t mon;                   /* from 0; a Hebrew leap year has 13. -1 for a date that names its month by the next field */
    int32_t monname;               /* index of the month's name; 12 and 13 are Adar I and II of a Hebrew leap year */
    int32_t year;                  /* minus 1900, in any calendar */
    int32_t wday;                  /* from 0, Sunday */
    int32_t yday;                  /* from 0 */
    int32_t isdst, gmtoff, zone;
} gl_tm;

/* The day of the year from 0, and the day of the week from 0 (Sunday), of a Gregorian date; `mon` is 0 to 11, otherwise the result
 * is -1; `year` is in full. */
QBGL_API int _gl_gregorian_yearday(int mday, int mon, int year);
QBGL_API int _gl_gregorian_weekday(int mday, int mon, int year);

/* Convert a date; *out may be *in. 0, or -1 with an output of zeros for a date out of range, without an error number.
 *   Hebrew   from 1 January 1 to 23 February 10000; back to the Gregorian calendar from 18 Tevet 3761 to the end of 14213
 *   Islamic  from 18 July 622 to 20 October 10323; back the years 1 to 9999
 * A month is 0 to 11, in the Hebrew calendar 0 to 12 (12 of a common year is the first of the next one); any other is out of range.
 * A day beyond its month counts on. To the Gregorian calendar a mon of -1 takes the month that monname tells: 5 in a Hebrew leap
 * year is Adar I, a name that the year lacks is out of range, and where it is -1, too, the output has no date but what is carried
 * along. */
QBGL_API int gl_cal_gregorian_to_hebrew(const gl_tm *in, gl_tm *out);
QBGL_API int gl_cal_hebrew_to_gregorian(const gl_tm *in, gl_tm *out);
QBGL_API int gl_cal_gregorian_to_islamic(const gl_tm *in, gl_tm *out);
QBGL_API int gl_cal_islamic_to_gregorian(const gl_tm *in, gl_tm *out);
/* From and to the calendar of LC_TIME. -1, with the output left alone, where it has none that can be converted. */
QBGL_API int gl_cal_gregorian_to_local(gl_locale *locale, const gl_tm *in, gl_tm *out);
QBGL_API int gl_cal_local_to_gregorian(gl_locale *locale, const gl_tm *in, gl_tm *out);
/* The century of a two-digit year: 57 for a Hebrew calendar, 14 for an Islamic one, otherwise 0. */
QBGL_API int gl_alt_getcentury(gl_locale *locale);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 11. Words by the text they begin
 *
 * A cache maps words, case folded, to values, and finds which of them the text at a position begins with; the shortest counts.
 * *root is null before the first word; free the cache with the function of its kind. The first form of each is keyed by multibyte
 * characters, the second by wide ones.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Adds a word (multibyte in both); one that is there gets the new value. 0, or -1 (null, cannot be folded, or GL_ENOMEM; the words
 * before stay). */
QBGL_API int _gl_cache_mb_string(gl_locale *locale, void **root, const char *s, int value);
QBGL_API int _gl_cache_wc_string(gl_locale *locale, void **root, const char *s, int value);
/* 0 with the word's value and the length it has in the input (bytes, or wide characters), or -1. An empty word matches, with length
 * 0, what no other does. */
QBGL_API int _gl_validate_mb_string(gl_locale *locale, void *root, const char *input, int *length, int *value);
QBGL_API int _gl_validate_wc_string(gl_locale *locale, void *root, const gl_wchar *input, int *length, int *value);
QBGL_API void _gl_free_mb_cache(gl_locale *locale, void *root);
QBGL_API void _gl_free_wc_cache(gl_locale *locale, void *root);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 12. Charmaps: characters and their symbolic names
 *
 * A charmap object lists the characters of one codeset with their names. A symbol is a name between "<" and ">", in which a
 * backslash takes the character behind it literally: "<" and the backslash are written so; names have at most 127 bytes. Errors go
 * into the record: GL_EBADARG for an output without room, GL_ENOSYM for bytes that are no character, or a character without a name.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Handed out by a load that failed before it had a record: GL_ENOMEM, GL_ENOFILE. Never freed or changed; gl_cm_unload accepts
 * them. */
extern QBGL_API const gl_charmap cm_nomem, cm_filer;

/* Loads the charmap of a codeset.
 *   cm             receives the record; release it with gl_cm_unload, also after a failure
 *   spec           a codeset name or locale specification; what names no codeset is taken for the file's name itself
 *   registry_path  registry file for the name, or null
 *   directory      where the object is, or null: searched as section 15 tells, in "cm3"
 * Returns 0, or -1: *cm is never null and its error is GL_ENOFILE, GL_EVERSION, GL_EBADFILE or GL_ENOMEM. */
QBGL_API int gl_cm_load(gl_charmap **cm, const char *spec, const char *registry_path, const char *directory);
QBGL_API void gl_cm_unload(gl_charmap *cm); /* null is fine */

/* What the object's header says: version of the source, version of the format, name of the codeset (the record's). */
QBGL_API int gl_cm_srcver(gl_charmap *cm);
QBGL_API int gl_cm_cmpver(gl_charmap *cm);
QBGL_API const char *gl_cm_csname(gl_charmap *cm);

/* The bytes of the character at s, of which at most n are read; 0 for a null s, -1 with GL_EILSEQ for none, with GL_EINVAL for one
 * that n bytes cut. The bytes of the longest and shortest character. */
QBGL_API int gl_cm_mblen(gl_charmap *cm, const char *s, int n);
QBGL_API int gl_mb_cm_max(gl_charmap *cm);
QBGL_API int gl_mb_cm_min(gl_charmap *cm);

/* Text to symbols, one behind the other.
 *   out      receives the symbols and a zero byte; `outsize` bytes. From the first symbol that does not fit nothing more is written
 *   in       address of the input pointer, advanced to the end, whether all fitted or not, or to what is no character
 *   inlen    bytes, or wide characters; below 1: the input ends with a character of zero bytes, or a zero
 * Returns the bytes written with the zero byte, 0 for empty wide input, or -1. A result tells what fitted: when it may have been
 * cut, give more room. With an outsize of 0 nothing is written, and the result is 1. */
QBGL_API int gl_mbstosyms(gl_charmap *cm, char *out, int outsize, const char **in, int inlen);
QBGL_API int gl_wcstosyms(gl_charmap *cm, char *out, int outsize, const gl_wchar **in, int inlen);

/* Symbols to text, up to the zero byte behind them. Returns the bytes, or wide characters, written with the terminator, which is as
 * long as the shortest character; or -1: with GL_EBADARG for an output without room, and with the older number left alone for what
 * is no symbol or no name. The input pointer is advanced to the culprit, and the output is terminated, unless it has not even room
 * for that. */
QBGL_API int gl_symstombs(gl_charmap *cm, char *out, int outsize, const char **in);
QBGL_API int gl_symstowcs(gl_charmap *cm, gl_wchar *out, int outsize, const char **in);

/* All names of the character at s, at most n bytes, as symbols: the first `max` go into slots of GL_SYMBOL_SLOT bytes each. A
 * symbol that is longer leaves its slot empty. Returns how many there are, or -1; GL_EBADARG for a null list and a positive max,
 * GL_EILSEQ or GL_EINVAL as gl_cm_mblen. */
#define GL_SYMBOL_SLOT 143
QBGL_API int gl_mbtosymlist(gl_charmap *cm, char *out_list, int max, const char *s, int n);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 13. Codeset names and numbers
 *
 * A codeset is named by a case-insensitive ASCII name of at most 21 characters (longer ones are cut) and has a 16-bit number. The
 * map between them is the text file "registry" in the installation directory's cm3: a name, white space, a decimal number (kept
 * modulo 65536), and whatever else to the line's end; lines that begin with "#" are comments. Every line ends with a newline. The
 * file is read with libc's functions, and its cache is libc's memory, whatever the host has replaced.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The number of a codeset.
 *   registry_path  registry file to read when nothing is cached; null: the installation's
 * A name of decimal digits that the registry does not hold is its own number. Returns GL_NO_CODESET on failure: GL_EINVAL
 * (unknown), GL_ENODATA (no registry file), GL_EBADFILE (malformed registry), GL_ENOMEM. ctx and name may be null; a null name is
 * the empty one, which is unknown. Without a cache each call reads the file, and the built-in table does not serve. */
QBGL_API uint16_t gl_cs_name2cs_num(void *ctx, const char *name, const char *registry_path);

/* Reads the registry into memory, for all later lookups of the process. When the file is missing or malformed, the built-in table
 * serves instead, and the error number (GL_ENODATA, GL_EBADFILE, GL_ENOMEM) tells why. A null or empty path searches the
 * installation. Returns 0 when the file serves, -1 when the built-in table does. A file without entries
 * counts as read, and caches nothing. ctx may be null. */
QBGL_API int gl_cache_registry(void *ctx, const char *registry_path);

/* Forgets the cached registry, and the lists of section 15. */
QBGL_API void gl_free_registry_cache(void);

/* The CCSID of a codeset number: numbers below GL_NO_CODESET are their own, a private number has the one assigned to it, or 0.
 * ctx is not used. */
QBGL_API uint16_t gl_cs_nums2ccsid(void *ctx, uint16_t cs_num);

/* The reverse map is not provided: returns 0. */
QBGL_API int gl_ccsid2cs_nums(void);

/* Writes the file name of the conversion object between two codesets: the numbers as four hexadecimal digits each and ".cvo",
 * behind the directory and a separator mark (byte 0xFF) when a directory is given. `buffer` has room for the directory and 14
 * bytes. */
QBGL_API void gl_cs_nums2cv_fname(void *ctx, uint16_t from_cs, uint16_t to_cs, char *buffer, const char *directory);

/* Readers of the registry file's tokens. The name reader folds to lower case and returns 1, or 0 at the end of the file, for a name
 * of `size` characters or more, and for one that nothing follows; the character behind the name is consumed. The number reader
 * returns GL_NO_CODESET for a malformed number, without setting an error. */
QBGL_API int _gl_next_cs_name_from_registry(FILE *stream, char *buffer, int size);
QBGL_API uint16_t _gl_next_cs_number_from_registry(void *ctx, FILE *stream);

/* 1 when the text is non-empty and all decimal digits, otherwise 0. */
QBGL_API int _gl_all_decimal_digits(const char *text);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 14. Locale specifications and file names
 *
 *   short form    ll_TT.codeset@modifier     language, territory; codeset and modifier where the function allows them to be absent
 *   long form     GL_CTYPE = S ; GL_COLLATE = S ; GL_NUMERIC = S ; GL_MONETARY = S ; GL_TIME = S ; GL_MESSAGES = S
 *                 S a short form; " = " and " ; " are exactly these three bytes
 *   normal form   ja_JP.57350, de_DE.819@euro: case as shown, the codeset by its number
 *   file name     ja_jp/e006.lco, de_de/0333euro.lco: the codeset as four hexadecimal digits, then the modifier (at most 4)
 *
 * A text has at most 284 characters and a codeset name 21; more is GL_EINVAL. The three functions that go between short and long
 * form take an S of at most 31 characters, and gl_lc_short2lc_long a codeset name of at most 19. Letters and digits are those of
 * ASCII.
 *
 * Outputs need the room that is stated with each function, terminator included; 288 bytes are enough for any, but for the
 * directories in the result of gl_lc_spec2lc_fname. An output may be the input's own buffer.
 *
 * Unless stated, results are 0, or -1 with GL_EINVAL (a null text or output included); failures called silent leave the error
 * number alone. ctx may be null everywhere; registry_path is as for gl_cs_name2cs_num. After a failure the output is undefined.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The category whose keyword begins the text: 1 GL_CTYPE, 2 GL_COLLATE, 3 GL_TIME, 4 GL_MONETARY, 5 GL_NUMERIC, 6 GL_MESSAGES (not
 * the category numbers of section 1), and the keyword's length; 0, with *length left alone, when none does. */
QBGL_API int _gl_is_category(const char *text, int *length);

/* Parses a short form with a codeset at *input, writes its file name and a terminator at *output (19 bytes), stores the codeset's
 * number, and advances both positions, the output's onto the terminator. Returns 1, or 0 when there is no such form there, with
 * nothing changed but the error number when the codeset is not known. */
QBGL_API int _gl_is_xopen_spec(void *ctx, const char **input, char **output, uint16_t *cs_num, const char *registry_path);

/* The file name of a locale, from either form; the long form gives the same clauses with file names, each behind `directory` and a
 * separator mark when one is given (a short form has no directory). The clauses must agree in codeset; a category may be absent,
 * none may stand twice; a separator behind the last is kept. Every failure is GL_EINVAL. Room: 208 bytes, and with a directory six
 * times its length more. */
QBGL_API int gl_lc_spec2lc_fname(void *ctx, const char *spec, char *fname_out, const char *registry_path, const char *directory);

/* The message directory: the first ten characters of the file name, for a long form of what stands behind "GL_MESSAGES = " in it
 * (which begins with the directory when one is given). Room: 11 bytes. */
QBGL_API int gl_lc_spec2msg_dname(void *ctx, const char *spec, char *dname_out, const char *registry_path, const char *directory);

/* The codeset number of a specification of either form, or of a bare codeset name, whose look-up tells its own errors.
 * GL_NO_CODESET on failure. */
QBGL_API uint16_t gl_lc_spec2cs_num(void *ctx, const char *spec, const char *registry_path);

/* The normal form. The long form needs six clauses, each with a " ; " behind it (a missing one fails silently); the result ends
 * with it too, and what follows the sixth is ignored. The second takes short forms only; a well-formed long one fails silently.
 * Room: 17 bytes for a short form, 200 for a long one. */
QBGL_API int gl_lc_spec2lc_norm(void *ctx, const char *spec, char *norm_out, const char *registry_path);
QBGL_API int _gl_lc_short_spec2lc_short_norm(void *ctx, const char *spec, char *norm_out, const char *registry_path);

/* The long form of a short one, in lower case, without a trailing separator. The codeset may be absent; one that is there must be
 * known (the look-up tells its own errors). Nothing may follow a codeset; what follows the territory and white space, or a modifier
 * and " ; ", is ignored. Room: 277 bytes. */
QBGL_API int gl_lc_short2lc_long(void *ctx, const char *short_spec, char *long_out, const char *registry_path);

/* The short form, in lower case, of a long one whose six clauses agree but for case. They may stand anywhere in the text. Where a
 * letter is missing in language or territory it fails silently; the look-up of the codeset tells its own errors. Room: 32 bytes. */
QBGL_API int gl_lc_spec2lc_short(void *ctx, const char *long_spec, char *short_out, const char *registry_path);

/* One category's value in a long form of all six, as written. `selector` is a category number from GL_CAT_CTYPE to GL_CAT_MESSAGES;
 * any other gives 0 for a well-formed text and writes nothing. When the chosen value has a codeset, all six must name that one (the
 * look-ups tell their own errors). Room: 32 bytes. */
QBGL_API int gl_lc_spec2category(void *ctx, const char *long_spec, int selector, char *out, const char *registry_path);

/* Whether a text is a well-formed long form, with any of the categories once; codesets may be absent, are not looked up and may
 * differ. Where a letter is missing in language or territory it fails silently. */
QBGL_API int gl_is_lc_spec(void *ctx, const char *spec);

/* The long form that belongs to a long file name, after making sure that its six files exist (GL_ENODATA when one does not): in
 * `directory`, opened through the table, or without one as found by gl_path_search in "lc11". A modifier must have four characters
 * here. Room: 187 bytes. */
QBGL_API int gl_lc_fname2lc_spec(void *ctx, const char *long_fname, char *spec_out, const char *directory);

/* Splits a locale file name into "ll_TT" (6 bytes), the codeset number in decimal (6) and the modifier (5), a missing "/" or "\"
 * being a silent failure; and joins such pieces, as they are, into a short form (17 bytes). Of the codeset five characters are
 * taken, which may be hexadecimal digits, of the modifier four; it may be null. */
QBGL_API int gl_lc_fname2lc_pieces(void *ctx, const char *fname, char *lang_terr_out, char *cs_out, char *modifier_out);
QBGL_API int gl_lc_pieces2lc_spec(void *ctx, const char *lang_terr, const char *cs, const char *modifier, char *spec_out);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 15. Where the data files are, and which there are
 *
 * A relative name is tried in each directory of GL_PATH (separated by ":") when that is set, and nowhere else then; otherwise in
 * the directories vrn/SUBDIRECTORYVERSION and vrn/SUBDIRECTORY of the installation directory. That one is named by the environment
 * variable QUORBANEDIR, when that is unset or empty by gl_set_directory, and when no host has called it the default that the
 * library was built with: /usr/quorbane/. It has at most 256 characters. GL_PATH is read with the platform's getenv, whatever
 * stands in slot 0; QUORBANEDIR through slot 0. A name that holds the separator mark (byte 0xFF) is a path with "/" in the mark's
 * place.
 * ------------------------------------------------------------------------------------------------------------------------------ */
/* The subdirectories of an installation, and the versions of the formats of what they hold: locale objects, conversion objects, and
 * charmap objects with the registry. */
#define GL_LC_DIRECTORY "lc"
#define GL_LC_VERSION "11"
#define GL_CV_DIRECTORY "cv"
#define GL_CV_VERSION "9"
#define GL_CM_DIRECTORY "cm"
#define GL_CM_VERSION "3"

/* Names the installation directory for a process that has no QUORBANEDIR: a host calls it with where its own package puts the data,
 * and its administrator still moves them by the environment. The text is copied; null or an empty one brings back the default.
 * Returns 0, or -1 for more than 256 characters, and then nothing has changed. To be called before threads share the library. The
 * extension library (section 19) wants QUORBANEDIR itself. */
QBGL_API int gl_set_directory(const char *directory);

/* What is installed: the locales that gl_lc_load finds when it is given no directory, and the codesets that have a charmap or stand
 * on a side of a conversion, or that have a name and are converted by algorithm.
 *
 *     for (int i = 0, count = gl_locale_count(NULL); i < count; ++i)
 *         if (gl_locale_name(NULL, i, name, sizeof name) > 0) ...
 *
 * A count looks into the directories, and returns how many there are, or -1 with GL_ENOMEM; where there is no directory it is 0.
 * The names are those of the last count, sorted; a name without a count counts first. The lists belong to the process, are libc's
 * memory whatever the host has replaced, and are made and read by one thread at a time; gl_free_registry_cache lets go of them.
 *   index      from 0
 *   out, room  receives the name and its terminator; 64 bytes are enough for any
 * A locale's name is a specification such as "ja_JP.sjis", or the object's file name where none leads to it ("default.lco"); both
 * are what gl_lc_load takes. A codeset's name is the first that the registry has for its number, but for "c" and "posix", or the
 * number in decimal. The result is the length of the name, or -1: GL_EBADARG (no such index), GL_E2BIG (cut, but terminated, where
 * there is room for that). ctx may be null. */
QBGL_API int gl_locale_count(void *ctx);
QBGL_API int gl_locale_name(void *ctx, int index, char *out, int room);
QBGL_API int gl_codeset_count(void *ctx);
QBGL_API int gl_codeset_name(void *ctx, int index, char *out, int room);

/* The file search.
 *   ctx      receives GL_ENOFILE (not found, or QUORBANEDIR too long) or GL_ENOMEM; may be null
 *   version  "" or null: only the plain directory is tried
 * gl_path_search returns an open stream, to be closed with _gl_ext_fclose, or null. The _rpath form returns the directory in which
 * the file was found, to be freed with gl_destroystring, or null. The _no_ext forms use libc's own memory and file functions
 * instead of the table: close with fclose, free with free. */
QBGL_API FILE *gl_path_search(void *ctx, const char *name, const char *subdirectory, const char *version);
QBGL_API char *gl_path_search_rpath(char *initial_rpath, void *ctx, const char *name, const char *subdirectory,
                                    const char *version);
QBGL_API FILE *gl_path_search_no_ext(void *ctx, const char *name, const char *subdirectory, const char *version);
QBGL_API char *gl_path_search_no_ext_rpath(char *initial_rpath, void *ctx, const char *name, const char *subdirectory,
                                           const char *version);

/* The functions that a search works with. */
typedef struct gl_file_functions {
    void *(*alloc)(uint32_t size);
    void (*free)(void *pointer);
    FILE *(*open)(const char *path, const char *mode);
    int (*close)(FILE *stream);
} gl_file_functions;
extern QBGL_API const gl_file_functions gl_ext_functions; /* the table's */
extern QBGL_API const gl_file_functions gl_reg_functions; /* libc's */

/* The search itself. *rpath, null or a string of `set`'s, is replaced by the directory tried last; the caller frees it. */
QBGL_API FILE *gl_path_search1(void *ctx, const char *name, char **rpath, const char *subdirectory, const char *version,
                               const gl_file_functions *set);
/* GL_PATH, or null when it is unset or empty. */
QBGL_API char *gl_get_gl_path(void);
/* Replaces *rpath by a copy of a directory. Returns 0, or 1 with GL_ENOMEM and *rpath null. */
QBGL_API int gl_fix_rpath(void *ctx, char **rpath, const char *directory, const gl_file_functions *set);
/* Opens a path in which the separator mark stands for "/". Null with GL_ENOFILE or GL_ENOMEM. ctx may be null. */
QBGL_API FILE *gl_open_file(void *ctx, const char *name);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 16. Replacing memory, file, clock and error functions
 *
 * The library calls libc through a table of twenty slots. A host that has its own memory pools, file layer or per-thread error
 * variable puts its functions there, before anything else of the library is called and before threads share it.
 *
 * Slots that go together
 *   - Memory: malloc and free, one never without the other. calloc and realloc are for the extension library.
 *   - Streams: a host whose fopen returns handles of its own replaces at least fopen, fclose, fgetc, getc, ungetc and fgets; the
 *     library then hands its object files to these alone. ferror is asked of such a stream only where its slot is replaced as well:
 *     a read error that nobody tells is the end of the file then. feof and fwrite are needed where the host passes handles of its
 *     own to the functions of section 8, or writes tables.
 *   - Without its own fopen a host may replace any of them: they get libc's streams.
 *   - Errors: errno alone. It maps a context to the place of its number, for one, to a variable of the thread, and never to null.
 *     Null contexts come to it from gl_setextfunc, gl_errno and gl_clear_errno alone.
 *
 * fseek, ftell, putenv, currtime, calloc and realloc are not called by the library itself. The registry of codesets, the log, the
 * extension's list of libraries and GL_PATH are read with libc's functions always.
 * ------------------------------------------------------------------------------------------------------------------------------ */

typedef void (*gl_extfunc)(void);

enum gl_ext_slot { /* the function of a slot has the signature of the dispatcher _gl_ext_NAME below */
                   GL_EXT_GETENV = 0,
                   GL_EXT_ERRNO = 1,
                   GL_EXT_FCLOSE = 2,
                   GL_EXT_FEOF = 3,
                   GL_EXT_FERROR = 4,
                   GL_EXT_FGETC = 5,
                   GL_EXT_FGETS = 6,
                   GL_EXT_FOPEN = 7,
                   GL_EXT_FREE = 8,
                   GL_EXT_FSEEK = 9,
                   GL_EXT_FTELL = 10,
                   GL_EXT_FWRITE = 11,
                   GL_EXT_GETC = 12,
                   GL_EXT_MALLOC = 13,
                   GL_EXT_UNGETC = 14,
                   GL_EXT_PUTENV = 15,
                   GL_EXT_CURRDATE = 16,
                   GL_EXT_CURRTIME = 17,
                   GL_EXT_CALLOC = 18,
                   GL_EXT_REALLOC = 19,
                   GL_EXT_SLOTS = 20
};

/* Puts a function into a slot; null empties it, so that the default serves again. Returns 0, or -1 with GL_EBADARG for an id
 * above 19. */
QBGL_API int gl_setextfunc(void *ctx, unsigned id, gl_extfunc func);

/* Raw access to a slot, without a range check. Setting raises _gl_ext_func. */
QBGL_API void _gl_set_ext_funcptr(unsigned id, gl_extfunc func);
QBGL_API gl_extfunc _gl_get_ext_funcptr(unsigned id);

/* 0 until a slot is set for the first time, then 1. */
extern QBGL_API int32_t _gl_ext_func;

/* The dispatchers: what the library itself calls. Each calls its slot's function, or the default when the slot is empty. */
QBGL_API char *_gl_ext_getenv(const char *name);
QBGL_API int *_gl_ext_errno(void *ctx); /* where the error number of a context lives */
QBGL_API int _gl_ext_fclose(FILE *stream);
QBGL_API int _gl_ext_feof(FILE *stream);
QBGL_API int _gl_ext_ferror(FILE *stream);
QBGL_API int _gl_ext_fgetc(FILE *stream);
QBGL_API char *_gl_ext_fgets(char *buffer, uint32_t size, FILE *stream);
QBGL_API FILE *_gl_ext_fopen(const char *path, const char *mode);
QBGL_API void _gl_ext_free(void *pointer);
QBGL_API int _gl_ext_fseek(FILE *stream, int32_t offset, int whence);
QBGL_API long _gl_ext_ftell(FILE *stream);
QBGL_API uint32_t _gl_ext_fwrite(const void *buffer, uint32_t size, uint32_t count, FILE *stream);
QBGL_API int _gl_ext_getc(FILE *stream);
QBGL_API void *_gl_ext_malloc(uint32_t size);
QBGL_API int _gl_ext_ungetc(int byte, FILE *stream);
QBGL_API int _gl_ext_putenv(char *assignment);
QBGL_API int _gl_ext_currdate(int16_t date[3]); /* month 1 to 12, day, year */
/* A fraction of a second (0), seconds, minutes, hours, day of the month, month 0 to 11, years since 1900, day of the week, day of
 * the year, daylight-saving flag, and two words of 0. */
QBGL_API int _gl_ext_currtime(int32_t time[12]);
QBGL_API void *_gl_ext_calloc(uint32_t count, uint32_t size);
QBGL_API void *_gl_ext_realloc(void *pointer, uint32_t size);

/* The defaults, for replacements that chain to them: libc's functions, the context itself as the error's address, and local
 * time. */
QBGL_API char *gl_ext_getenv(const char *name);
QBGL_API int *gl_ext_errno(void *ctx);
QBGL_API int gl_ext_feof(FILE *stream);
QBGL_API int gl_ext_ferror(FILE *stream);
QBGL_API int gl_ext_fgetc(FILE *stream);
QBGL_API char *gl_ext_fgets(char *buffer, uint32_t size, FILE *stream);
QBGL_API FILE *gl_ext_fopen(const char *path, const char *mode);
QBGL_API void gl_ext_free(void *pointer);
QBGL_API int gl_ext_fseek(FILE *stream, int32_t offset, int whence);
QBGL_API long gl_ext_ftell(FILE *stream);
QBGL_API uint32_t gl_ext_fwrite(const void *buffer, uint32_t size, uint32_t count, FILE *stream);
QBGL_API int gl_ext_getc(FILE *stream);
QBGL_API void *gl_ext_malloc(uint32_t size);
QBGL_API int gl_ext_ungetc(int byte, FILE *stream);
QBGL_API int gl_ext_putenv(char *assignment);
QBGL_API int gl_ext_currdate(int16_t date[3]);
QBGL_API int gl_ext_currtime(int32_t time[12]);
QBGL_API void *gl_ext_calloc(uint32_t count, uint32_t size);
QBGL_API void *gl_ext_realloc(void *pointer, uint32_t size);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 17. Messages, memory, object-file tokens, lists
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Reads the switches VRNLOG ("on" in any case: messages are appended to vrn.log in the current directory) and VRNDEBUG ("on" or
 * "On": messages are echoed to standard output). gl_message calls it once by itself. The result has no meaning. */
QBGL_API int gl_init_debug(void);

/* Reports a message, a line without its newline, to the log and the echo where they are switched on, and to the function that
 * gl_set_log has named. */
QBGL_API void gl_message(const char *text);

/* Gives all messages to a function of the host, whether log and echo are on or not: which files were opened or not found, what was
 * wrong with one, why a conversion stopped. `text` is the library's, valid during the call, and may end in a newline; `data` is
 * what was given here. Null takes the function away. It is called in whatever thread uses the library, must not call the library
 * itself, and is set before threads share it. */
typedef void (*gl_log_function)(const char *text, void *data);
QBGL_API void gl_set_log(gl_log_function function, void *data);

/* Reports a broken assertion on standard error and ends the process with status 1. */
QBGL_API void gl_assert_failed(const char *file, long line);

/* Closes pg_debug_file where a host has set it and raised pg_have_debug_file. */
QBGL_API void _gl_exit_utilities(void);
extern QBGL_API int32_t pg_have_debug_file;
extern QBGL_API FILE *pg_debug_file;

/* The allocation pair for all memory of the library (slots 13 and 8). Size 0 gives null; freeing null does nothing.
 * gl_destroystring frees a string that the library handed out. */
QBGL_API void *_gl_alloc_ptr(uint32_t size);
QBGL_API void _gl_free_ptr(void *pointer);
QBGL_API void gl_destroystring(void *string);

/* The number of digits of a value in a base of 2 or more, at least 1; the sign is not counted. */
QBGL_API int _gl_digits(int value, int base);
QBGL_API int _gl_udigits(unsigned value, unsigned base);

/* Adds an offset to the big-endian number in a descriptor; it wraps within `count` bytes. */
QBGL_API void _gl_desc_offset(const gl_desc *source, int offset, gl_desc *result);
/* 1 when counts and significant bytes are equal, otherwise 0. */
QBGL_API int _gl_desc_eq(const gl_desc *a, const gl_desc *b);
/* The descriptor's bytes as a number; 0 for a count of 0. */
QBGL_API gl_wchar _gl_desc_to_gl_wchar(const gl_desc *desc);

/* An environment variable through slot 0; null also for an empty value. The string is the environment's. */
QBGL_API char *_gl_get_env_var(const char *name);

/* Token readers of object files. They set no error; at the end of the file they return what they have. */
QBGL_API void _gl_skip_whitespace(FILE *stream);
QBGL_API void _gl_skip_space_if_needed(FILE *stream); /* one blank at most */
QBGL_API int _gl_skip_nl(FILE *stream);               /* 1 when a newline was consumed, otherwise 0 */
QBGL_API unsigned _gl_get_hex_digit(FILE *stream);    /* any byte is consumed; one that is no digit counts as 0 */
QBGL_API unsigned _gl_get_hex_byte(FILE *stream);     /* two digits */
QBGL_API unsigned _gl_get_hex(FILE *stream, int n);   /* n digits, at most 8 */
QBGL_API long _gl_get_int(FILE *stream);              /* one optional blank, sign and digits, saturating */
QBGL_API double _gl_get_dbl(FILE *stream);
/* A word of at most size - 1 bytes. Returns 0 when white space follows it, otherwise -1; the buffer is always terminated. */
QBGL_API int _gl_get_str(char *buffer, int size, FILE *stream);

/* Powers: unsigned with wrap-around (1 for an exponent below 1), and real with either sign of the exponent. */
QBGL_API unsigned _gl_ipow(unsigned base, int exponent);
QBGL_API double _gl_fpow(double base, int exponent);

/* A doubly linked list; each node owns a copy of its data. */
typedef struct gl_list_node {
    struct gl_list_node *next, *prev;
    void *data;
} gl_list_node;
typedef struct gl_list {
    gl_list_node *first, *last;
} gl_list;
QBGL_API void _gl_list_create(gl_list *list);
/* Deletes every node. The data copies stay: free them first, with _gl_free_ptr, where nobody else will. */
QBGL_API void _gl_list_dispose(gl_list *list);
/* Inserts a copy of `size` bytes before a node, or at the end when that is null. Returns the node, or null when memory is out. */
QBGL_API gl_list_node *_gl_list_insert(const void *data, uint32_t size, gl_list_node *before, gl_list *list);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 18. The byte-sequence table
 *
 * Maps sequences of 1 to 4 bytes, none a prefix of another, to entries of one fixed size. It finds, in one walk, how long the
 * character at a position is and what its entry is. ctx may be null in the retrieval functions.
 * ------------------------------------------------------------------------------------------------------------------------------ */

#define GL_MULTI_COMPRESSED 2 /* flag: equal arrays are shared, and the text form says so */

/* Reads one entry of element_size bytes from an object file: 0, or -1. */
typedef int (*gl_entry_reader)(FILE *stream, void *destination, uint32_t element_size);
/* Writes one entry: 0, or -1. */
typedef int (*gl_entry_writer)(FILE *stream, const void *entry);

/* Creates an empty table. The default entry is copied. Null when memory is out. Release with _gl_free_multi (null is fine). */
QBGL_API gl_multi *_gl_create_multi(uint32_t element_size, int32_t flags, const void *default_entry);
QBGL_API void _gl_free_multi(gl_multi *table);

/* Adds a key of 1 to 4 bytes, with a copy of its entry; a null entry leaves the default. A key that is there already gets the new
 * entry. Returns 0, or -1: the key is a prefix of another or the reverse, memory is out (the call can be repeated), or the table is
 * compressed. */
QBGL_API int _gl_insert_desc_multi(const gl_desc *key, const void *entry, gl_multi *table);

/* The entry of the character at `bytes`, owned by the table, or null with GL_EILSEQ. *length receives the number of bytes examined.
 * The _nl form has no length; the _nv form returns the length, 0 for a bad sequence. */
QBGL_API void *_gl_retrieve_text_multi(const char *bytes, const gl_multi *table, int *length, void *ctx);
QBGL_API void *_gl_retrieve_text_multi_nl(const char *bytes, const gl_multi *table, void *ctx);
QBGL_API int _gl_retrieve_text_multi_nv(const char *bytes, const gl_multi *table, void *ctx);
/* The same with at most `limit` bytes: GL_EINVAL when the character needs more or the limit is below 1. */
QBGL_API void *_gl_retrieve_text_multi_limit(const char *bytes, const gl_multi *table, int limit, int *length, void *ctx);
QBGL_API void *_gl_retrieve_text_multi_limit_nl(const char *bytes, const gl_multi *table, int limit, void *ctx);
/* The entry of exactly this key, or null. */
QBGL_API void *_gl_retrieve_desc_multi(const gl_desc *key, const gl_multi *table);
/* The entry of a little-endian unit of 4 bytes (source lengths of `context` both 4) or 2 bytes; GL_EINVAL when the limit is
 * smaller. */
QBGL_API void *_gl_retrieve_little_endian_unicode_limit(const char *bytes, const gl_multi *table, int limit, gl_cv *context);
/* The entry of a wide character, or null with GL_EILSEQ. */
QBGL_API void *_gl_retrieve_wchar_multi_nl(void *ctx, gl_wchar value, const gl_multi *table);

/* The longest and shortest key (0 and 4 for an empty table, 0 and 1 for that of a category without data), the error of the last
 * read, and the number of nodes. */
QBGL_API int _gl_multi_max_length(const gl_multi *table);
QBGL_API int _gl_multi_min_length(const gl_multi *table);
QBGL_API int _gl_multi_err(const gl_multi *table);
QBGL_API int _gl_multi_node_count(const gl_multi *table);

/* Lets equal arrays share their memory. Returns 0, or -1 when memory is out (the table is then as it was). */
QBGL_API int _gl_compress_multi(gl_multi *table);

/* Reads the text form of either kind into a fresh table. Returns 0, or -1 with _gl_multi_err: GL_ETABLELEN when the table declares
 * keys longer than `longest_key`, otherwise GL_ENOMEM (out of memory or malformed). */
QBGL_API int _gl_fscanf_multi(FILE *stream, gl_multi *table, int longest_key, gl_entry_reader reader);
/* Writes the text form. Returns 0, or -1. The table is changed by it: one that is to be compressed becomes so, and in one of single
 * bytes every byte becomes a key, with the default entry where it had none, because that is what the form can say. */
QBGL_API int _gl_fprintf_multi(FILE *stream, gl_multi *table, gl_entry_writer writer);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 19. The Unicode extension library
 *
 * An optional shared object, listed in vrn/etc/dllregistry, that takes over Unicode locales and conversions; qbgl_extension.h tells
 * what it provides. It is used when the host allows it with gl_useglu and the environment asks for it with GL_USEGLU (1 or 2).
 * Loading it is one thread's work for all of them: neither the extension nor a function of the host's that is called meanwhile may
 * open a locale or a conversion.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* 1 allows the extension, 2 also tolerates a library that cannot be loaded (with GL_USEGLU=2), anything else forbids it. */
QBGL_API void gl_useglu(int value);

/* Loads the extension, its data and its locale map, once; conversions and locales call it by themselves. Returns 0 (also when the
 * extension is not wanted), or -1: GL_ENOFILE (QUORBANEDIR, registry, library, entry point or data file missing), GL_ENOMEM, or the
 * extension's own status. The _dll form only loads the libraries and their entry points. ctx may be null. */
QBGL_API int gl_init_glu(void *ctx);
QBGL_API int gl_init_glu_dll(void *ctx);
/* Releases what gl_init_glu acquired, once it succeeded: without a locale map nothing happens, and libraries of a failed attempt
 * stay open for the next. What it served fails from then on (GL_ENODATA). Returns 0, or -1 when a library could not be closed. */
QBGL_API int gl_unload_glu(void);

/* A library opened with the platform's loader. The record is the host's: all zero before the first call, and its texts are the
 * host's to free, with gl_destroystring, when it is done with it (qbnx_dlclose frees the path, but not the error's text). */
typedef struct qbnx_library {
    int32_t error;    /* -1 after an error of the loader, -2 after an internal one */
    char *error_text; /* of the last error, or null */
    void *handle;
    char *path; /* a copy, or null */
} qbnx_library;

/* Opens a library; flags -99 mean RTLD_NOW | RTLD_GLOBAL. 0, or -1 with the error's text in the record. */
QBGL_API int qbnx_dlopen(qbnx_library *library, const char *path, int flags);
/* Stores the address of a symbol, null when it is missing. 0 or -1. */
QBGL_API int qbnx_dlsym(qbnx_library *library, void **pointer, const char *name);
/* Takes the loader's error text over into the record. Returns libc's errno. */
QBGL_API int qbnx_dlerror(qbnx_library *library);
/* Closes a library and frees its path. 0, or the loader's failure. */
QBGL_API int qbnx_dlclose(qbnx_library *library);

extern QBGL_API int32_t glu_capable;     /* what gl_useglu set */
extern QBGL_API int32_t unicode_collate; /* 1 while the extension is active */
extern QBGL_API void *pMap;              /* the extension's locale map; not null: initialised */
extern QBGL_API void *glu_cudata_t;      /* the extension's data */
extern QBGL_API qbnx_library handleglu[4];

/* Forwarding to the extension; call them only while it is active. */
QBGL_API void *glx_gluMap(void);
QBGL_API void *glx_gluLoc(gl_locale *locale, int i); /* the handle's extension slot of category i */
QBGL_API const char *glx_icuErrorName(int code);
QBGL_API void *glx_getICULocName(void *x); /* null for null */
QBGL_API void *glx_getICUCvtName(void *x); /* null for null */
QBGL_API void *glx_lc_open(void *a, void *b, void *c);
QBGL_API void *glx_lc_close(void *a);
QBGL_API int glx_ucs32tombs(void *a, void *b, int c, void *d, int e, void *f);
QBGL_API int glx_ucs32toucs(void *a, void *b, int c, void *d, int e);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 20. The handle's records, parts of loading, the inline functions
 *
 * What a host compiles in when it calls an inline function: the handle from its beginning to `glu_flag`, with the records therein,
 * and gl_codeset_maps. Their layout is part of the binary interface (docs/abi.md). Hosts that call functions need none of it.
 * ------------------------------------------------------------------------------------------------------------------------------ */

typedef struct gl_class_name {
    int32_t bit;
    char *name;
} gl_class_name;

typedef struct gl_case_pair {
    gl_wchar upper, lower; /* 0: no mapping in that direction */
} gl_case_pair;

/* What loading derives from the tables so that the short forms below answer for most characters without a call. A wide character's
 * low byte is its place in a page, the bytes above it are the page's number; the longest characters are in no page. */
typedef struct gl_character_cell {
    uint16_t classes;   /* class mask */
    uint16_t case_pair; /* index into case_pairs; 0: no case */
} gl_character_cell;

typedef struct gl_codeset_maps {
    uint32_t page_count;
    const uint16_t *page_blocks;    /* of each page the number of its 256 cells */
    const gl_character_cell *cells; /* those of a value that is no character are zero */
    uint8_t single[256];            /* not 0 for each byte that is a character */
    /* Either may be null. 65536 bytes, not 0 for each character: of two bytes, by its value; of three, the first E0 to EF and the
     * others 80 to BF, by the 4, 6 and 6 bits behind those. */
    const uint8_t *pairs, *triples;
} gl_codeset_maps;

typedef struct gl_ctype_info {
    gl_multi *codeset_table; /* every character; the value is its 16-bit class mask */
    int32_t class_count;
    gl_class_name *class_list;
    gl_multi *case_table;     /* a character's 16-bit index into case_pairs; 0: no case */
    gl_case_pair *case_pairs; /* entry 0 is unused, and zero */
    int32_t pair_count;
    const gl_codeset_maps *maps; /* or null: the tables alone serve */
} gl_ctype_info;

typedef struct gl_expansion {
    int32_t count;
    gl_wchar *chars;
} gl_expansion;

typedef struct gl_collating_element {
    int32_t count;
    gl_wchar *chars;
    uint16_t row;
} gl_collating_element;

typedef struct gl_equivalence {
    char *member, *representative;
} gl_equivalence;

#define GL_MAX_PASSES 8

/* gl_collate_info.directions: a pass with the bit GL_PASS_FORWARD runs forward, any other backward. */
#define GL_PASS_FORWARD 1
#define GL_PASS_BACKWARD 2 /* what a compiler writes for the latter */

/* gl_collate_info.weights: 1, a weight of 14 bits, the index of an expansion, or a special weight, which orders characters that
 * share it by their code values, or those of some rows by their ranks. */
#define GL_WEIGHT_IGNORED 1
#define GL_WEIGHT_VALUE 0x3fff
#define GL_WEIGHT_EXPANSION 0x4000 /* without GL_WEIGHT_SPECIAL: the bits of GL_WEIGHT_VALUE are an index of the expansions */
#define GL_WEIGHT_SPECIAL 0x8000

/* gl_collate_info.kind; 0 before there are rules. */
enum { GL_COLLATION_AS_SPECIFIED = 1, GL_COLLATION_THAI = 2, GL_COLLATION_EXTENSION = 3 };

typedef struct gl_collate_info {
    gl_multi *character_table; /* a character's 16-bit row */
    int32_t pass_count, row_count, expansion_count, element_count, fifth_count;
    int32_t directions[GL_MAX_PASSES];
    uint16_t *weights[GL_MAX_PASSES]; /* row_count + 1 entries each */
    gl_expansion *expansions;
    gl_collating_element *elements;
    int32_t direct;                                     /* 1: rows given literally, code-value order */
    gl_expansion **expansion_candidates[GL_MAX_PASSES]; /* 256 entries each, by one-byte character */
    int32_t *element_candidates;                        /* 256 flags, or null */
    int32_t kind;
    const struct gl_collation_maps *maps; /* lookup arrays derived while loading, or null */
} gl_collate_info;

/* The ranks of characters in the rows 1 to row_count. */
typedef struct gl_ranks {
    gl_multi *table; /* 16-bit values; null for no rows */
    int32_t row_count;
} gl_ranks;

/* A text in the locale's codeset, ended by four zero bytes, and the same as wide characters. */
typedef struct gl_text {
    char *bytes;
    gl_wchar *wide;
} gl_text;

typedef struct gl_grouping {
    int32_t count; /* 0 to 15 */
    int32_t sizes[16];
} gl_grouping;

typedef struct gl_numeric_info {
    gl_text decimal_point, thousands_sep;
    gl_grouping grouping;
    gl_text positive_sign, negative_sign;
} gl_numeric_info;

#define GL_NOT_AVAILABLE 0x7fffffff

typedef struct gl_monetary_info {
    gl_text int_curr_symbol, currency_symbol, mon_decimal_point, mon_thousands_sep;
    gl_grouping mon_grouping;
    gl_text positive_sign, negative_sign;
    int32_t int_frac_digits, frac_digits, p_cs_precedes, p_sep_by_space, n_cs_precedes, n_sep_by_space, p_sign_posn,
        n_sign_posn; /* GL_NOT_AVAILABLE where the locale does not say */
} gl_monetary_info;

/* Where the currency symbol and the sign of an amount stand; GL_NOT_AVAILABLE where the locale does not say. */
typedef struct gl_money_layout {
    int32_t p_cs_precedes, p_sep_by_space, n_cs_precedes, n_sep_by_space, p_sign_posn, n_sign_posn;
} gl_money_layout;

typedef struct gl_messages_info {
    gl_text yesexpr, noexpr, yesstr, nostr;
} gl_messages_info;

typedef struct gl_era {
    int32_t direction, offset, start_day, start_month, start_year, end_day, end_month, end_year;
    int32_t end_flag; /* 0 the end date counts, 1 open towards the future, -1 towards the past */
    char *name, *format, *third;
    gl_wchar *w_third;
} gl_era;

typedef struct gl_text_list {
    char **bytes;
    gl_wchar **wide;
    int32_t count;
} gl_text_list;

typedef struct gl_time_info {
    int32_t calendar; /* 1 Gregorian, 2 Hebrew, 3 Islamic, 4 Arabic */
    char *abday[7];
    gl_wchar *w_abday[7];
    char *day[7];
    gl_wchar *w_day[7];
    gl_text_list abmon, mon;
    char *am, *pm;
    gl_wchar *w_am, *w_pm;
    gl_text_list alt_digits;
    void *era_names, *era_formats, *mon_names, *abmon_names, *day_names, *abday_names, *am_pm_names, *alt_digit_names;
    char *d_fmt, *d_t_fmt, *t_fmt, *t_fmt_ampm, *era_d_fmt, *era_t_fmt, *era_d_t_fmt;
    gl_wchar *w_d_fmt, *w_d_t_fmt, *w_t_fmt, *w_t_fmt_ampm, *w_era_d_fmt, *w_era_t_fmt, *w_era_d_t_fmt;
    char **era_strings;
    gl_era *eras;
    int32_t era_count;
    char *joined_eras;
    gl_wchar *w_joined_eras;
    char *joined_alt_digits;
    gl_wchar *w_joined_alt_digits;
} gl_time_info;

/* What gl_langinfo tells beyond the records; null where the category is. */
typedef struct gl_info_texts {
    char *crncystr, *era, *alt_digits;
} gl_info_texts;

/* The handle. What follows glu_flag is for the library alone, and may grow. */
struct gl_locale {
    int32_t error; /* number of the last failure, 0 for none */
    int (*mbscoll)(gl_locale *, const char *, const char *);
    int (*mbfscoll)(gl_locale *, const char *, int len1, const char *, int len2);
    int (*mbsxfrm)(gl_locale *, char *out, const char *s, int capacity);
    int (*mbstowcs)(gl_locale *, gl_wchar *dst, const char *src, int n);
    int (*mbfstowcfs)(gl_locale *, gl_wchar *dst, const char *src, int len, int n);
    double case_growth, coll_growth; /* output bytes an input byte, at most */
    uint8_t *upper, *lower;          /* 256 entries each for a single-byte codeset, or null */
    uint16_t *classes;
    int32_t single_byte, coll_extras;
    char **all_one;              /* characters ignored on every pass, null-terminated list */
    gl_equivalence *equivalence; /* ended by a pair whose member is null */
    gl_ctype_info ctype;
    gl_collate_info collate;
    gl_numeric_info numeric;
    gl_monetary_info monetary;
    gl_messages_info messages;
    gl_time_info time;
    gl_lconv conv;
    char codeset_name[8][21]; /* by category number */
    char locale_name[8][32];  /* a name of 32 characters has no terminator */
    void *glu_handle[8];
    int32_t glu_flag[8];
    int32_t shared[8];                      /* 1: the category's data belongs to the source of gl_copy_cat */
    char order_fingerprint[17];             /* empty while LC_COLLATE is not loaded */
    const struct gl_order_maps *order_maps; /* of the order for indexes, or null: by code values */
    gl_ranks ranks;                         /* of collate */
    struct gl_time_more *time_more;         /* what LC_TIME has beyond `time`; null while it is not loaded */
    gl_money_layout int_money;              /* the layout of amounts with the international symbol */
    gl_info_texts info;                     /* of monetary and time */
    char **zone_names;                      /* one block, of gl_set_zone_names */
    int32_t zone_count;
    uint32_t glu_load[8]; /* the load of the extension library that gave glu_handle */
};

/* Parts of loading, for tools that read objects themselves: the empty state of a record; the section of an object, behind its
 * marker line, into a record (0, or -1 with *error, an address that monetary sections insist on); and sharing a record's
 * pointers. */
QBGL_API void _gl_init_numeric(gl_numeric_info *info);
QBGL_API void _gl_init_monetary(gl_monetary_info *info);
QBGL_API void _gl_init_messages(gl_messages_info *info);
QBGL_API void _gl_init_ltime(gl_time_info *info);
QBGL_API int _gl_read_numeric(FILE *stream, gl_numeric_info *info, int32_t *error);
QBGL_API int _gl_read_monetary(FILE *stream, gl_monetary_info *info, int32_t *error);
QBGL_API int _gl_read_messages(FILE *stream, gl_messages_info *info, int32_t *error);
QBGL_API int _gl_read_time(FILE *stream, gl_time_info *info, int32_t *error);
QBGL_API void _gl_copy_numeric(gl_locale *target, gl_locale *source);
QBGL_API void _gl_copy_monetary(gl_locale *target, gl_locale *source);
QBGL_API void _gl_copy_messages(gl_locale *target, gl_locale *source);
QBGL_API int _gl_read_gl_wchar(FILE *stream, gl_wchar *value); /* eight hexadecimal digits; 0 */

static inline int gl_mbscoll(gl_locale *locale, const char *s1, const char *s2) { return locale->mbscoll(locale, s1, s2); }
static inline int gl_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return locale->mbfscoll(locale, s1, len1, s2, len2);
}
/* As gl_wcsxfrm, of multibyte text. */
static inline int gl_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity) {
    return locale->mbsxfrm(locale, out, s, capacity);
}
static inline int gl_wcscoll(gl_locale *locale, const gl_wchar *s1, const gl_wchar *s2) { return gl_full_wcscoll(locale, s1, s2); }
static inline int gl_mbstowcs(gl_locale *locale, gl_wchar *dst, const char *src, int n) {
    return locale->mbstowcs(locale, dst, src, n);
}
static inline int gl_mbfstowcfs(gl_locale *locale, gl_wchar *dst, const char *src, int len, int n) {
    return locale->mbfstowcfs(locale, dst, src, len, n);
}
static inline int gl_mbtowc(gl_locale *locale, gl_wchar *pwc, const char *s, int n) {
    const gl_codeset_maps *maps = locale->ctype.maps;
    if (maps && locale->glu_flag[GL_CAT_CTYPE] == 0 && s && n > 0) {
        const unsigned char byte = (unsigned char)*s;
        if (maps->single[byte]) {
            if (byte != 0) {
                *pwc = byte;
                return 1;
            }
        } else if (maps->pairs && n > 1) {
            const unsigned pair = (unsigned)byte << 8 | (unsigned char)s[1];
            if (maps->pairs[pair]) {
                *pwc = pair;
                return 2;
            }
        } else if (maps->triples && n > 2 && byte > 0xE0 && byte < 0xF0) {
            const unsigned second = (unsigned char)s[1] ^ 0x80u, third = second < 0x40 ? (unsigned char)s[2] ^ 0x80u : 0x40u;
            if (third < 0x40 && maps->triples[(byte & 0xFu) << 12 | second << 6 | third]) {
                *pwc = (unsigned)byte << 16 | (second | 0x80) << 8 | third | 0x80;
                return 3;
            }
        }
    }
    return gl_full_mbtowc(locale, pwc, s, n);
}
static inline int gl_wctomb(gl_locale *locale, char *s, gl_wchar wc) { return gl_full_wctomb(locale, s, wc); }
static inline int gl_mblen(gl_locale *locale, const char *s, int n) { return gl_full_mblen(locale, s, n); }
static inline char *gl_mbsnext(gl_locale *locale, const char *s) {
    const gl_codeset_maps *maps = locale->ctype.maps;
    if (maps && locale->glu_flag[GL_CAT_CTYPE] == 0 && s) {
        const unsigned char byte = (unsigned char)*s;
        if (maps->single[byte]) return (char *)s + 1;
        if (maps->pairs) {
            if (maps->pairs[(unsigned)byte << 8 | (unsigned char)s[1]]) return (char *)s + 2;
        } else if (maps->triples && byte > 0xE0 && byte < 0xF0) {
            const unsigned second = (unsigned char)s[1] ^ 0x80u, third = second < 0x40 ? (unsigned char)s[2] ^ 0x80u : 0x40u;
            if (third < 0x40 && maps->triples[(byte & 0xFu) << 12 | second << 6 | third]) return (char *)s + 3;
        }
    }
    return gl_full_mbsnext(locale, s);
}
static inline char *gl_mbsprev(gl_locale *locale, const char *start, const char *pos) {
    return gl_full_mbsprev(locale, start, pos);
}
static inline gl_wchar gl_towupper(gl_locale *locale, gl_wchar wc) { return _gl_im_towupper(locale, wc); }
static inline gl_wchar gl_towlower(gl_locale *locale, gl_wchar wc) { return _gl_im_towlower(locale, wc); }
static inline unsigned gl_iswctype(gl_locale *locale, gl_wchar wc, unsigned mask) {
    const gl_codeset_maps *maps = locale->ctype.maps;
    if (maps && locale->glu_flag[GL_CAT_CTYPE] == 0 && wc >> 8 < maps->page_count) {
        const unsigned classes = maps->cells[maps->page_blocks[wc >> 8] * 256u + (wc & 0xFF)].classes;
        if (classes != 0) return classes & mask;
    }
    return _gl_im_iswctype(locale, wc, mask);
}
static inline unsigned gl_iswalpha(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_ALPHA); }
static inline unsigned gl_iswupper(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_UPPER); }
static inline unsigned gl_iswlower(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_LOWER); }
static inline unsigned gl_iswdigit(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_DIGIT); }
static inline unsigned gl_iswspace(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_SPACE); }
static inline unsigned gl_iswcntrl(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_CNTRL); }
static inline unsigned gl_iswpunct(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_PUNCT); }
static inline unsigned gl_iswgraph(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_GRAPH); }
static inline unsigned gl_iswprint(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_PRINT); }
static inline unsigned gl_iswxdigit(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_XDIGIT); }
static inline unsigned gl_iswblank(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_BLANK); }
static inline unsigned gl_iswalnum(gl_locale *locale, gl_wchar wc) { return gl_iswctype(locale, wc, GL_CLASS_ALNUM); }

/* ------------------------------------------------------------------------------------------------------------------------------
 * 21. An order for indexes
 *
 * A total order of all texts, valid or not, that a database index can stand on. The rules are those of section 6, and where both
 * texts are characters alone, the result is that of gl_mbfscoll wherever that tells the two apart. Beyond it,
 *   - no bytes are an error: what is no character counts byte by byte, behind all characters, by its value (in a codeset whose
 *     shortest character has more than one byte, as many bytes at a time as that has);
 *   - a character that the rules do not have comes behind those that they have, by its code value;
 *   - the sign of a comparison is that of memcmp on the two keys, the shorter first, in every locale: also where code values are
 *     compared, and for a handle without rules, or a null one, under which bytes are compared. Where the extension
 *     library orders, the passes are those of its rules; bytes are compared where it has no fingerprint. Once it is unloaded, such
 *     a handle has no order: 0 from a comparison or -1 from a key, with GL_ENODATA.
 * The order and the keys are the same on every machine that has the fingerprint. A host that stores either stores
 * gl_order_fingerprint (section 3), too.
 *
 *   len      bytes of the text, NUL among them an ordinary character; -1: up to the terminator. Each text has its own. Any other
 *            negative length, and a null text, count as an empty text.
 *   passes   n > 0: the first n passes of the rules count and nothing else (1: letters alone, neither case nor accents); -1: all
 *            passes; 0: all passes, then the bytes themselves, so that only identical texts are equal. An order by code values is
 * one pass. Any other negative number is -1.
 *
 * Memory is asked for by texts of more than 127 characters under th_th@dict, and by the extension library, which without it are
 * GL_ENOMEM, and 0 from a comparison or -1 from a key; and where a pass runs backward, which without it takes more time.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* -1, 0 or 1. */
QBGL_API int gl_order_compare(gl_locale *locale, const char *s1, int len1, const char *s2, int len2, int passes);

/* Writes at most `room` bytes of a text's key; the size of the whole key, as far as an int reaches, whatever the room is. The room
 * is the library's until the call returns: bytes behind the key may be overwritten, never beyond the room. A key may hold any byte.
 * A cut key is a prefix: keys of one room compare right where they differ. The key of n passes is a prefix of that of more. The
 * form of the keys stands in docs/keys.md. */
QBGL_API int gl_order_key(gl_locale *locale, const char *s, int len, int passes, unsigned char *key, int room);

/* The first `room` bytes of the key, in time that follows the room and not the text. What the first pass ignores is read as far as
 * needed, and so is a text of -1 up to its terminator; under th_th@dict, and where the first pass runs backward, all of the text
 * is. Returns the bytes written. */
QBGL_API int gl_order_key_part(gl_locale *locale, const char *s, int len, int passes, unsigned char *key, int room);

/* The keys of `count` texts, text i being data[offsets[i]] up to data[offsets[i + 1]], one behind the other into `keys`; key i lies
 * from key_offsets[i] to key_offsets[i + 1]. Both arrays have count + 1 numbers, the first of key_offsets is 0. Returns how many
 * keys fitted as a whole: key_offsets is set up to the end of the last of them, and the rest can be asked for from there. When
 * memory is out it ends in the same way, with GL_ENOMEM. */
QBGL_API int gl_order_keys(gl_locale *locale, int count, const char *data, const int32_t *offsets, int passes, unsigned char *keys,
                           int room, int32_t *key_offsets);

/* Where the keys of all texts lie that begin with the bytes of a prefix: in at most GL_ORDER_RANGES ranges, which do not overlap
 * and are in order. In Czech, `c` has two, around those of `ch`; where the extension library orders, there is one, of all
 * keys. Other texts may lie there, too: the host looks at what it finds.
 *
 * Range i begins with the key at bounds[bound_offsets[2 * i]], included, and ends before the one at bounds[bound_offsets[2 * i +
 * 1]]; each lies up to where the next begins, and an empty last one says that there is no end. bound_offsets has room for 2 *
 * GL_ORDER_RANGES + 1 numbers. The ranges hold for keys of any passes. Returns their number. 0 says that `room` bytes are too few;
 * bound_offsets[0] is then a number that is enough, or 0 where memory is out. */
#define GL_ORDER_RANGES 8
QBGL_API int gl_order_ranges(gl_locale *locale, const char *prefix, int len, unsigned char *bounds, int room,
                             int32_t *bound_offsets);

/* The key of a text's first pass: of its letters alone, so that texts which differ in case and accents only have the same. As
 * gl_order_key for one pass, but -1 with GL_E2BIG for a key that is cut. */
QBGL_API int gl_mbsprimary(gl_locale *locale, const char *s, int len, unsigned char *key, int room);

/* Between which keys all texts lie that begin with a prefix: what an optimiser makes of LIKE 'prefix%', to look up two bounds in a
 * histogram or to walk one piece of an index. Where gl_order_ranges tells several pieces, this is from the first to the end of the
 * last, so more texts lie in it.
 *   least     receives the key that no such text is before; an empty one where the prefix is
 *   greatest  receives the key that all such texts are before; an empty one says that nothing is behind them
 *   room      bytes of each
 * Both hold for keys of any passes. The result is the number of ranges between the two, 1 where all between them is one piece, or
 * -1 with GL_E2BIG (then *least_size is a room that is enough for each) or GL_ENOMEM. */
QBGL_API int gl_mbsbounds(gl_locale *locale, const char *prefix, int len, unsigned char *least, int *least_size,
                          unsigned char *greatest, int *greatest_size, int room);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 22. Dates and times as text
 *
 *     gl_tm tm = {0};
 *     char text[100];
 *     if (gl_mbsptime(loc, "3. 10. 2024", "%d. %m. %Y", &tm) == NULL) ... gl_errno(loc) ...
 *     if (gl_mbsftime(loc, text, sizeof text, "%A, %e. %B %EY", &tm) < 0) ... gl_errno(loc) ...
 *
 * Formats are those of POSIX's strftime and strptime, and what the platform adds, in the locale's codeset:
 *
 *     % FLAGS WIDTH [Q] [E or O] CONVERSION
 *
 *   flags        _ fills with spaces, 0 with zeros, - not at all; + fills with zeros and puts a "+" before a year (%C %F %G %Y)
 *                with more digits than usual; ^ makes capitals, # the other case
 *   width        the least length, in bytes of multibyte and characters of wide text
 *   E            the eras of the locale (%EC %Ex %EX %Ec %Ey %EY); what it lacks is as without E
 *   O            alternative digits before numbers (not Y s z), and before b, B and h the month's name as it stands by itself
 *   Q            the Gregorian calendar in a locale that has another one
 *   conversions  a A b B c C d D e F g G h H I j k l m M n p P r R s S t T u U V w W x X y Y z Z + %
 *
 *   %+ is date and time with the zone; a "+" before what could be a conversion is the flag. %s counts the seconds from 1970, %z and
 *   %Z tell gmtoff (seconds east of Greenwich; nothing for a negative isdst) and the name of zone.
 *
 * A gl_tm holds a Gregorian date. In a locale with a calendar of its own, the conversions b B C d e h j m y Y convert it; %D and
 * %F, weeks and eras stay Gregorian. Nothing is allocated, and the time is in proportion to format, text and room.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Writes a date. `room` counts bytes or wide characters, the terminator among them. The length without it, or -1: GL_E2BIG (the
 * output is then what fits, in whole characters), GL_EINVAL (no such conversion; a field that a conversion needs is out of its
 * range: sec 0 to 60, wday 0 to 6, gmtoff within 100 hours; no such date in the locale's calendar), GL_EILSEQ (the format is not in
 * the codeset), GL_ENULLPTR, GL_ENODATA (no LC_TIME). After a failure the output holds what stood before, with its terminator. */
QBGL_API int gl_mbsftime(gl_locale *locale, char *out, int room, const char *format, const gl_tm *tm);
QBGL_API int gl_wcsftime(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, const gl_tm *tm);

/* Reads what a format says into *tm: the first character behind it, or null with *tm as it was. White space in the format stands
 * for any, numbers may have spaces before them, the case of names does not matter, and any form of a month's or day's name will do.
 * A number has as many digits as the conversion's largest or its width, the larger of both. %y alone is in 1969 to 2068, in
 * another calendar in the century of gl_alt_getcentury. What is not told stays; year, month and day, or others that tell a day,
 * give all of it, and wday follows from it. %s is taken to be at the gmtoff that the text tells or that stands in *tm.
 * The errors are GL_EINVAL for the format, GL_EILSEQ for a text that does not have it, GL_ERANGE for a day that there is not or for
 * a part of a date in the locale's own calendar, which needs year, month and day; GL_ENULLPTR, GL_ENODATA. */
QBGL_API const char *gl_mbsptime(gl_locale *locale, const char *text, const char *format, gl_tm *tm);
QBGL_API const gl_wchar *gl_wcsptime(gl_locale *locale, const gl_wchar *text, const gl_wchar *format, gl_tm *tm);

/* The names of the numbers 0 to count - 1 in `zone`, in the locale's codeset, for %Z; a null one is none. They are copied, belong
 * to this handle (a copy of it has none), and replace earlier ones; not while threads share it. 0, or -1: GL_EILSEQ, GL_ENEGCOUNT,
 * GL_ENULLPTR, GL_ENOMEM. */
QBGL_API int gl_set_zone_names(gl_locale *locale, const char *const *names, int count);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 23. Amounts of money as text
 *
 * Formats are those of POSIX's strfmon, in the locale's codeset, for one amount:
 *
 *     % FLAGS WIDTH #LEAST .FRACTION n     with the local symbol; i with the international one
 *
 *   flags     =f fills LEAST with the character f, ^ leaves separators out, + and ( choose the locale's signs or parentheses,
 *             ! leaves the symbol out, - puts spaces behind
 *   WIDTH     the least length, in bytes of multibyte and characters of wide text
 *   LEAST     digits before the point to leave room for; signs and symbols of positive and negative amounts are then aligned
 *   FRACTION  digits behind the point; without it those of the locale, or 2
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Writes an amount. A double is rounded by its exact value to the nearest decimal, of two to the even one; the text forms take a
 * decimal of any length (a sign, digits, a ".", digits, in ASCII), exactly, and round ties away from zero. `room`, result and
 * errors as gl_mbsftime has them; GL_ERANGE for an amount that is no number. Nothing is allocated. */
QBGL_API int gl_mbsfmon(gl_locale *locale, char *out, int room, const char *format, double amount);
QBGL_API int gl_wcsfmon(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, double amount);
QBGL_API int gl_mbsfmon_text(gl_locale *locale, char *out, int room, const char *format, const char *decimal);
QBGL_API int gl_wcsfmon_text(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, const char *decimal);

/* Reads an amount as formats write it: local or international symbol and one sign, before the digits or behind them, or
 * parentheses for a negative one, with spaces of any kind between; separators where the locale has them, or none ("1.5" where a
 * point separates thousands is 1, and "10-20" 10). *end (may be null) receives the place behind, `decimal` the amount as
 * text with a "." in ASCII, in `room` bytes. Returns its length, or -1: GL_EILSEQ (no amount), GL_E2BIG, GL_ENULLPTR. */
QBGL_API int gl_mbspmon(gl_locale *locale, const char *text, const char **end, char *decimal, int room);
QBGL_API int gl_wcspmon(gl_locale *locale, const gl_wchar *text, const gl_wchar **end, char *decimal, int room);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 24. Strings
 *
 * The string functions of C by characters: what is looked for is never found within a character (a 5C behind a lead byte is no
 * backslash), and copies end whole. Texts have terminators. `room` counts bytes of multibyte text and characters of wide text, the
 * terminator included; so do lengths, without it.
 *
 * Failures, -1 or null: GL_ENULLPTR (a null text), GL_EILSEQ (bytes that are no character; a search tells of those that it has to
 * tell apart, and passes over others), GL_ENEGCOUNT. Of wide text any value is taken, and of multibyte text in a single-byte
 * codeset any byte. Null alone says that nothing was found: gl_clear_errno before the call tells the two apart.
 *
 * The time is proportional to the texts, unless stated. Memory is asked for by sets of more than 32 characters above 255 only.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Copy a text, or append it to the one in `out`: the length of what is there afterwards. The second two take n characters at most,
 * and always terminate. -1 with GL_E2BIG when there is no room for all: as many whole characters as there is room for are then
 * there, and the terminator, as far as the room holds one; with GL_EILSEQ there is what stands before the bytes; with GL_EINVAL the
 * text in `out` runs past the room, and is left alone. The texts must not overlap. */
QBGL_API int gl_mbscpy(gl_locale *locale, char *out, int room, const char *s);
QBGL_API int gl_mbscat(gl_locale *locale, char *out, int room, const char *s);
QBGL_API int gl_mbsncpy(gl_locale *locale, char *out, int room, const char *s, int n);
QBGL_API int gl_mbsncat(gl_locale *locale, char *out, int room, const char *s, int n);
QBGL_API int gl_wcscpy(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s);
QBGL_API int gl_wcscat(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s);
QBGL_API int gl_wcsncpy(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s, int n);
QBGL_API int gl_wcsncat(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s, int n);
/* The characters in reverse: as gl_mbscpy, but a cut leaves out the beginning of s. Of bytes that are no character nothing. */
QBGL_API int gl_mbsrev(gl_locale *locale, char *out, int room, const char *s);
QBGL_API int gl_wcsrev(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s);

/* Where the first, or last, character c stands in s; `c` begins with it, and what is behind it does not matter. The terminator is a
 * character here. */
QBGL_API char *gl_mbschr(gl_locale *locale, const char *s, const char *c);
QBGL_API char *gl_mbsrchr(gl_locale *locale, const char *s, const char *c);
QBGL_API gl_wchar *gl_wcschr(gl_locale *locale, const gl_wchar *s, gl_wchar c);
QBGL_API gl_wchar *gl_wcsrchr(gl_locale *locale, const gl_wchar *s, gl_wchar c);
/* Where a text first stands in s; an empty one does at the beginning. */
QBGL_API char *gl_mbsstr(gl_locale *locale, const char *s, const char *needle);
QBGL_API gl_wchar *gl_wcsstr(gl_locale *locale, const gl_wchar *s, const gl_wchar *needle);

/* The length of the beginning of s that has characters of the set only, or none of them; where the first of them stands. GL_ENOMEM
 * is a failure of these, and of the next. */
QBGL_API int gl_mbsspn(gl_locale *locale, const char *s, const char *set);
QBGL_API int gl_mbscspn(gl_locale *locale, const char *s, const char *set);
QBGL_API char *gl_mbspbrk(gl_locale *locale, const char *s, const char *set);
QBGL_API int gl_wcsspn(gl_locale *locale, const gl_wchar *s, const gl_wchar *set);
QBGL_API int gl_wcscspn(gl_locale *locale, const gl_wchar *s, const gl_wchar *set);
QBGL_API gl_wchar *gl_wcspbrk(gl_locale *locale, const gl_wchar *s, const gl_wchar *set);
/* The next piece of a text between characters of the set, terminated in its place. The first call gets the text, the others a null
 * s; *state is the caller's to keep, and the set may change. Null when there is no more. */
QBGL_API char *gl_mbstok(gl_locale *locale, char *s, const char *set, char **state);
QBGL_API gl_wchar *gl_wcstok(gl_locale *locale, gl_wchar *s, const gl_wchar *set, gl_wchar **state);

/* Order by code value of the lower case of each character: -1, 0 or 1; of at most n characters in the second form. A failure is 0
 * with the number, as in section 6. */
QBGL_API int gl_mbscasecmp(gl_locale *locale, const char *a, const char *b);
QBGL_API int gl_mbsncasecmp(gl_locale *locale, const char *a, const char *b, int n);
QBGL_API int gl_wcscasecmp(gl_locale *locale, const gl_wchar *a, const gl_wchar *b);
QBGL_API int gl_wcsncasecmp(gl_locale *locale, const gl_wchar *a, const gl_wchar *b, int n);

/* SQL's LIKE: 1 when the whole text fits the pattern, 0 when it does not. "%" stands for any text, "_" for any character, and a
 * character behind the escape for itself. `escape` is one character, or null or empty for none. -1 with GL_EINVAL for an escape
 * that is longer, or that nothing follows in the pattern. Characters are compared as they are, without regard to the order of the
 * locale. The time is at most proportional to the text times what stands between two "%". */
QBGL_API int gl_mbsmatch(gl_locale *locale, const char *text, const char *pattern, const char *escape);
QBGL_API int gl_wcsmatch(gl_locale *locale, const gl_wchar *text, const gl_wchar *pattern, const gl_wchar *escape);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 25. What a locale tells by item
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The items of <langinfo.h>, with GL_ before their names. The numbers never change. Of days, months and their like those behind the
 * first follow one another: GL_DAY_1 + 6 is Saturday, and a calendar of 14 names of months goes up to GL_MON_1 + 13. */
enum gl_item {
    GL_CODESET = 1, /* the name of the codeset, as the locale's object has it */
    GL_RADIXCHAR = 2,
    GL_THOUSEP = 3,
    GL_CRNCYSTR = 4, /* the currency's symbol behind "-" where it precedes an amount, "+" where it follows */
    GL_YESEXPR = 5,
    GL_NOEXPR = 6,
    GL_YESSTR = 7,
    GL_NOSTR = 8,
    GL_INT_CURR_SYMBOL = 9,
    GL_CURRENCY_SYMBOL = 10,
    GL_MON_DECIMAL_POINT = 11,
    GL_MON_THOUSANDS_SEP = 12,
    GL_POSITIVE_SIGN = 13,
    GL_NEGATIVE_SIGN = 14,
    GL_D_T_FMT = 16,
    GL_D_FMT = 17,
    GL_T_FMT = 18,
    GL_T_FMT_AMPM = 19,
    GL_AM_STR = 20,
    GL_PM_STR = 21,
    GL_ERA = 22, /* the eras with ";" between them, each of six fields with ":" between them */
    GL_ERA_D_T_FMT = 23,
    GL_ERA_D_FMT = 24,
    GL_ERA_T_FMT = 25,
    GL_ALT_DIGITS = 26, /* with ";" between them */
    GL_DATE_FMT = 27,   /* date and time with the zone, what %+ writes */
    GL_DAY_1 = 32,      /* Sunday */
    GL_DAY_2 = 33,
    GL_DAY_3 = 34,
    GL_DAY_4 = 35,
    GL_DAY_5 = 36,
    GL_DAY_6 = 37,
    GL_DAY_7 = 38,
    GL_ABDAY_1 = 48,
    GL_ABDAY_2 = 49,
    GL_ABDAY_3 = 50,
    GL_ABDAY_4 = 51,
    GL_ABDAY_5 = 52,
    GL_ABDAY_6 = 53,
    GL_ABDAY_7 = 54,
    GL_MON_1 = 64, /* the first month of the locale's calendar */
    GL_MON_2 = 65,
    GL_MON_3 = 66,
    GL_MON_4 = 67,
    GL_MON_5 = 68,
    GL_MON_6 = 69,
    GL_MON_7 = 70,
    GL_MON_8 = 71,
    GL_MON_9 = 72,
    GL_MON_10 = 73,
    GL_MON_11 = 74,
    GL_MON_12 = 75,
    GL_ABMON_1 = 96,
    GL_ABMON_2 = 97,
    GL_ABMON_3 = 98,
    GL_ABMON_4 = 99,
    GL_ABMON_5 = 100,
    GL_ABMON_6 = 101,
    GL_ABMON_7 = 102,
    GL_ABMON_8 = 103,
    GL_ABMON_9 = 104,
    GL_ABMON_10 = 105,
    GL_ABMON_11 = 106,
    GL_ABMON_12 = 107,
    GL_ALTMON_1 = 128, /* names of months that stand by themselves; as GL_MON_1 where they are no others */
    GL_ALTMON_2 = 129,
    GL_ALTMON_3 = 130,
    GL_ALTMON_4 = 131,
    GL_ALTMON_5 = 132,
    GL_ALTMON_6 = 133,
    GL_ALTMON_7 = 134,
    GL_ALTMON_8 = 135,
    GL_ALTMON_9 = 136,
    GL_ALTMON_10 = 137,
    GL_ALTMON_11 = 138,
    GL_ALTMON_12 = 139,
    GL_ABALTMON_1 = 160,
    GL_ABALTMON_2 = 161,
    GL_ABALTMON_3 = 162,
    GL_ABALTMON_4 = 163,
    GL_ABALTMON_5 = 164,
    GL_ABALTMON_6 = 165,
    GL_ABALTMON_7 = 166,
    GL_ABALTMON_8 = 167,
    GL_ABALTMON_9 = 168,
    GL_ABALTMON_10 = 169,
    GL_ABALTMON_11 = 170,
    GL_ABALTMON_12 = 171,
    /* Numbers: one byte of this value, CHAR_MAX where the locale does not say. */
    GL_FIRST_WEEKDAY = 192, /* that the week of a calendar begins with: 1 Sunday to 7 Saturday */
    GL_FIRST_WORKDAY = 193,
    GL_WEEK_1STWEEK = 194,      /* the least days of the new year that make its first week */
    GL_INT_P_CS_PRECEDES = 200, /* of amounts with the international symbol, as gl_lconv has them of the others */
    GL_INT_P_SEP_BY_SPACE = 201,
    GL_INT_N_CS_PRECEDES = 202,
    GL_INT_N_SEP_BY_SPACE = 203,
    GL_INT_P_SIGN_POSN = 204,
    GL_INT_N_SIGN_POSN = 205
};

/* The text of an item, in the codeset of its category. Never null: what the locale does not have is an empty text, and so is what
 * is no item, with GL_EBADARG. It is the handle's, and stays until its category changes or the handle is released. */
QBGL_API const char *gl_langinfo(gl_locale *locale, int item);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 26. Printing and scanning
 *
 * The formats are POSIX's, in the locale's codeset, with the letters d i o u x X a A e E f F g G c C s S p and %, the modifiers hh
 * h l ll q j z t L, arguments by position (%2$s), and the flag ' for groups. %n, which writes where an argument points, is none of
 * them. Point, separator and groups are those of LC_NUMERIC; the host's own locale has no influence. %ls, %lc, %S and %C take wide
 * characters (gl_wchar), %s and %c of the wide functions multibyte text of the codeset and single bytes.
 *
 * A format with positions names all its arguments by them, from 1 to at most 4096 without a gap, and none with two types. Otherwise
 * it is bad, as is a width or precision above INT_MAX: GL_EINVAL.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Print into `room` bytes, or wide characters, terminator included: the length of the text without it. Widths and precisions count
 * bytes, or wide characters; but the precision of a text never ends inside a character, and with the flag w a width counts columns.
 * -1 with GL_E2BIG for a text that is cut, GL_EINVAL for a bad format, GL_EILSEQ for bytes or values that are no character,
 * GL_ENULLPTR for a null output or format. What was printed before a failure is there, whole characters with a terminator, as far
 * as the room has one. A null text is "(null)". Memory is asked for by more than 32 positions only: GL_ENOMEM. */
QBGL_API int gl_mbsprintf(gl_locale *locale, char *out, int room, const char *format, ...);
QBGL_API int gl_vmbsprintf(gl_locale *locale, char *out, int room, const char *format, va_list list);
QBGL_API int gl_wcsprintf(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, ...);
QBGL_API int gl_vwcsprintf(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, va_list list);

/* Scan a text: how many arguments were assigned. White space of the format passes over any, other characters have to be there, and
 * what does not fit ends the call; what is behind is no error. As the standard's sscanf with *, widths, sets of characters by code
 * value and %s %c of bytes, %ls %lc %l[ %S %C of wide characters, but
 *   - an integer out of range is the nearest of its type;
 *   - with the flag ' groups are taken where they are the locale's; a number without any is taken, too;
 *   - a width of bytes never ends inside a character, and %c takes exactly the bytes of its width, or of the shortest character:
 * where a character runs past them, nothing fits. Where the text ends before the first conversion: -1 with GL_EEOF. -1 with
 * GL_EINVAL for a bad format, GL_EILSEQ for bytes that are no character, of the format or of what is read, GL_ENULLPTR for a null
 * text, GL_ENOMEM for more than 32 positions, or ranges above FF in a set. What was assigned stays so. A text needs its width and a
 * terminator as room, bytes in a wide call four times as many; a %s without a width is for texts that the host trusts. */
QBGL_API int gl_mbsscanf(gl_locale *locale, const char *text, const char *format, ...);
QBGL_API int gl_vmbsscanf(gl_locale *locale, const char *text, const char *format, va_list list);
QBGL_API int gl_wcsscanf(gl_locale *locale, const gl_wchar *text, const gl_wchar *format, ...);
QBGL_API int gl_vwcsscanf(gl_locale *locale, const gl_wchar *text, const gl_wchar *format, va_list list);

#ifdef __cplusplus
}
#endif

#endif /* QBGL_H */
