#include "icu/host.h"

#include "icu/entry.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <link.h>
#include <unicode/uclean.h>
#include <unicode/udata.h>

namespace qbgl::icu {

namespace {

const Host LIBC = {
    [](uint32_t size) { return std::malloc(size); },
    [](uint32_t count, uint32_t size) { return std::calloc(count, size); },
    [](void *block, uint32_t size) { return std::realloc(block, size); },
    std::free,
    std::fgetc,
    [](FILE *stream, int32_t offset, int whence) { return std::fseek(stream, offset, whence); },
    std::ftell,
    std::ferror,
    std::feof,
    nullptr,
    0,
    0,
};

} // namespace

Host host = LIBC;

namespace {

bool lent = false;

// The objects of a process stand in the order in which they came: this library before what came because of it.
bool process_had_icu() {
    struct Search {
        const void *own;
        bool found;
    } search = {reinterpret_cast<const void *>(&process_had_icu), false};
    const auto visit = [](dl_phdr_info *object, size_t, void *data) {
        Search &wanted = *static_cast<Search *>(data);
        const auto place = reinterpret_cast<uintptr_t>(wanted.own);
        for (int i = 0; i < object->dlpi_phnum; ++i) {
            const auto &part = object->dlpi_phdr[i];
            const uintptr_t begin = object->dlpi_addr + part.p_vaddr;
            if (part.p_type == PT_LOAD && place >= begin && place - begin < part.p_memsz) return 1; // this library: no further
        }
        wanted.found = strstr(object->dlpi_name, "/libicuuc.so") != nullptr;
        return wanted.found ? 1 : 0;
    };
    dl_iterate_phdr(visit, &search);
    return search.found;
}

void *give(const void *, size_t size) { return allocate(size); }
void *give_again(const void *, void *block, size_t size) { return size <= UINT32_MAX ? host.realloc(block, size) : nullptr; }
void take_back(const void *, void *block) { host.free(block); }

} // namespace

void *allocate(size_t size) { return size <= UINT32_MAX ? host.malloc(static_cast<uint32_t>(size)) : nullptr; }

void say(const char *format, ...) {
    if (host.print == nullptr || host.message_level == 0) return;
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    host.print(text);
}

void lend_memory_to_icu() {
    if (lent) return;
    if (process_had_icu()) {
        say("qbgl_icu: the process has ICU already: its memory stays as it is");
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    u_setMemoryFunctions(nullptr, give, give_again, take_back, &status);
    lent = U_SUCCESS(status);
    udata_setFileAccess(UDATA_NO_FILES, &status);
    if (!lent) say("qbgl_icu: ICU keeps its memory: %s", u_errorName(status));
}

bool take_memory_from_icu() {
    if (!lent) return false;
    u_cleanup();
    lent = false;
    return true;
}

} // namespace qbgl::icu

using namespace qbgl::icu;

void glu_setMallocFunc(void *(*function)(uint32_t)) { host.malloc = function != nullptr ? function : LIBC.malloc; }
void glu_setCallocFunc(void *(*function)(uint32_t, uint32_t)) { host.calloc = function != nullptr ? function : LIBC.calloc; }
void glu_setReallocFunc(void *(*function)(void *, uint32_t)) { host.realloc = function != nullptr ? function : LIBC.realloc; }
void glu_setFreeFunc(void (*function)(void *)) { host.free = function != nullptr ? function : LIBC.free; }
void glu_setFgetcFunc(int (*function)(FILE *)) { host.fgetc = function != nullptr ? function : LIBC.fgetc; }
void glu_setFseekFunc(int (*function)(FILE *, int32_t, int)) { host.fseek = function != nullptr ? function : LIBC.fseek; }
void glu_setFtellFunc(long (*function)(FILE *)) { host.ftell = function != nullptr ? function : LIBC.ftell; }
void glu_setFerrorFunc(int (*function)(FILE *)) { host.ferror = function != nullptr ? function : LIBC.ferror; }
void glu_setFeofFunc(int (*function)(FILE *)) { host.feof = function != nullptr ? function : LIBC.feof; }
void glu_setPrintMessageFunc(void (*print)(const char *)) { host.print = print; }
void glu_setMessageLevel(int level) { host.message_level = level; }
void glu_setMessageSubLevel(int level) { host.message_sublevel = level; }
