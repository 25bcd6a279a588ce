// The platform's loader behind a record that keeps the path and the last error text of a library.
#include "qbnxdl/libraries.h"
#include "qbnxdl/text.h"

#include <dlfcn.h>
#include <errno.h>

namespace {

constexpr int LOADER_ERROR = -1, INTERNAL_ERROR = -2;

// The text may be the old one.
void replace(char *&owned, const char *text) {
    char *const copy = text != nullptr ? qbgl::join({text}).release() : nullptr;
    _gl_free_ptr(std::exchange(owned, copy));
}

int internal_error(qbnx_library *library) {
    replace(library->error_text, "Internal Error");
    library->error = INTERNAL_ERROR;
    return -1;
}

} // namespace

int qbnx_dlerror(qbnx_library *library) {
    const int number = errno;
    replace(library->error_text, dlerror());
    library->error = LOADER_ERROR;
    return number;
}

int qbnx_dlopen(qbnx_library *library, const char *path, int flags) {
    library->handle = nullptr;
    replace(library->path, path);
    if (library->path == nullptr) return internal_error(library);
    library->handle = dlopen(library->path, flags == qbgl::DEFAULT_OPEN_FLAGS ? RTLD_NOW | RTLD_GLOBAL : flags);
    if (library->handle != nullptr) return 0;
    qbnx_dlerror(library);
    return -1;
}

int qbnx_dlsym(qbnx_library *library, void **pointer, const char *name) {
    *pointer = nullptr;
    if (library->handle == nullptr || name == nullptr) return internal_error(library);
    *pointer = dlsym(library->handle, name);
    if (*pointer != nullptr) return 0;
    qbnx_dlerror(library);
    return -1;
}

// A library that could not be closed keeps its path, for the report of the failure.
int qbnx_dlclose(qbnx_library *library) {
    if (library->handle == nullptr) return internal_error(library);
    const int result = dlclose(library->handle);
    if (result != 0) {
        qbnx_dlerror(library);
        return result;
    }
    library->handle = nullptr;
    replace(library->path, nullptr);
    return 0;
}
