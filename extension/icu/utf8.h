// Whether bytes are UTF-8.
#pragma once

namespace qbgl::icu {

bool is_utf8(const char *s, int length);

} // namespace qbgl::icu
