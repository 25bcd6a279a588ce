// The version of the library, which is that of the header that it was built with.
#include "qbgl.h"

#define TEXT_OF(number) #number
#define VERSION_TEXT(major, minor, patch) TEXT_OF(major) "." TEXT_OF(minor) "." TEXT_OF(patch)

int gl_version(void) { return QBGL_VERSION; }

const char *gl_version_text(void) { return VERSION_TEXT(QBGL_VERSION_MAJOR, QBGL_VERSION_MINOR, QBGL_VERSION_PATCH); }
