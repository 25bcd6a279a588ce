// A small extension library. It loads a "data file" by reading the status that it has to answer with from it, and "converts" by
// copying.
#include "extension.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

ExtensionRecord record;

void note(const char *call) {
    const size_t used = strlen(record.calls);
    snprintf(record.calls + used, sizeof record.calls - used, "%s ", call);
}

template <class Function> void take(Function *&place, Function *function, const char *call) {
    place = function;
    note(call);
}

template <class... Arguments> void note_arguments(Arguments... arguments) {
    const intptr_t values[] = {(intptr_t)arguments...};
    std::copy(std::begin(values), std::end(values), record.arguments);
}

// A block of the host's memory, unless the file says otherwise.
void *load(const char *call, const char *path, int *status) {
    note(call);
    note(path);
    char digits[8] = "";
    if (FILE *file = fopen(path, "r")) {
        for (int i = 0, c; i < 7 && (c = record.fgetc(file)) != EOF; ++i) digits[i] = static_cast<char>(c);
        fclose(file);
    }
    *status = atoi(digits);
    void *const block = record.malloc(1);
    if (block == nullptr) *status = 3;
    if (*status > 0) record.free(block);
    return *status > 0 ? nullptr : block;
}

void unload(const char *call, void *block) {
    note(call);
    record.free(block);
}

} // namespace

extern "C" {

ExtensionRecord *extension_record() { return &record; }
void extension_unused() { abort(); }

void glu_setMallocFunc(void *(*f)(uint32_t)) { take(record.malloc, f, "malloc"); }
void glu_setCallocFunc(void *(*f)(uint32_t, uint32_t)) { take(record.calloc, f, "calloc"); }
void glu_setReallocFunc(void *(*f)(void *, uint32_t)) { take(record.realloc, f, "realloc"); }
void glu_setFreeFunc(void (*f)(void *)) { take(record.free, f, "free"); }
void glu_setFgetcFunc(int (*f)(FILE *)) { take(record.fgetc, f, "fgetc"); }
void glu_setFseekFunc(int (*f)(FILE *, int32_t, int)) { take(record.fseek, f, "fseek"); }
void glu_setFtellFunc(long (*f)(FILE *)) { take(record.ftell, f, "ftell"); }
void glu_setFerrorFunc(int (*f)(FILE *)) { take(record.ferror, f, "ferror"); }
void glu_setFeofFunc(int (*f)(FILE *)) { take(record.feof, f, "feof"); }
void glu_setPrintMessageFunc(void (*f)(const char *)) { take(record.print, f, "print"); }
void glu_setMessageLevel(int level) { record.message_level = level; }
void glu_setMessageSubLevel(int level) { record.message_sublevel = level; }

int glu_getIcuDataFileName(char *name, int size) {
    const char *const text = getenv("EXTENSION_DATA_FILE");
    if (text == nullptr) return -1;
    std::copy_n(text, std::min<size_t>(static_cast<size_t>(size), strlen(text)), name);
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
void *glu_getICULocName(void *x) { return reinterpret_cast<void *>(reinterpret_cast<intptr_t>(x) + 1); }
void *glu_getICUCvtName(void *x) { return reinterpret_cast<void *>(reinterpret_cast<intptr_t>(x) + 2); }
void *glu_lc_open(void *a, void *b, void *c) {
    note_arguments(a, b, c);
    return &record;
}
void *glu_lc_close(void *a) {
    note_arguments(a);
    return &record;
}
int glu_ucs32tombs(void *a, void *b, int c, void *d, int e, void *f) {
    note_arguments(a, b, c, d, e, f);
    return 41;
}
int glu_ucs32toucs(void *a, void *b, int c, void *d, int e) {
    note_arguments(a, b, c, d, e);
    return 42;
}

int glu_useIcuCvtCall(int source, int target) { return source == record.source_number && target == record.target_number ? 1 : 0; }
void *glu_cv_open(int source, int target, int *status) {
    note_arguments(source, target);
    *status = record.open_status;
    return record.open_status > 0 ? nullptr : record.malloc(1);
}
int glu_cv_close(void *converter) {
    record.free(converter);
    return 0;
}
int glu_cv_conv(void *converter, int reset, const char **in, int *inleft, char **out, int *outleft, int *subst, int *status) {
    note_arguments(converter, reset);
    const int count = std::min(*inleft, *outleft);
    memcpy(*out, *in, static_cast<size_t>(count));
    *in += count;
    *inleft -= count;
    *out += count;
    *outleft -= count;
    *subst = 0;
    *status = record.conversion_status;
    return record.conversion_status > 0 ? -1 : 0;
}
double glu_iconv_expansion(void *) { return 1.5; }
}
