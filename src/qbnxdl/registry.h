// The list of extension libraries: vrn/etc/dllregistry in the installation directory, one file name of vrn/dll a line.
#pragma once

#include "util/owned.h"
#include "util/search.h"

namespace qbgl {

inline constexpr uint32_t MAX_LIBRARIES = 4;

// A stream of libc's, which is what the list is read with whatever a host has put into the function table.
class RegistryFile {
  public:
    explicit RegistryFile(const char *path) : stream_(open_to_read(path, fopen)) {}
    RegistryFile(const RegistryFile &) = delete;
    RegistryFile &operator=(const RegistryFile &) = delete;
    ~RegistryFile() { close(); }

    FILE *get() const { return stream_; }
    explicit operator bool() const { return stream_ != nullptr; }
    void close() {
        if (FILE *stream = std::exchange(stream_, nullptr)) fclose(stream);
    }

  private:
    FILE *stream_;
};

Owned<char> registry_path(const char *install_dir);

// Reads the next line and makes *path the path of the library that it names, in a buffer of *capacity bytes that grows as needed.
// At the end of the list the buffer is freed and *path null. Returns 0, or -1 when memory is out, *path being null then too.
int get_dl_name(FILE *stream, const char *install_dir, char **path, uint32_t *capacity);

} // namespace qbgl
