// Whether bytes are UTF-8.
#pragma once

namespace qbgl::icu {

bool is_utf8(const char *s, int length);
bool are_utf8(const char *s1, int length1, const char *s2, int length2);

} // namespace qbgl::icu
