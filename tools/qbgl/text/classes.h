// The character classes of a locale.
#pragma once

#include "qbgl.h"

#include <string>
#include <vector>

namespace qbgl {

struct CharacterClass {
    std::string name;
    unsigned mask;
    bool own; // defined by the locale
};

// The standard classes, "alnum" excepted, which is made of two others; then the locale's own.
std::vector<CharacterClass> classes_of(gl_locale &locale);

struct Census {
    uint64_t characters = 0, shortest = 0, longest = 0; // how many, and their lengths in bytes
    std::vector<uint64_t> members;                      // of each class
};

// Counts the characters of the locale's codeset.
Census count_characters(const gl_locale &locale, const std::vector<CharacterClass> &classes);

} // namespace qbgl
