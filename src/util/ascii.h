// Character classes and case of ASCII, as libc's <ctype.h> has them in the C locale. What the library reads (names, file formats)
// is ASCII, and the host may have called setlocale(). Any int is allowed: EOF and bytes above 127 are in no class.
#pragma once

namespace qbgl::ascii {

constexpr bool is_digit(int c) { return c >= '0' && c <= '9'; }
constexpr bool is_upper(int c) { return c >= 'A' && c <= 'Z'; }
constexpr bool is_lower(int c) { return c >= 'a' && c <= 'z'; }
constexpr bool is_alpha(int c) { return is_upper(c) || is_lower(c); }
constexpr bool is_alnum(int c) { return is_alpha(c) || is_digit(c); }
constexpr bool is_xdigit(int c) { return is_digit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f'); }
constexpr bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool is_graph(int c) { return c > ' ' && c < 0x7F; }

constexpr char to_lower(char c) { return is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr char to_upper(char c) { return is_lower(c) ? static_cast<char>(c - 'a' + 'A') : c; }

} // namespace qbgl::ascii
