// The installation directory: what the environment says, else what the host has named, else what the library was built with.
#include "ext/error.h"
#include "util/search.h"

#include <string.h>

namespace {

constexpr char VARIABLE[] = "QUORBANEDIR";
constexpr size_t LONGEST = 256;

char named_by_host[LONGEST + 1] = QBGL_DEFAULT_DIRECTORY;
static_assert(sizeof QBGL_DEFAULT_DIRECTORY <= sizeof named_by_host);

} // namespace

int qbgl::chk_quorbanedir(void *ctx) {
    const char *directory = _gl_get_env_var(VARIABLE);
    if (directory == nullptr || strlen(directory) <= LONGEST) return 0;
    set_error(ctx, GL_ENOFILE);
    gl_message("Environment variable QUORBANEDIR cannot be greater than 256 characters");
    return 1;
}

const char *qbgl::installation_directory() {
    const char *directory = _gl_get_env_var(VARIABLE);
    return directory != nullptr ? directory : named_by_host;
}

int gl_set_directory(const char *directory) {
    if (directory == nullptr || *directory == '\0') directory = QBGL_DEFAULT_DIRECTORY;
    const size_t length = strnlen(directory, sizeof named_by_host);
    if (length > LONGEST) return -1;
    memmove(named_by_host, directory, length);
    named_by_host[length] = '\0';
    return 0;
}
