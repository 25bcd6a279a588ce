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

// Locales.
inline EntryPoint fn_glu_useIcuLocCall = nullptr;
inline void *(*fn_glu_lc_open)(void *, void *, void *) = nullptr;
inline void *(*fn_glu_lc_close)(void *) = nullptr;
inline EntryPoint fn_glu_lc_clone = nullptr;
inline void *(*fn_glu_getICULocName)(void *locale) = nullptr;
inline EntryPoint fn_glu_mb_loc_max = nullptr;
inline EntryPoint fn_glu_mb_loc_min = nullptr;

// Characters.
inline EntryPoint fn_glu_case_conv_outbuflen = nullptr;
inline EntryPoint fn_glu_ismctype = nullptr;
inline EntryPoint fn_glu_isuc32type = nullptr;
inline EntryPoint fn_glu_mbtouc = nullptr;
inline EntryPoint fn_glu_uctomb = nullptr;
inline EntryPoint fn_glu_mbtouc32 = nullptr;
inline EntryPoint fn_glu_uc32tomb = nullptr;
inline EntryPoint fn_glu_mblen = nullptr;
inline EntryPoint fn_glu_mbwidth = nullptr;
inline EntryPoint fn_glu_uc32width = nullptr;
inline EntryPoint fn_glu_mbtoupper = nullptr;
inline EntryPoint fn_glu_mbtolower = nullptr;
inline EntryPoint fn_glu_uc32toupper = nullptr;
inline EntryPoint fn_glu_uc32tolower = nullptr;
inline EntryPoint fn_glu_fgetuc32 = nullptr;
inline EntryPoint fn_glu_getmb = nullptr;

// Strings.
inline EntryPoint fn_glu_mbstoucs = nullptr;
inline EntryPoint fn_glu_ucstombs = nullptr;
inline EntryPoint fn_glu_mbstoucs32 = nullptr;
inline int (*fn_glu_ucs32tombs)(void *, void *, int, void *, int, void *) = nullptr;
inline EntryPoint fn_glu_ucstoucs32 = nullptr;
inline int (*fn_glu_ucs32toucs)(void *, void *, int, void *, int) = nullptr;
inline EntryPoint fn_glu_mbsprev = nullptr;
inline EntryPoint fn_glu_mbsnext = nullptr;
inline EntryPoint fn_glu_mbsntsbytes = nullptr;
inline EntryPoint fn_glu_mbstoupper = nullptr;
inline EntryPoint fn_glu_mbstolower = nullptr;
inline EntryPoint fn_glu_ucs32toupper = nullptr;
inline EntryPoint fn_glu_ucs32tolower = nullptr;
inline EntryPoint fn_glu_mbslen = nullptr;
inline EntryPoint fn_glu_mbsbytes = nullptr;
inline EntryPoint fn_glu_ucs32len = nullptr;
inline EntryPoint fn_glu_ucs32uc32 = nullptr;
inline EntryPoint fn_glu_mbschr = nullptr;
inline EntryPoint fn_glu_mbswidth = nullptr;
inline EntryPoint fn_glu_ucs32width = nullptr;
inline EntryPoint fn_glu_mbspwidth = nullptr;
inline EntryPoint fn_glu_ucs32pwidth = nullptr;
inline EntryPoint fn_glu_getmbsi = nullptr;
inline EntryPoint fn_glu_putmbsi = nullptr;

// Collation.
inline EntryPoint fn_glu_ucscoll = nullptr;
inline EntryPoint fn_glu_ucsxfrm = nullptr;
inline EntryPoint fn_glu_ucs32coll = nullptr;
inline EntryPoint fn_glu_ucs32xfrm = nullptr;
inline EntryPoint fn_glu_mbscoll = nullptr;
inline EntryPoint fn_glu_mbsxfrm = nullptr;
inline EntryPoint fn_glu_mbsCollBound = nullptr;
inline EntryPoint fn_glu_mbsSortKeyCollBound = nullptr;

// Resolves every entry point from a library, also those after a missing one, which becomes null. Returns how many are missing.
int resolve_entry_points(qbnx_library *library);
void clear_entry_points();

} // namespace qbgl
