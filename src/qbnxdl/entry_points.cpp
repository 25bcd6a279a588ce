// Resolving the extension's entry points by name.
#include "qbnxdl/entry_points.h"

#include <dlfcn.h>
#include <iterator>
#include <string.h>

namespace qbgl {
namespace {

struct Row {
    const char *name;
    void *pointer; // the address of the fn_ pointer
};

// In the order of resolution. The two names that stand here twice are resolved twice.
constexpr Row ROWS[] = {
    {"glu_getIcuDataFileName", &fn_glu_getIcuDataFileName},
    {"glu_useIcuCvtCall", &fn_glu_useIcuCvtCall},
    {"glu_useIcuLocCall", &fn_glu_useIcuLocCall},
    {"glu_icuErrorName", &fn_glu_icuErrorName},
    {"glu_loadIcuData", &fn_glu_loadIcuData},
    {"glu_unloadIcuData", &fn_glu_unloadIcuData},
    {"glu_loadMapData", &fn_glu_loadMapData},
    {"glu_unloadMapData", &fn_glu_unloadMapData},
    {"glu_cv_open", &fn_glu_cv_open},
    {"glu_cv_close", &fn_glu_cv_close},
    {"glu_lc_clone", &fn_glu_lc_clone},
    {"glu_cv_conv", &fn_glu_cv_conv},
    {"glu_iconv_expansion", &fn_glu_iconv_expansion},
    {"glu_lc_open", &fn_glu_lc_open},
    {"glu_lc_close", &fn_glu_lc_close},
    {"glu_lc_clone", &fn_glu_lc_clone},
    {"glu_mb_loc_max", &fn_glu_mb_loc_max},
    {"glu_getICULocName", &fn_glu_getICULocName},
    {"glu_getICUCvtName", &fn_glu_getICUCvtName},
    {"glu_mb_loc_min", &fn_glu_mb_loc_min},
    {"glu_case_conv_outbuflen", &fn_glu_case_conv_outbuflen},
    {"glu_ismctype", &fn_glu_ismctype},
    {"glu_isuc32type", &fn_glu_isuc32type},
    {"glu_mbtouc", &fn_glu_mbtouc},
    {"glu_uctomb", &fn_glu_uctomb},
    {"glu_mbtouc32", &fn_glu_mbtouc32},
    {"glu_uc32tomb", &fn_glu_uc32tomb},
    {"glu_mblen", &fn_glu_mblen},
    {"glu_mbwidth", &fn_glu_mbwidth},
    {"glu_uc32width", &fn_glu_uc32width},
    {"glu_mbtoupper", &fn_glu_mbtoupper},
    {"glu_mbtolower", &fn_glu_mbtolower},
    {"glu_uc32toupper", &fn_glu_uc32toupper},
    {"glu_uc32tolower", &fn_glu_uc32tolower},
    {"glu_mbstoucs", &fn_glu_mbstoucs},
    {"glu_ucstombs", &fn_glu_ucstombs},
    {"glu_mbstoucs32", &fn_glu_mbstoucs32},
    {"glu_ucs32tombs", &fn_glu_ucs32tombs},
    {"glu_mbsprev", &fn_glu_mbsprev},
    {"glu_mbsnext", &fn_glu_mbsnext},
    {"glu_mbsntsbytes", &fn_glu_mbsntsbytes},
    {"glu_mbstoupper", &fn_glu_mbstoupper},
    {"glu_mbstolower", &fn_glu_mbstolower},
    {"glu_ucs32toupper", &fn_glu_ucs32toupper},
    {"glu_ucs32tolower", &fn_glu_ucs32tolower},
    {"glu_mbslen", &fn_glu_mbslen},
    {"glu_mbsbytes", &fn_glu_mbsbytes},
    {"glu_ucs32len", &fn_glu_ucs32len},
    {"glu_ucs32uc32", &fn_glu_ucs32uc32},
    {"glu_mbschr", &fn_glu_mbschr},
    {"glu_mbswidth", &fn_glu_mbswidth},
    {"glu_ucs32width", &fn_glu_ucs32width},
    {"glu_mbspwidth", &fn_glu_mbspwidth},
    {"glu_ucs32pwidth", &fn_glu_ucs32pwidth},
    {"glu_ucscoll", &fn_glu_ucscoll},
    {"glu_ucsxfrm", &fn_glu_ucsxfrm},
    {"glu_ucs32coll", &fn_glu_ucs32coll},
    {"glu_ucs32xfrm", &fn_glu_ucs32xfrm},
    {"glu_mbscoll", &fn_glu_mbscoll},
    {"glu_mbsxfrm", &fn_glu_mbsxfrm},
    {"glu_mbsCollBound", &fn_glu_mbsCollBound},
    {"glu_mbsSortKeyCollBound", &fn_glu_mbsSortKeyCollBound},
    {"glu_fgetuc32", &fn_glu_fgetuc32},
    {"glu_getmb", &fn_glu_getmb},
    {"glu_getmbsi", &fn_glu_getmbsi},
    {"glu_putmbsi", &fn_glu_putmbsi},
    {"glu_setMallocFunc", &fn_glu_setMallocFunc},
    {"glu_setCallocFunc", &fn_glu_setCallocFunc},
    {"glu_setReallocFunc", &fn_glu_setReallocFunc},
    {"glu_setFreeFunc", &fn_glu_setFreeFunc},
    {"glu_setFgetcFunc", &fn_glu_setFgetcFunc},
    {"glu_setFseekFunc", &fn_glu_setFseekFunc},
    {"glu_setFtellFunc", &fn_glu_setFtellFunc},
    {"glu_setFerrorFunc", &fn_glu_setFerrorFunc},
    {"glu_setFeofFunc", &fn_glu_setFeofFunc},
    {"glu_ucstombs", &fn_glu_ucstombs},
    {"glu_ucstoucs32", &fn_glu_ucstoucs32},
    {"glu_ucs32toucs", &fn_glu_ucs32toucs},
    {"glu_setPrintMessageFunc", &fn_glu_setPrintMessageFunc},
    {"glu_setMessageLevel", &fn_glu_setMessageLevel},
    {"glu_setMessageSubLevel", &fn_glu_setMessageSubLevel},
};

#define QBGL_NAME(name) #name,
constexpr const char *DEMANDED[] = {QBGL_EXTENSION_ENTRY_POINTS(QBGL_NAME)};
#undef QBGL_NAME
static_assert(std::size(ROWS) == std::size(DEMANDED) + 2, "an entry point is not resolved");

#define QBGL_ROW(name) {#name, &fn_##name},
constexpr Row OPTIONAL_ROWS[] = {QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(QBGL_ROW)};
#undef QBGL_ROW

// The fn_ pointers have many types; what they hold is one address each.
void store(const Row &row, void *address) {
    static_assert(sizeof(void (*)()) == sizeof address);
    memcpy(row.pointer, &address, sizeof address);
}

} // namespace

int resolve_entry_points(qbnx_library *library) {
    int missing = 0;
    for (const Row &row : ROWS) {
        void *address = nullptr;
        if (qbnx_dlsym(library, &address, row.name) != 0) ++missing;
        store(row, address);
    }
    // Not by qbnx_dlsym, which would leave the loader's text in the record for one that may be absent.
    for (const Row &row : OPTIONAL_ROWS) store(row, library->handle != nullptr ? dlsym(library->handle, row.name) : nullptr);
    dlerror();
    return missing;
}

void clear_entry_points() {
    for (const Row &row : ROWS) store(row, nullptr);
    for (const Row &row : OPTIONAL_ROWS) store(row, nullptr);
}

} // namespace qbgl
