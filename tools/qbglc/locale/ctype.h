// LC_CTYPE of a locale object.
#pragma once

#include "charmap/codeset.h"
#include "definition/definition.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace qbgl::compiler {

// What a definition says about each character, with what POSIX implies, ready to be written in any codeset.
class CharacterProperties {
  public:
    struct Class {
        std::string name;
        std::vector<bool> members; // by code
    };
    struct Case {
        char32_t upper, lower; // the character itself where there is no mapping
    };

    explicit CharacterProperties(const Definition &definition);

    uint16_t mask(char32_t code) const { return masks_[code]; } // of the standard classes
    const Case *find_case(char32_t code) const;
    // Those that the definition itself adds, then those that it copies.
    const std::vector<Class> &own_classes() const { return own_classes_; }

  private:
    void add_classes(const CharacterTypes &types);
    void add_cases(const CharacterTypes &types);
    void add_own_classes(const Definition &definition);

    std::vector<uint16_t> masks_;
    std::map<char32_t, Case> cases_;
    std::vector<Class> own_classes_;
};

// Two definitions of the same key have the same properties.
std::string properties_key(const Definition &definition);

// `full_width` tells of every character of codeset.read() whether it fills two columns.
std::string ctype_section(const CharacterProperties &properties, const Codeset &codeset, const std::vector<bool> &full_width);

} // namespace qbgl::compiler
