// The extension library's entry points, under their names with "fn_" in front. They are null until an extension is loaded and again
// after it is unloaded. One that this library does not call has no signature here; it is resolved because an extension without it
// is of another version.
#pragma once

#include "qbgl.h"

namespace qbgl {

using EntryPoint = void (*)();

// Files and messages of the extension. A positive status is an error number.
inline int (*fn_glu_getIcuDataFileName)(char *name, int size) = nullptr; // nonzero: the name is not known
inline void *(*fn_glu_loadIcuData)(const char *path, int flags, int *status) = nullptr;
inline void (*fn_glu_unloadIcuData)(void *data) = nullptr;
inline void *(*fn_glu_loadMapData)(const char *path, int *status) = nullptr;
inline void (*fn_glu_unloadMapData)(void *map) = nullptr;
inline const char *(*fn_glu_icuErrorName)(int code) = nullptr;
inline void (*fn_glu_setPrintMessageFunc)(void (*print)(const char *text)) = nullptr;
inline void (*fn_glu_setMessageLevel)(int level) = nullptr;
inline void (*fn_glu_setMessageSubLevel)(int level) = nullptr;

// What the extension works with instead of libc's functions.
inline void (*fn_glu_setMallocFunc)(void *(*function)(uint32_t size)) = nullptr;
inline void (*fn_glu_setCallocFunc)(void *(*function)(uint32_t count, uint32_t size)) = nullptr;
inline void (*fn_glu_setReallocFunc)(void *(*function)(void *pointer, uint32_t size)) = nullptr;
inline void (*fn_glu_setFreeFunc)(void (*function)(void *pointer)) = nullptr;
inline void (*fn_glu_setFgetcFunc)(int (*function)(FILE *stream)) = nullptr;
inline void (*fn_glu_setFseekFunc)(int (*function)(FILE *stream, int32_t offset, int whence)) = nullptr;
inline void (*fn_glu_setFtellFunc)(long (*function)(FILE *stream)) = nullptr;
inline void (*fn_glu_setFerrorFunc)(int (*function)(FILE *stream)) = nullptr;
inline void (*fn_glu_setFeofFunc)(int (*function)(FILE *stream)) = nullptr;

// Codeset conversion.
inline int (*fn_glu_useIcuCvtCall)(int source_number, int target_number) = nullptr;          // 1: the extension handles the pair
inline void *(*fn_glu_cv_open)(int source_number, int target_number, int *status) = nullptr; // a positive status is an error
inline int (*fn_glu_cv_close)(void *converter) = nullptr;
inline int (*fn_glu_cv_conv)(void *converter, int reset, const char **in, int *inleft, char **out, int *outleft, int *subst,
                             int *status) = nullptr;
inline double (*fn_glu_iconv_expansion)(void *converter) = nullptr;
inline void *(*fn_glu_getICUCvtName)(void *converter) = nullptr;

// Locales. A locale is opened by its name with the extension's map; a positive number in the error cell (int16_t) is an error.
inline int (*fn_glu_useIcuLocCall)(const char *name, int category) = nullptr; // 1: the extension serves the category
inline void *(*fn_glu_lc_open)(void *name, void *map, void *error) = nullptr;
inline void *(*fn_glu_lc_close)(void *locale) = nullptr;
inline EntryPoint fn_glu_lc_clone = nullptr;
inline void *(*fn_glu_getICULocName)(void *locale) = nullptr;
inline int (*fn_glu_mb_loc_max)(void *converter) = nullptr;
inline int (*fn_glu_mb_loc_min)(void *converter) = nullptr;

// Characters. `converter` is the handle of LC_CTYPE; a positive number in the error cell becomes the error number.
inline int (*fn_glu_case_conv_outbuflen)(void *converter, int n) = nullptr;
inline unsigned (*fn_glu_ismctype)(void *converter, const char *s, int len, unsigned mask, int16_t *error) = nullptr;
inline unsigned (*fn_glu_isuc32type)(gl_wchar wc, unsigned mask) = nullptr;
inline EntryPoint fn_glu_mbtouc = nullptr;
inline EntryPoint fn_glu_uctomb = nullptr;
inline int (*fn_glu_mbtouc32)(void *converter, gl_wchar *wc, const char *s, int n, int16_t *error) = nullptr;
inline int (*fn_glu_uc32tomb)(void *converter, char *s, gl_wchar wc, int16_t *error) = nullptr;
inline int (*fn_glu_mblen)(void *converter, const char *s, int n, int16_t *error) = nullptr;
inline int (*fn_glu_mbwidth)(void *converter, const char *s, int16_t *error) = nullptr;
inline int (*fn_glu_uc32width)(gl_wchar wc, int16_t *error) = nullptr;
inline int (*fn_glu_mbtoupper)(void *converter, char *dst, const char *src, int len, int16_t *error) = nullptr;
inline int (*fn_glu_mbtolower)(void *converter, char *dst, const char *src, int len, int16_t *error) = nullptr;
inline gl_wchar (*fn_glu_uc32toupper)(void *converter, gl_wchar wc, int16_t *error) = nullptr;
inline gl_wchar (*fn_glu_uc32tolower)(void *converter, gl_wchar wc, int16_t *error) = nullptr;
inline gl_wchar (*fn_glu_fgetuc32)(void *converter, FILE *stream, int16_t *error) = nullptr;
inline int (*fn_glu_getmb)(void *converter, char *buffer, gl_byte_reader reader, void *stream, int *length,
                           int16_t *error) = nullptr;

// Strings.
inline EntryPoint fn_glu_mbstoucs = nullptr;
inline EntryPoint fn_glu_ucstombs = nullptr;
inline int (*fn_glu_mbstoucs32)(void *converter, gl_wchar *dst, int n, const char *src, int len, int16_t *error) = nullptr;
inline int (*fn_glu_ucs32tombs)(void *converter, void *dst, int n, const void *src, int len, void *error) = nullptr;
inline EntryPoint fn_glu_ucstoucs32 = nullptr;
inline int (*fn_glu_ucs32toucs)(void *, void *, int, void *, int) = nullptr;
inline char *(*fn_glu_mbsprev)(void *converter, const char *start, const char *pos, int16_t *error) = nullptr;
inline char *(*fn_glu_mbsnext)(void *converter, const char *s, int n, int16_t *error) = nullptr;
inline int (*fn_glu_mbsntsbytes)(void *converter, const char *s, int len, int16_t *error) = nullptr;
inline int (*fn_glu_mbstoupper)(void *converter, char *dst, const char *src, int16_t *error) = nullptr;
inline int (*fn_glu_mbstolower)(void *converter, char *dst, const char *src, int16_t *error) = nullptr;
inline int (*fn_glu_ucs32toupper)(void *converter, gl_wchar *dst, const gl_wchar *src, int16_t *error) = nullptr;
inline int (*fn_glu_ucs32tolower)(void *converter, gl_wchar *dst, const gl_wchar *src, int16_t *error) = nullptr;
inline EntryPoint fn_glu_mbslen = nullptr;
inline EntryPoint fn_glu_mbsbytes = nullptr;
inline EntryPoint fn_glu_ucs32len = nullptr;
inline EntryPoint fn_glu_ucs32uc32 = nullptr;
inline EntryPoint fn_glu_mbschr = nullptr;
inline int (*fn_glu_mbswidth)(void *converter, const char *s, int n, int16_t *error) = nullptr;
inline int (*fn_glu_ucs32width)(const gl_wchar *s, int n, int16_t *error) = nullptr;
inline int (*fn_glu_mbspwidth)(void *converter, const char *start, const char *end, int16_t *error) = nullptr;
inline int (*fn_glu_ucs32pwidth)(const gl_wchar *start, const gl_wchar *end, int16_t *error) = nullptr;
inline EntryPoint fn_glu_getmbsi = nullptr;
inline char *(*fn_glu_putmbsi)(void *converter, char *s, int i, const char *new_char, int16_t *error) = nullptr;

// Collation.
inline EntryPoint fn_glu_ucscoll = nullptr;
inline EntryPoint fn_glu_ucsxfrm = nullptr;
inline int (*fn_glu_ucs32coll)(void *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2, int16_t *error) = nullptr;
inline int (*fn_glu_ucs32xfrm)(void *locale, char *out, const gl_wchar *s, int capacity, int16_t *error) = nullptr;
inline int (*fn_glu_mbscoll)(void *locale, const char *s1, int len1, const char *s2, int len2, int16_t *error) = nullptr;
inline int (*fn_glu_mbsxfrm)(void *locale, char *out, const char *s, int capacity, int16_t *error) = nullptr;
inline EntryPoint fn_glu_mbsCollBound = nullptr;
inline EntryPoint fn_glu_mbsSortKeyCollBound = nullptr;

// Resolves every entry point from a library, also those after a missing one, which becomes null. Returns how many are missing.
int resolve_entry_points(qbnx_library *library);
void clear_entry_points();

} // namespace qbgl
