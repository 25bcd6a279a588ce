// Any bytes as a registry file: looked up in, cached, and looked up in the cache.
#include "spec/registry.h"
#include "support.h"

#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// A file in memory that can be opened by name any number of times.
const int file = memfd_create("registry", 0);
char path[32];

void rewrite(const uint8_t *data, size_t size) {
    require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    snprintf(path, sizeof path, "/proc/self/fd/%d", file);
}

uint16_t look_up(const char *name) {
    int32_t error = 0;
    const uint16_t number = gl_cs_name2cs_num(&error, name, path);
    if (number != GL_NO_CODESET) require(error == 0);
    return number;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    rewrite(data, size);
    gl_free_registry_cache();
    char first[qbgl::CODESET_NAME_MAX + 1] = "";
    FILE *stream = fopen(path, "r");
    const bool named = _gl_next_cs_name_from_registry(stream, first, sizeof first) == 1;
    fclose(stream);
    const uint16_t first_number = look_up(first);
    look_up("sjis");
    look_up("819");

    int32_t error = 0;
    const int result = gl_cache_registry(&error, path);
    require(result == 0 ? error == 0 && qbgl::vrn_registry_array_cache == nullptr
                        : error == GL_EBADFILE && qbgl::vrn_registry_list_cache == nullptr);
    for (const auto *entry = qbgl::vrn_registry_list_cache; entry != nullptr; entry = entry->next)
        require(strlen(entry->name) <= qbgl::CODESET_NAME_MAX && look_up(entry->name) != GL_NO_CODESET);
    // The first name of a file that can be cached has the same number with and without the cache.
    if (named && result == 0) require(look_up(first) == first_number);
    gl_free_registry_cache();
    return 0;
}
