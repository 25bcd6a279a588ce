// The environment, where an empty value counts as unset.
#include "qbgl.h"

#include <stdlib.h>

namespace {

char *unless_empty(char *value) { return value != nullptr && *value != '\0' ? value : nullptr; }

} // namespace

char *_gl_get_env_var(const char *name) { return unless_empty(_gl_ext_getenv(name)); }

// Not through the table: the search path belongs to the process, not to the host's idea of an environment.
char *gl_get_gl_path(void) { return unless_empty(getenv("GL_PATH")); }
