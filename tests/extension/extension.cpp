// A small extension library. It loads a "data file" by reading the status that it has to answer with from it, and gives a block of
// the host's memory for it.
#include "extension.h"

#include <cstdlib>
#include <cstring>

namespace {

ExtensionRecord record;

void note(const char *call) {
    const size_t used = strlen(record.calls);
    snprintf(record.calls + used, sizeof record.calls - used, "%s ", call);
}

// A function's own digit and its arguments' as one number.
template <class... Arguments> int digits(int own, Arguments... arguments) {
    ((own = own * 10 + (int)(intptr_t)arguments), ...);
    return own;
}

// The answer of a call that ends with an error cell.
template <class... Arguments> int answer(int16_t *error, int own, Arguments... arguments) {
    if (*error != 0) abort();
    *error = record.error;
    return digits(own, arguments...);
}

void *as_pointer(intptr_t address) { return reinterpret_cast<void *>(address); }

void *load(const char *call, const char *path, int *status) {
    note(call);
    note(path);
    FILE *const file = fopen(path, "r");
    int answer = 0;
    if (file == nullptr || fscanf(file, "%d", &answer) != 1) abort();
    fclose(file);
    if (answer != 0) *status = answer; // otherwise it stays as the host has set it
    if (answer > 0) return nullptr;
    void *const block = record.malloc(1);
    if (block == nullptr) *status = 3; // GL_ENOMEM
    return block;
}

void unload(const char *call, void *block) {
    note(call);
    record.free(block);
}

} // namespace

extern "C" {

ExtensionRecord *extension_record() { return &record; }
void extension_unused() { abort(); }

void glu_setMallocFunc(void *(*f)(uint32_t)) { record.malloc = f; }
void glu_setCallocFunc(void *(*f)(uint32_t, uint32_t)) { record.calloc = f; }
void glu_setReallocFunc(void *(*f)(void *, uint32_t)) { record.realloc = f; }
void glu_setFreeFunc(void (*f)(void *)) { record.free = f; }
void glu_setFgetcFunc(int (*f)(FILE *)) { record.fgetc = f; }
void glu_setFseekFunc(int (*f)(FILE *, int32_t, int)) { record.fseek = f; }
void glu_setFtellFunc(long (*f)(FILE *)) { record.ftell = f; }
void glu_setFerrorFunc(int (*f)(FILE *)) { record.ferror = f; }
void glu_setFeofFunc(int (*f)(FILE *)) { record.feof = f; }
void glu_setPrintMessageFunc(void (*f)(const char *)) { record.print = f; }
void glu_setMessageLevel(int level) { record.message_level = level; }
void glu_setMessageSubLevel(int level) { record.message_sublevel = level; }

int glu_getIcuDataFileName(char *name, int size) {
    const char *const text = getenv("EXTENSION_DATA_FILE");
    if (text == nullptr) return -1;
    memcpy(name, text, strnlen(text, static_cast<size_t>(size)));
    return 0;
}
void *glu_loadIcuData(const char *path, int flags, int *status) {
    record.print("extension: loading");
    return flags == 0 ? load("data", path, status) : nullptr;
}
void glu_unloadIcuData(void *data) { unload("unload-data", data); }
void *glu_loadMapData(const char *path, int *status) { return load("map", path, status); }
void glu_unloadMapData(void *map) { unload("unload-map", map); }

const char *glu_icuErrorName(int code) { return code == 7 ? "seven" : "other"; }
void *glu_getICULocName(void *x) { return as_pointer(digits(1, x)); }
void *glu_getICUCvtName(void *x) { return as_pointer(digits(2, x)); }
void *glu_lc_open(void *a, void *b, void *c) { return as_pointer(digits(3, a, b, c)); }
void *glu_lc_close(void *a) { return as_pointer(digits(4, a)); }
// The tests of plain forwarding have a digit in the error cell's place.
int glu_ucs32tombs(void *a, void *b, int c, void *d, int e, int16_t *f) {
    return (uintptr_t)f < 10 ? digits(5, a, b, c, d, e, f) : answer(f, 5, a, b, c, d, e);
}
int glu_ucs32toucs(void *a, void *b, int c, void *d, int e) { return digits(6, a, b, c, d, e); }

int glu_mbtouc32(void *a, void *b, void *c, int d, int16_t *error) { return answer(error, 1, a, b, c, d); }
int glu_uc32tomb(void *a, void *b, uint32_t c, int16_t *error) { return answer(error, 2, a, b, c); }
int glu_mbstoucs32(void *a, void *b, int c, void *d, int e, int16_t *error) { return answer(error, 3, a, b, c, d, e); }
int glu_mblen(void *a, void *b, int c, int16_t *error) { return answer(error, 4, a, b, c); }

unsigned glu_isuc32type(uint32_t a, unsigned b) { return static_cast<unsigned>(digits(6, a, b)); }
unsigned glu_ismctype(void *a, void *b, int c, unsigned d, int16_t *error) {
    return static_cast<unsigned>(answer(error, 7, a, b, c, d));
}
uint32_t glu_uc32toupper(void *a, uint32_t b, int16_t *error) { return static_cast<uint32_t>(answer(error, 8, a, b)); }
uint32_t glu_uc32tolower(void *a, uint32_t b, int16_t *error) { return static_cast<uint32_t>(answer(error, 9, a, b)); }
int glu_mbtoupper(void *a, void *b, void *c, int d, int16_t *error) { return answer(error, 1, a, b, c, d); }
int glu_mbtolower(void *a, void *b, void *c, int d, int16_t *error) { return answer(error, 2, a, b, c, d); }
int glu_mbstoupper(void *a, void *b, void *c, int16_t *error) { return answer(error, 3, a, b, c); }
int glu_mbstolower(void *a, void *b, void *c, int16_t *error) { return answer(error, 4, a, b, c); }
int glu_ucs32toupper(void *a, void *b, void *c, int16_t *error) { return answer(error, 5, a, b, c); }
int glu_ucs32tolower(void *a, void *b, void *c, int16_t *error) { return answer(error, 6, a, b, c); }
int glu_case_conv_outbuflen(void *a, int b) { return digits(7, a, b); }

int glu_mb_loc_max(void *a) { return digits(2, a); }
int glu_mb_loc_min(void *a) { return digits(3, a); }
void *glu_mbsnext(void *a, void *b, int c, int16_t *error) { return as_pointer(answer(error, 1, a, b, c)); }
void *glu_mbsprev(void *a, void *b, void *c, int16_t *error) { return as_pointer(answer(error, 2, a, b, c)); }
void *glu_putmbsi(void *a, void *b, int c, void *d, int16_t *error) { return as_pointer(answer(error, 3, a, b, c, d)); }
int glu_mbsntsbytes(void *a, void *b, int c, int16_t *error) { return answer(error, 4, a, b, c); }
int glu_mbswidth(void *a, void *b, int c, int16_t *error) { return answer(error, 5, a, b, c); }
int glu_mbspwidth(void *a, void *b, void *c, int16_t *error) { return answer(error, 6, a, b, c); }
int glu_ucs32pwidth(void *a, void *b, int16_t *error) { return answer(error, 7, a, b); }
int glu_ucs32width(void *a, int b, int16_t *error) { return answer(error, 8, a, b); }
int glu_uc32width(uint32_t a, int16_t *error) { return answer(error, 9, a); }
int glu_mbwidth(void *a, void *b, int16_t *error) { return answer(error, 1, a, b); }

int glu_mbscoll(void *a, void *b, int c, void *d, int e, int16_t *error) { return answer(error, 8, a, b, c, d, e); }
int glu_mbsxfrm(void *a, void *b, void *c, int d, int16_t *error) { return answer(error, 9, a, b, c, d); }
int glu_ucs32coll(void *a, void *b, int c, void *d, int e, int16_t *error) { return answer(error, 1, a, b, c, d, e); }
int glu_ucs32xfrm(void *a, void *b, void *c, int d, int16_t *error) { return answer(error, 2, a, b, c, d); }

int extension_getmb(void *a, void *b, void *c, void *d, void *e, int16_t *error) { return answer(error, 3, a, b, c, d, e); }
uint32_t glu_fgetuc32(void *a, void *b, int16_t *error) { return static_cast<uint32_t>(answer(error, 4, a, b)); }

void glu_useIcuCvtCall() { abort(); }
void glu_cv_open() { abort(); }
void glu_cv_close() { abort(); }
void glu_cv_conv() { abort(); }
void glu_iconv_expansion() { abort(); }
}
