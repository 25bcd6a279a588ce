// The codeset registry: its file, its caches, and the table that is built in.
#pragma once

#include "qbgl.h"

#include <string_view>

namespace qbgl {

inline constexpr int CODESET_NAME_MAX = 21;

// A line of the registry file. Entry and name are two blocks of libc's allocator, whatever the host has put into the table.
struct RegistryEntry {
    char *name; // CODESET_NAME_MAX + 1 bytes, lower case
    uint16_t number;
    RegistryEntry *next;
};

struct CannedCodeset {
    const char *name; // null ends the table
    uint32_t number;
};

extern const CannedCodeset vrn_canned_registry[];

// The registry file's lines in file order, or the built-in table when the file could not be cached; at most one is set.
extern RegistryEntry *vrn_registry_list_cache;
extern const CannedCodeset *vrn_registry_array_cache;

// gl_cs_name2cs_num for a name that need not end with a NUL.
uint16_t codeset_number(void *ctx, std::string_view name, const char *registry_path);

// The registry for many lookups: the cache when there is one, otherwise the file, read once. Without either it knows no names.
class RegistrySnapshot {
  public:
    RegistrySnapshot();
    RegistrySnapshot(const RegistrySnapshot &) = delete;
    RegistrySnapshot &operator=(const RegistrySnapshot &) = delete;
    ~RegistrySnapshot();

    // As gl_cs_name2cs_num.
    uint16_t number_of(std::string_view name) const;
    // The first name of a codeset that is not that of a locale ("c", "posix"), or null.
    const char *name_of(uint16_t number) const;

  private:
    RegistryEntry *own_ = nullptr;
};

// Looks for a (lower-case) name in a registry file. Returns 0, with GL_NO_CODESET as the number when it is not there, or
// GL_EBADFILE.
int find_in_registry(FILE *stream, std::string_view name, uint16_t &number);

// Reads a registry file into a list, whose blocks come from `memory`. Returns 0, GL_ENOMEM or GL_EBADFILE.
int read_registry(FILE *stream, const gl_file_functions &memory, RegistryEntry *&head);
void _gl_free_registry_list(RegistryEntry *list);

// 1 behind the next newline, 0 at the end of the file.
int ignore_till_eol(FILE *stream);

} // namespace qbgl
