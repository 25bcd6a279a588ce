// Real text to measure with: the platform's translated manual pages, its programs' messages where those are few, or the examples of
// this tree where there is neither.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

// At least `size` bytes of UTF-8 text in a language ("ja", "zh_TW", "zh_CN", "de", "fr", "cs", "ru", "ar", "th", "en"), cut at a
// line end near it.
std::string text_of(const std::string &language, size_t size);

// Text converted by the platform's iconv; of UTF-8, what the target lacks is left out.
std::string converted(const std::string &text, const std::string &from, const std::string &to);

std::vector<std::string> lines_of(const std::string &text);

} // namespace bench
