#include "icu/host.h"

#include "icu/entry.h"

#include <cstdarg>
#include <cstdlib>

namespace qbgl::icu {

namespace {

constexpr Host LIBC = {
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
