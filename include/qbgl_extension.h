/* qbgl_extension.h: what an extension library for qbgl provides.
 *
 * An extension is a shared object that takes over locales and conversions: it serves categories of locales (their characters, case
 * and order) and pairs of codesets by rules of its own. It is listed in vrn/etc/dllregistry and loaded when host and environment
 * want it (qbgl.h, section 19). docs/extension.md tells how to build one; examples/extension is a small one to begin with, and
 * tests/extension runs any through the contract that stands here.
 *
 * The library loads an extension only if it defines all 79 entry points of QBGL_EXTENSION_ENTRY_POINTS, as functions with C
 * linkage. Each has a function type, its own name with _fn behind it, by which an extension declares what it defines and the
 * library what it calls:
 *
 *     #include <qbgl_extension.h>
 *     QBGL_EXTENSION_DECLARATIONS
 *     int glu_extension_version(void) { return QBGL_EXTENSION_VERSION; }
 *     int glu_mblen(void *locale, const char *s, int n, int16_t *error) { ... }
 *
 * What holds for every entry point, unless its text says otherwise
 *   - Calls. The library hands over the functions (section 1) first, then loads the data and the map, and calls whatever else in
 *     between that and their unloading. An entry point marked (resolved only) is demanded and not called today.
 *   - Errors. `error` is the address of a cell that holds 0; a failure puts a number of qbgl.h's gl_error into it, a success leaves
 *     it alone. It becomes the error number of the host's locale. `status` is the same in an int. Either may be null: the failure
 *     is then told by the result alone. A failing result is -1 of an int, null of a pointer.
 *   - Arguments. A null locale, converter or text is GL_ENULLPTR. An extension never trusts text: GL_EILSEQ for bytes that are no
 *     character of the locale's codeset and for units or values that are none, in a text also for a character that its length cuts;
 *     where one character is asked for that is GL_EINVAL, and so is a length below 1. Any other negative length than -1 is
 *     GL_EBADARG. A negative room is none.
 *   - Reading. `len`, and `n` of one character, bound what is read: nothing at or behind s + len. Without one, text ends with a
 *     terminator (a NUL character, of mb_loc_min zero bytes), and nothing behind that is read. The library looks at characters of
 *     terminated text with a length of 4: no byte is read behind one that cannot continue the character.
 *   - Writing. Nothing at or behind the room; never a part of a character. What was written before a failure stays.
 *   - Values. mb is a character of the locale's codeset and mbs a text of them, in bytes. uc32 is a Unicode scalar value (not
 *     D800 to DFFF, at most 10FFFF) and ucs32 a text of them; uc is one in UTF-16 and ucs a text in it, of uint16_t units in the
 *     machine's byte order, a pair of surrogates being one character. The terminator of both is a 0. Counts are in these units.
 *   - Ownership. Handles are the extension's until they are closed. Texts that it returns are its own, and live as long as the
 *     handle that they tell of, or the library. Nothing of the caller's is kept.
 *   - Memory comes from the functions of section 1, of which each malloc may return null: GL_ENOMEM, and nothing is lost.
 *   - Threads. Any number use a locale at once, so an entry point changes nothing in one. A converter is one thread's at a time.
 *     Sections 1 and 2 are called while no other thread is in the extension.
 *   - Nothing is thrown, and no signal, no locale of the C library and no errno of the host is changed.
 */
#ifndef QBGL_EXTENSION_H
#define QBGL_EXTENSION_H

#include "qbgl.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The version of this contract. A library takes an extension of its own major version whatever the minor one is, and refuses a
 * newer major version with GL_ENOFILE and a line in the log. */
#define QBGL_EXTENSION_VERSION_MAJOR 1
#define QBGL_EXTENSION_VERSION_MINOR 0
#define QBGL_EXTENSION_VERSION (QBGL_EXTENSION_VERSION_MAJOR * 100 + QBGL_EXTENSION_VERSION_MINOR)

/* The 79 entry points, in the order of this header. X is a macro of one name. */
#define QBGL_EXTENSION_ENTRY_POINTS(X)                                                                                             \
    X(glu_setMallocFunc)                                                                                                           \
    X(glu_setCallocFunc)                                                                                                           \
    X(glu_setReallocFunc)                                                                                                          \
    X(glu_setFreeFunc)                                                                                                             \
    X(glu_setFgetcFunc)                                                                                                            \
    X(glu_setFseekFunc)                                                                                                            \
    X(glu_setFtellFunc)                                                                                                            \
    X(glu_setFerrorFunc)                                                                                                           \
    X(glu_setFeofFunc)                                                                                                             \
    X(glu_setPrintMessageFunc)                                                                                                     \
    X(glu_setMessageLevel)                                                                                                         \
    X(glu_setMessageSubLevel)                                                                                                      \
    X(glu_icuErrorName)                                                                                                            \
    X(glu_getIcuDataFileName)                                                                                                      \
    X(glu_loadIcuData)                                                                                                             \
    X(glu_unloadIcuData)                                                                                                           \
    X(glu_loadMapData)                                                                                                             \
    X(glu_unloadMapData)                                                                                                           \
    X(glu_useIcuLocCall)                                                                                                           \
    X(glu_lc_open)                                                                                                                 \
    X(glu_lc_clone)                                                                                                                \
    X(glu_lc_close)                                                                                                                \
    X(glu_getICULocName)                                                                                                           \
    X(glu_mb_loc_max)                                                                                                              \
    X(glu_mb_loc_min)                                                                                                              \
    X(glu_mbtouc32)                                                                                                                \
    X(glu_mbtouc)                                                                                                                  \
    X(glu_uc32tomb)                                                                                                                \
    X(glu_uctomb)                                                                                                                  \
    X(glu_mblen)                                                                                                                   \
    X(glu_mbstoucs32)                                                                                                              \
    X(glu_mbstoucs)                                                                                                                \
    X(glu_ucs32tombs)                                                                                                              \
    X(glu_ucstombs)                                                                                                                \
    X(glu_ucstoucs32)                                                                                                              \
    X(glu_ucs32toucs)                                                                                                              \
    X(glu_mbsnext)                                                                                                                 \
    X(glu_mbsprev)                                                                                                                 \
    X(glu_mbslen)                                                                                                                  \
    X(glu_mbsbytes)                                                                                                                \
    X(glu_mbsntsbytes)                                                                                                             \
    X(glu_ucs32len)                                                                                                                \
    X(glu_ucs32uc32)                                                                                                               \
    X(glu_mbschr)                                                                                                                  \
    X(glu_getmbsi)                                                                                                                 \
    X(glu_putmbsi)                                                                                                                 \
    X(glu_getmb)                                                                                                                   \
    X(glu_fgetuc32)                                                                                                                \
    X(glu_ismctype)                                                                                                                \
    X(glu_isuc32type)                                                                                                              \
    X(glu_mbwidth)                                                                                                                 \
    X(glu_uc32width)                                                                                                               \
    X(glu_mbswidth)                                                                                                                \
    X(glu_ucs32width)                                                                                                              \
    X(glu_mbspwidth)                                                                                                               \
    X(glu_ucs32pwidth)                                                                                                             \
    X(glu_mbtoupper)                                                                                                               \
    X(glu_mbtolower)                                                                                                               \
    X(glu_uc32toupper)                                                                                                             \
    X(glu_uc32tolower)                                                                                                             \
    X(glu_mbstoupper)                                                                                                              \
    X(glu_mbstolower)                                                                                                              \
    X(glu_ucs32toupper)                                                                                                            \
    X(glu_ucs32tolower)                                                                                                            \
    X(glu_case_conv_outbuflen)                                                                                                     \
    X(glu_mbscoll)                                                                                                                 \
    X(glu_ucs32coll)                                                                                                               \
    X(glu_ucscoll)                                                                                                                 \
    X(glu_mbsxfrm)                                                                                                                 \
    X(glu_ucs32xfrm)                                                                                                               \
    X(glu_ucsxfrm)                                                                                                                 \
    X(glu_mbsCollBound)                                                                                                            \
    X(glu_mbsSortKeyCollBound)                                                                                                     \
    X(glu_useIcuCvtCall)                                                                                                           \
    X(glu_cv_open)                                                                                                                 \
    X(glu_cv_close)                                                                                                                \
    X(glu_cv_conv)                                                                                                                 \
    X(glu_iconv_expansion)                                                                                                         \
    X(glu_getICUCvtName)

/* Those that an extension may lack, each by itself. */
#define QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(X)                                                                                    \
    X(glu_extension_version)                                                                                                       \
    X(glu_order_version)                                                                                                           \
    X(glu_order_compare)                                                                                                           \
    X(glu_order_key)

/* QBGL_EXTENSION_VERSION of the header that the extension was built with. Without it the version is 0: the 79 alone. */
typedef int glu_extension_version_fn(void);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 1. The host's functions
 *
 * What the extension allocates with and reads the host's streams with. Until they are set, and after a null one, they are libc's.
 * Files that the extension opens itself are opened and read with libc's.
 * ------------------------------------------------------------------------------------------------------------------------------ */
typedef void glu_setMallocFunc_fn(void *(*function)(uint32_t size));
typedef void glu_setCallocFunc_fn(void *(*function)(uint32_t count, uint32_t size));
typedef void glu_setReallocFunc_fn(void *(*function)(void *pointer, uint32_t size));
typedef void glu_setFreeFunc_fn(void (*function)(void *pointer));
typedef void glu_setFgetcFunc_fn(int (*function)(FILE *stream));
typedef void glu_setFseekFunc_fn(int (*function)(FILE *stream, int32_t offset, int whence));
typedef void glu_setFtellFunc_fn(long (*function)(FILE *stream));
typedef void glu_setFerrorFunc_fn(int (*function)(FILE *stream));
typedef void glu_setFeofFunc_fn(int (*function)(FILE *stream));

/* Where messages go, each one line of text without a newline: the library's log. Until it is set, and after a null one, nowhere. An
 * extension prints what has a bit in the level, and not more than the sublevel says; the library sets 65535 and 1. What the bits
 * mean is the extension's affair. */
typedef void glu_setPrintMessageFunc_fn(void (*function)(const char *text));
typedef void glu_setMessageLevel_fn(int level);
typedef void glu_setMessageSubLevel_fn(int level);

/* The name of a status of the engine behind the extension, for messages. Never null, whatever the number; constant. */
typedef const char *glu_icuErrorName_fn(int code);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 2. Data and map
 *
 * Both are files in vrn/etc of the installation. The data is what the extension wants, under a name that it tells; the map, locmap,
 * says which categories of which locales, and which conversions, it serves. Its form is the extension's affair.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Writes the name of the data file with its terminator; `size` bytes are enough for that. Returns 0; anything else says that there
 * is no name, a size that is too small among the reasons. */
typedef int glu_getIcuDataFileName_fn(char *name, int size);

/* Load the file at `path`; flags are 0. The handle, which is not null, or null with a positive status: GL_ENOFILE (not there),
 * GL_EBADFILE (damaged), GL_EVERSION (of another version), GL_ENOMEM. The map is loaded when the data is. */
typedef void *glu_loadIcuData_fn(const char *path, int flags, int *status);
typedef void *glu_loadMapData_fn(const char *path, int *status);

/* Release a handle; null is fine. Data goes first, then the map; locales that a host still holds are not used afterwards. */
typedef void glu_unloadIcuData_fn(void *data);
typedef void glu_unloadMapData_fn(void *map);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 3. Locales
 *
 * A name is that of a category's object ("cs_cz/e01c.lco": language and territory, the codeset's number in hexadecimal), or what a
 * host wrote in its place. One handle serves all categories of a name.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* 1 if the extension serves the category (GL_CAT_CTYPE, GL_CAT_COLLATE ...) of the locale, otherwise 0: of a null or unknown name,
 * and while no map is loaded. Where memory is out for telling it is 1, and opening fails with GL_ENOMEM. */
typedef int glu_useIcuLocCall_fn(const char *name, int category);

/* Opens a locale. `map` is the one that is loaded; GL_ENULLPTR for a null one. A handle, or null with an error: GL_ENOFILE for a
 * name that is not served, GL_ENOMEM. */
typedef void *glu_lc_open_fn(const char *name, void *map, int16_t *error);

/* A second handle that answers as the first does and outlives it. (resolved only) */
typedef void *glu_lc_clone_fn(void *locale, int16_t *error);

/* Closes a handle; null is fine. Returns null. */
typedef void *glu_lc_close_fn(void *locale);

/* The name by which the engine behind knows the locale; null for a null locale. */
typedef const char *glu_getICULocName_fn(void *locale);

/* The bytes of the longest and shortest character of the locale's codeset, 1 to 4; -1 for a null locale. */
typedef int glu_mb_loc_max_fn(void *locale);
typedef int glu_mb_loc_min_fn(void *locale);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 4. Characters and text between a codeset and Unicode
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* One character: the bytes it has, 0 for the NUL character, whose value is stored too, and for a null s. n is the bytes that may be
 * read, or -1 for terminated text, of which an empty one is GL_EINVAL. A null place for the value is fine. A pair of surrogates
 * puts two units into `units`, any other character one. (glu_mbtouc resolved only) */
typedef int glu_mbtouc32_fn(void *locale, gl_wchar *wc, const char *s, int n, int16_t *error);
typedef int glu_mbtouc_fn(void *locale, uint16_t *units, const char *s, int n, int16_t *error);

/* One character: the bytes written, mb_loc_max at most. GL_EILSEQ for what the codeset has not got. Of `units` a second one is read
 * behind a high surrogate only. (glu_uctomb resolved only) */
typedef int glu_uc32tomb_fn(void *locale, char *s, gl_wchar wc, int16_t *error);
typedef int glu_uctomb_fn(void *locale, char *s, const uint16_t *units, int16_t *error);

/* The bytes of the character at s, at most n; 0 for the NUL character and a null s. */
typedef int glu_mblen_fn(void *locale, const char *s, int n, int16_t *error);

/* Text to Unicode; n is the room. Terminated text (len -1): the units before the terminator, which is stored but not counted; n
 * when there was no room for it. Counted text, a NUL being a character like any other: the units stored when the text ended first,
 * n + 1 when the room did, also where a pair did not fit whole into it; no terminator is stored. (glu_mbstoucs resolved only) */
typedef int glu_mbstoucs32_fn(void *locale, gl_wchar *dst, int n, const char *src, int len, int16_t *error);
typedef int glu_mbstoucs_fn(void *locale, uint16_t *dst, int n, const char *src, int len, int16_t *error);

/* Text from Unicode; n is the room and len the units of src, or -1. The bytes written, without the terminator, which is written
 * behind terminated text. A character that does not fit ends the call quietly, and no terminator is written then. (glu_ucstombs
 * resolved only) */
typedef int glu_ucs32tombs_fn(void *locale, char *dst, int n, const gl_wchar *src, int len, int16_t *error);
typedef int glu_ucstombs_fn(void *locale, char *dst, int n, const uint16_t *src, int len, int16_t *error);

/* From one form of Unicode to the other: room, lengths and results as glu_mbstoucs32. The second has no cell for an error and is
 * called for a host only. (glu_ucstoucs32 resolved only) */
typedef int glu_ucstoucs32_fn(void *locale, gl_wchar *dst, int n, const uint16_t *src, int len, int16_t *error);
typedef int glu_ucs32toucs_fn(void *locale, uint16_t *dst, int n, const gl_wchar *src, int len);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 5. Stepping and lengths
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Behind the character at s, the NUL character included, of which at most n bytes are read; -1: as many as it has. */
typedef char *glu_mbsnext_fn(void *locale, const char *s, int n, int16_t *error);

/* Where the character begins that ends before `pos`, in a text that begins at `start`; GL_EENDBEFORE when pos is not behind start,
 * GL_EINVAL when it is within a character. */
typedef char *glu_mbsprev_fn(void *locale, const char *start, const char *pos, int16_t *error);

/* The characters of a text; len -1 for a terminated one. (resolved only) */
typedef int glu_mbslen_fn(void *locale, const char *s, int len, int16_t *error);

/* The bytes of a terminated text with its terminator; 0 for a failure and for a null text, which is none. (resolved only) */
typedef int glu_mbsbytes_fn(void *locale, const char *s, int16_t *error);

/* The bytes of a text before the characters at its end that are of class blank and not cntrl; len -1 for a terminated text. */
typedef int glu_mbsntsbytes_fn(void *locale, const char *s, int len, int16_t *error);

/* The values before the terminator; any value counts. (resolved only) */
typedef int glu_ucs32len_fn(const gl_wchar *s, int16_t *error);

/* Where a character first stands in a terminated text, the terminator being a character of it, or null, which without an error says
 * that there is none. `c` begins with the character. (both resolved only) */
typedef gl_wchar *glu_ucs32uc32_fn(const gl_wchar *s, gl_wchar wc, int16_t *error);
typedef char *glu_mbschr_fn(void *locale, const char *s, const char *c, int16_t *error);

/* The i-th character of a text, counted from 0; GL_ENEGCOUNT for i below 0. The caller knows that there are as many: the terminator
 * is not looked for. (resolved only) */
typedef char *glu_getmbsi_fn(void *locale, const char *s, int i, int16_t *error);

/* Puts the character that begins new_char into the place of the i-th of a terminated text, and moves the rest with its terminator;
 * the caller provides the room. Returns where it stands. The text is unchanged after a failure; GL_ENEGCOUNT for i below 0. */
typedef char *glu_putmbsi_fn(void *locale, char *s, int i, const char *new_char, int16_t *error);

/* Reads a character into `buffer`, which has room for mb_loc_max bytes, with a function that gives a byte, or a negative number
 * where there is no further one. 0 or -1; *length is the number of bytes read and stored either way. GL_EEOF where there is no byte
 * at all, GL_EINVAL where they end within a character, GL_EILSEQ as soon as they cannot be one. */
typedef int glu_getmb_fn(void *locale, char *buffer, gl_byte_reader reader, void *stream, int *length, int16_t *error);

/* Reads a character from a stream of the host's, with the functions of section 1. Its value, or (gl_wchar)-1: GL_EILSEQ, GL_EIO
 * when the stream has an error, at its end GL_EEOF, or GL_EINVAL within a character. */
typedef gl_wchar glu_fgetuc32_fn(void *locale, FILE *stream, int16_t *error);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 6. Classes, width and case
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Which of the classes of `mask` (GL_CLASS_UPPER ...) the character is in: 0 for none, and for what is no character, of which the
 * second has no cell to tell. Both answer alike. Of s at most len bytes are read. */
typedef unsigned glu_ismctype_fn(void *locale, const char *s, int len, unsigned mask, int16_t *error);
typedef unsigned glu_isuc32type_fn(gl_wchar wc, unsigned mask);

/* Columns: 0 (a mark), 1 or 2 for a character, 0 for NUL; GL_EINVAL for one that is not of class print. Of a text up to n
 * characters or `end`, whichever comes first before its terminator; n below 0 is GL_ENEGCOUNT, end before start GL_EENDBEFORE. A
 * character that begins before `end` counts. The forms without a locale answer as those of any locale. */
typedef int glu_mbwidth_fn(void *locale, const char *s, int16_t *error);
typedef int glu_uc32width_fn(gl_wchar wc, int16_t *error);
typedef int glu_mbswidth_fn(void *locale, const char *s, int n, int16_t *error);
typedef int glu_ucs32width_fn(const gl_wchar *s, int n, int16_t *error);
typedef int glu_mbspwidth_fn(void *locale, const char *start, const char *end, int16_t *error);
typedef int glu_ucs32pwidth_fn(const gl_wchar *start, const gl_wchar *end, int16_t *error);

/* One character in the other case, or as it is: by the rules that map it to one character. dst has room for 4 bytes, len is the
 * bytes of src that may be read. The bytes read times 256 plus the bytes written; a failure is 0. NUL is a character. */
typedef int glu_mbtoupper_fn(void *locale, char *dst, const char *src, int len, int16_t *error);
typedef int glu_mbtolower_fn(void *locale, char *dst, const char *src, int len, int16_t *error);
/* The same of a value; no value is an error, and what is none stays as it is. */
typedef gl_wchar glu_uc32toupper_fn(void *locale, gl_wchar wc, int16_t *error);
typedef gl_wchar glu_uc32tolower_fn(void *locale, gl_wchar wc, int16_t *error);

/* Terminated text in the other case, by all rules of the language, which may change its length. dst has room for
 * glu_case_conv_outbuflen of the text's bytes and the terminator, which is written, and does not overlap src. The bytes before the
 * terminator. */
typedef int glu_mbstoupper_fn(void *locale, char *dst, const char *src, int16_t *error);
typedef int glu_mbstolower_fn(void *locale, char *dst, const char *src, int16_t *error);
/* Of values: each by itself, as glu_uc32toupper has it, so that as many are written as are read. dst may be src. Returns 0. */
typedef int glu_ucs32toupper_fn(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error);
typedef int glu_ucs32tolower_fn(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error);

/* The bytes that text of n bytes needs at most in the other case, n or more; as far as an int reaches. 0 for n below 1, -1 for a
 * null locale. */
typedef int glu_case_conv_outbuflen_fn(void *locale, int n);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 7. Order
 *
 * The order of a locale is one: the same for bytes, values and units, for comparison and keys. Bytes and units that stand for the
 * same characters are the same text.
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* Negative, 0 or positive; a failure is 0. The lengths are both -1, or both counts: GL_EMIXEDLEN. A NUL in counted text is a
 * character. (glu_ucscoll resolved only) */
typedef int glu_mbscoll_fn(void *locale, const char *s1, int len1, const char *s2, int len2, int16_t *error);
typedef int glu_ucs32coll_fn(void *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2, int16_t *error);
typedef int glu_ucscoll_fn(void *locale, const uint16_t *s1, int len1, const uint16_t *s2, int len2, int16_t *error);

/* The sort key of a terminated text: bytes other than 0, which compare as unsigned bytes, the shorter first, as the texts do. The
 * length of the whole key, whatever the room. As much of it as `capacity` holds is written, and a zero byte behind a key that
 * leaves room for one. So a capacity of 0 measures, and `out` may then be null; the key of a smaller room begins that of a larger
 * one. Up to `capacity` bytes may be overwritten. (glu_ucsxfrm resolved only) */
typedef int glu_mbsxfrm_fn(void *locale, char *out, const char *s, int capacity, int16_t *error);
typedef int glu_ucs32xfrm_fn(void *locale, char *out, const gl_wchar *s, int capacity, int16_t *error);
typedef int glu_ucsxfrm_fn(void *locale, char *out, const uint16_t *s, int capacity, int16_t *error);

/* Bounds of the keys of texts that agree with one in the first `passes` passes (1: letters, 2: accents, 3: case ...): GL_EBADARG
 * for less than 1 or another kind of bound. Result and room as those of a key. The second makes the bound from a key with its zero
 * byte. (both resolved only)
 *   GLU_BOUND_LOWER       not above the key of any such text
 *   GLU_BOUND_UPPER       not below the key of any such text
 *   GLU_BOUND_UPPER_LONG  nor below that of a text whose passes begin so, but for those where a character joins the next one */
enum glu_bound { GLU_BOUND_LOWER = 0, GLU_BOUND_UPPER = 1, GLU_BOUND_UPPER_LONG = 2 };
typedef int glu_mbsCollBound_fn(void *locale, char *out, const char *s, int len, int bound, int passes, int capacity,
                                int16_t *error);
typedef int glu_mbsSortKeyCollBound_fn(void *locale, char *out, const char *key, int bound, int passes, int capacity,
                                       int16_t *error);

/* What the order of the locale depends on, in words: its rules and their version, the settings, the version of the keys' form.
 * Where the words of two machines are the same, so are order and keys; where anything changes them, the words change. Writes at
 * most `room` bytes of it with a terminator (`out` may be null for none) and returns the length without it, 1 or more, or -1, with
 * which LC_COLLATE does not load. gl_order_fingerprint is made from it. An extension has this, glu_order_compare and glu_order_key,
 * or none of them: locales that it orders then have no fingerprint, and the gl_order functions compare their bytes. */
typedef int glu_order_version_fn(void *locale, char *out, int room);

/* The order for indexes (gl_order_compare and gl_order_key in qbgl.h) of the text's own passes: any bytes are text, those that are
 * no character too, and nothing is an error but a null locale and GL_ENOMEM. `len` is bytes, NUL among them; passes n > 0 are the
 * first n, or all where the order has fewer, -1 all. Bytes that differ may be equal: the library puts the order of bytes behind.
 * glu_order_compare gives -1, 0 or 1, as memcmp of the two keys has it, the shorter first; 0 with an error. glu_order_key writes at
 * most `room` bytes and returns the size of the whole key; a failure is -1. No byte of it is 0; the key of n passes is a prefix of
 * that of more. */
typedef int glu_order_compare_fn(void *locale, const char *s1, int len1, const char *s2, int len2, int passes, int16_t *error);
typedef int glu_order_key_fn(void *locale, const char *s, int len, int passes, unsigned char *key, int room, int16_t *error);

/* ------------------------------------------------------------------------------------------------------------------------------
 * 8. Conversion
 *
 * Codesets are named by number (qbgl.h, section 13).
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* 1 if the extension converts from the one codeset to the other, otherwise 0. */
typedef int glu_useIcuCvtCall_fn(int source_number, int target_number);

/* Opens a converter: a handle, or null with a positive status: GL_EINVAL (not a pair that it converts), GL_ENOMEM. */
typedef void *glu_cv_open_fn(int source_number, int target_number, int *status);

/* Closes a converter; 0, or -1 for null. */
typedef int glu_cv_close_fn(void *converter);

/* Converts as gl_cv_mconv does, by the same contract of the buffers (qbgl.h, section 2): a null `inleft` says that the input ends
 * with its terminator, which is converted too; a null `out`, or one at null, that the output is only measured.
 *   reset   nonzero: both sides start in their initial state, and the target returns to it behind the last character; 0: both go on
 *           where the last call with the handle stopped, and stay as they are then
 *   subst   set to 1 where a character had an approximate mapping only, otherwise to 0; may be null
 * 0, or -1: status GL_E2BIG or GL_EILSEQ (a character that the target lacks), or with the status as it was for bytes that are no
 * character of the source or end within one; pointers and counts then stand on the character. A null converter, input or `outleft`
 * is GL_ENULLPTR, a negative count GL_EBADARG, and nothing is moved. */
typedef int glu_cv_conv_fn(void *converter, int reset, const char **in, int *inleft, char **out, int *outleft, int *subst,
                           int *status);

/* The output bytes that an input byte makes at most, more than 0, for texts of any length, but for the terminator and the closing
 * shift sequence; 0 for null. */
typedef double glu_iconv_expansion_fn(void *converter);

/* The name by which the engine behind knows the conversion; null for a null converter. */
typedef const char *glu_getICUCvtName_fn(void *converter);

#ifdef __cplusplus
}
#define QBGL_EXTENSION_DECLARATION(name) extern "C" QBGL_API name##_fn name;
#else
#define QBGL_EXTENSION_DECLARATION(name) QBGL_API name##_fn name;
#endif

/* Declarations of all of the above, visible outside the extension. */
#define QBGL_EXTENSION_DECLARATIONS                                                                                                \
    QBGL_EXTENSION_ENTRY_POINTS(QBGL_EXTENSION_DECLARATION) QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(QBGL_EXTENSION_DECLARATION)

#endif
