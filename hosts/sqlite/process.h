// What the library keeps for the whole process, its registry of codesets and its lists, under one lock: connections may be of
// several threads.
#pragma once

#include "qbgl.h"

#include <mutex>
#include <string>

namespace qbgl_sqlite {

inline constinit std::mutex process_lock; // NOLINT(readability-identifier-naming)

template <class Body> auto one_at_a_time(Body body) {
    const std::lock_guard<std::mutex> lock(process_lock);
    return body();
}

// Before any locale is loaded: takes the installation tree that was built or installed beside the extension, in a process that has
// no QUORBANEDIR, and lets the library have ICU when it is told to.
void prepare_library();

// Whether the environment asks for ICU: GL_USEGLU=1 or 2.
bool environment_wants_icu();

// The number of a codeset, by any of its names.
inline int codeset_number(const std::string &name) {
    return one_at_a_time([&] { return gl_cs_name2cs_num(nullptr, name.c_str(), nullptr); });
}

} // namespace qbgl_sqlite
