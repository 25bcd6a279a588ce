// A small extension library. It loads a "data file" by reading the status that it has to answer with from it, and gives a block of
// the host's memory for it.
#include "extension.h"
#include "qbgl_extension.h"

#include <cstdlib>
#include <cstring>

namespace {

ExtensionRecord record;

void note(const char *call) {
    const size_t used = strlen(record.calls);
    snprintf(record.calls + used, sizeof record.calls - used, "%s ", call);
}

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
#ifdef NEWER
int glu_extension_version() { return QBGL_EXTENSION_VERSION + 100; }
#endif

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
}
