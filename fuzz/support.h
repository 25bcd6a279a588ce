// What the fuzzers share.
#pragma once

#include "qbgl.h"

#include <cstdint>
#include <cstdlib>

// A broken promise is a finding.
inline void require(bool condition) {
    if (!condition) std::abort();
}

// Whatever file the library opens from now on holds these bytes.
inline const uint8_t *served = nullptr;
inline size_t served_size = 0;
inline void serve_object(const uint8_t *bytes, size_t size) {
    served = bytes;
    served_size = size;
    FILE *(*const open)(const char *, const char *) = [](const char *, const char *) {
        return fmemopen(const_cast<uint8_t *>(served), served_size, "r");
    };
    gl_setextfunc(nullptr, GL_EXT_FOPEN, reinterpret_cast<gl_extfunc>(open));
}
