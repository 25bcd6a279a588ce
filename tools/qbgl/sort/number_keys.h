// Keys of numbers in texts: compared as unsigned bytes, they order as the numbers do.
#pragma once

#include <string>
#include <string_view>

namespace qbgl {

// The number that begins a text behind its blanks, of any length: a minus, digits with separators, a decimal point, digits; what is
// none counts as 0.
std::string number_key(std::string_view text, std::string_view point, std::string_view separator);

// The same where one of the letters KMGTPEZYRQ may follow; a greater letter makes a greater number, whatever its digits.
std::string size_key(std::string_view text, std::string_view point, std::string_view separator);

// Digits within the text count as numbers. "~" comes before the text's end, letters before other characters.
std::string version_key(std::string_view text);

} // namespace qbgl
