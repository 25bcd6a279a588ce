// Opening a file with a message about the outcome.
#include "ext/error.h"
#include "util/scratch.h"
#include "util/search.h"

#include <algorithm>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

const gl_file_functions gl_ext_functions = {_gl_ext_malloc, _gl_ext_free, _gl_ext_fopen, _gl_ext_fclose};
const gl_file_functions gl_reg_functions = {gl_ext_malloc, free, fopen, fclose}; // gl_ext_malloc is malloc with a size of 32 bits

namespace qbgl {

bool is_special_file(const char *path) {
    struct stat status;
    return stat(path, &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

FILE *open_to_read(const char *path, FILE *(*open)(const char *path, const char *mode)) {
    return is_special_file(path) ? nullptr : open(path, "r");
}

std::optional<FILE *> try_open(void *ctx, const char *path, const gl_file_functions &set) {
    const uint64_t size = uint64_t{strlen(path)} + 20; // room for either lead
    const Scratch message(set, size);
    if (message.text() == nullptr) {
        set_error(ctx, GL_ENOMEM);
        return std::nullopt;
    }
    FILE *const stream = open_to_read(path, set.open);
    snprintf(message.text(), static_cast<size_t>(size), stream != nullptr ? "Opened: %s" : "Could not open: %s", path);
    gl_message(message.text());
    if (stream == nullptr) set_error(ctx, GL_ENOFILE);
    return stream;
}

FILE *open_file(void *ctx, const char *path, const gl_file_functions *set) { return try_open(ctx, path, *set).value_or(nullptr); }

int has_path_cookie(const char *name) { return strchr(name, PATH_COOKIE) != nullptr ? 1 : 0; }

} // namespace qbgl

FILE *gl_open_file(void *ctx, const char *name) {
    const size_t length = strlen(name);
    const qbgl::Scratch path(gl_ext_functions, uint64_t{length} + 1);
    if (path.text() == nullptr) {
        qbgl::set_error(ctx, GL_ENOMEM);
        return nullptr;
    }
    std::replace_copy(name, name + length + 1, path.text(), qbgl::PATH_COOKIE, '/');
    return qbgl::open_file(ctx, path.text(), &gl_ext_functions);
}
