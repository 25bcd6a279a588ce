#include "locale/ctype.h"

#include "locale/encoder.h"
#include "object/character_table.h"
#include "object/numbers.h"
#include "object/text.h"
#include "system/fingerprint.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>

namespace qbgl::compiler {

namespace {

enum Mask : uint16_t {
    UPPER = 1,
    LOWER = 2,
    ALPHA = 4,
    DIGIT = 8,
    SPACE = 16,
    CNTRL = 32,
    PUNCT = 64,
    GRAPH = 128,
    PRINT = 256,
    XDIGIT = 512,
    BLANK = 1024
};
constexpr unsigned FIRST_OWN_BIT = 11, OWN_BITS = 5; // of the 16

struct StandardClass {
    std::string_view name;
    Mask mask;
    std::array<std::pair<char32_t, char32_t>, 3> standard; // members when the definition is silent
};
constexpr std::array<StandardClass, 11> STANDARD_CLASSES{{
    {"upper", UPPER, {{{'A', 'Z'}}}},
    {"lower", LOWER, {{{'a', 'z'}}}},
    {"alpha", ALPHA, {}},
    {"digit", DIGIT, {{{'0', '9'}}}},
    {"space", SPACE, {{{'\t', '\r'}, {' ', ' '}}}},
    {"cntrl", CNTRL, {}},
    {"punct", PUNCT, {}},
    {"graph", GRAPH, {}},
    {"print", PRINT, {}},
    {"xdigit", XDIGIT, {{{'0', '9'}, {'A', 'F'}, {'a', 'f'}}}},
    {"blank", BLANK, {{{'\t', '\t'}, {' ', ' '}}}},
}};

const std::vector<CodePair> &map_of(const CharacterTypes &types, const char *name) {
    static const std::vector<CodePair> none;
    const auto place = types.maps.find(name);
    return place == types.maps.end() ? none : place->second;
}

template <class Function> void for_each(const std::vector<CodeRange> &ranges, Function function) {
    for (const CodeRange &range : ranges)
        for (char32_t code = range.first; code <= range.last && code < CODE_LIMIT; code += range.step) function(code);
}

bool stands_in(const std::string &file, const std::vector<CodeRange> &ranges) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const CodeRange &range) { return range.place.file && *range.place.file == file; });
}

} // namespace

CharacterProperties::CharacterProperties(const Definition &definition) : masks_(CODE_LIMIT, 0) {
    add_classes(definition.ctype);
    add_cases(definition.ctype);
    add_own_classes(definition);
}

void CharacterProperties::add_classes(const CharacterTypes &types) {
    for (const StandardClass &item : STANDARD_CLASSES) {
        const auto written = types.classes.find(std::string(item.name));
        if (written == types.classes.end()) {
            for (const auto &[first, last] : item.standard)
                for (char32_t code = first; code <= last && first != 0; ++code) masks_[code] |= item.mask;
            continue;
        }
        for_each(written->second, [&](char32_t code) { masks_[code] |= item.mask; });
    }
    const bool alpha_written = types.classes.contains("alpha");
    for (uint16_t &mask : masks_) {
        if (!alpha_written && (mask & (UPPER | LOWER)) != 0) mask |= ALPHA;
        if ((mask & (UPPER | LOWER | ALPHA | DIGIT | XDIGIT | PUNCT)) != 0) mask |= GRAPH;
        if ((mask & GRAPH) != 0) mask |= PRINT;
    }
    masks_[' '] |= PRINT;
}

void CharacterProperties::add_cases(const CharacterTypes &types) {
    const auto of = [this](char32_t code) -> Case & { return cases_.emplace(code, Case{code, code}).first->second; };
    for (const CodePair &pair : map_of(types, "toupper")) of(pair.from).upper = pair.to;
    if (!types.maps.contains("toupper"))
        for (char32_t code = 'a'; code <= 'z'; ++code) of(code).upper = code - 'a' + 'A';
    if (types.maps.contains("tolower")) {
        for (const CodePair &pair : map_of(types, "tolower")) of(pair.from).lower = pair.to;
        return;
    }
    const std::map<char32_t, Case> uppers = cases_;
    for (const auto &[code, mapping] : uppers) of(mapping.upper).lower = code;
}

void CharacterProperties::add_own_classes(const Definition &definition) {
    const CharacterTypes &types = definition.ctype;
    for (const bool copied : {false, true})
        for (const std::string &name : types.own_classes) {
            const auto written = types.classes.find(name);
            if (written == types.classes.end() || stands_in(definition.file, written->second) == copied) continue;
            own_classes_.push_back({name, std::vector<bool>(CODE_LIMIT)});
            for_each(written->second, [&](char32_t code) { own_classes_.back().members[code] = true; });
        }
}

const CharacterProperties::Case *CharacterProperties::find_case(char32_t code) const {
    const auto place = cases_.find(code);
    return place == cases_.end() ? nullptr : &place->second;
}

std::string properties_key(const Definition &definition) {
    Fingerprint key;
    std::string text;
    const auto add = [&](uint32_t value) {
        for (int i = 0; i < 4; ++i) text += static_cast<char>(value >> 8 * i);
    };
    const CharacterTypes &types = definition.ctype;
    for (const auto &[name, ranges] : types.classes) {
        key.add(name);
        text.clear();
        for (const CodeRange &range : ranges) add(range.first), add(range.last), add(range.step);
        key.add(text).add(stands_in(definition.file, ranges) ? "own" : "copied");
    }
    for (const std::string &name : types.own_classes) key.add(name);
    for (const char *name : {"toupper", "tolower"}) {
        key.add(types.maps.contains(name) ? name : "-");
        text.clear();
        for (const CodePair &pair : map_of(types, name)) add(pair.from), add(pair.to);
        key.add(text);
    }
    return key.hex();
}

namespace {

// The section of one codeset.
class Section {
  public:
    Section(const CharacterProperties &properties, const Codeset &codeset, const std::vector<bool> &full_width)
        : properties_(properties), codeset_(codeset), full_width_(full_width) {}

    std::string text() {
        choose_bits();
        CharacterTable classes(0), cases(0);
        const auto &characters = codeset_.read();
        for (size_t i = 0; i < characters.size(); ++i) {
            const Character &character = characters[i];
            const Sequence bytes = memory_bytes(codeset_, character.bytes);
            classes.insert(bytes, mask_of(character.code, full_width_[i]));
            cases.insert(bytes, case_of(character));
        }
        codeset_.for_each_unlisted([&](const Character &character) {
            classes.insert(character.bytes, mask_of(character.code, codeset_.is_full_width(character.code)));
            cases.insert(character.bytes, case_of(character));
        });
        std::string text = classes.text() + fmt::format("{}\n", names_.size());
        for (size_t bit = 0; bit < names_.size(); ++bit) text += fmt::format("{} {}\n", bit, names_[bit]);
        text += cases.text() + fmt::format("{}", pairs_.size());
        if (!pairs_.empty()) text += '\n';
        uint32_t last = 0;
        for (const auto &[upper, lower] : pairs_) {
            put_difference(text, upper, last);
            put_difference(text, lower, upper);
            last = upper;
        }
        return text + fmt::format(" {}\n", ratio_text(growth_, per_));
    }

  private:
    using Pair = std::pair<uint32_t, uint32_t>;

    // A class without a member in this codeset yields its bit to one that has some.
    void choose_bits() {
        names_.push_back("full_width");
        const auto &characters = codeset_.read();
        std::vector<std::string> empty;
        for (const CharacterProperties::Class &own : properties_.own_classes()) {
            if (own.name == names_.front()) continue;
            const bool used = std::any_of(characters.begin(), characters.end(),
                                          [&](const Character &character) { return own.members[character.code]; });
            if (used && names_.size() < OWN_BITS) matching_.push_back(&own);
            (used ? names_ : empty).push_back(own.name);
        }
        names_.insert(names_.end(), empty.begin(), empty.end());
    }

    uint16_t mask_of(char32_t code, bool full_width) const {
        unsigned mask = properties_.mask(code);
        if (mask == 0 && !codeset_.is_known(code)) mask = GRAPH | PRINT;
        if (full_width) mask |= 1u << FIRST_OWN_BIT;
        for (size_t k = 0; k < matching_.size(); ++k)
            if (matching_[k]->members[code]) mask |= 1u << (FIRST_OWN_BIT + 1 + k);
        return static_cast<uint16_t>(mask);
    }

    // The index of the character's case pair, 0 for none. Both characters of a pair have the same: a mapping to itself changes
    // nothing.
    uint16_t case_of(const Character &character) {
        const CharacterProperties::Case *mapping = properties_.find_case(character.code);
        if (mapping == nullptr) return 0;
        const Pair pair{value_of(mapping->upper, character), value_of(mapping->lower, character)};
        if (pair.first == pair.second) return 0;
        const auto [place, is_new] = indexes_.emplace(pair, static_cast<uint16_t>(pairs_.size() + 1));
        if (is_new) pairs_.push_back(pair);
        if (pairs_.size() > UINT16_MAX) throw DataError(codeset_.name() + ": more than 65535 case pairs");
        return place->second;
    }

    uint32_t value_of(char32_t code, const Character &original) {
        const std::optional<Character> unlisted = codeset_.find_unlisted(code);
        const Character *character = code == original.code ? &original : unlisted ? &*unlisted : codeset_.find(code);
        // What is written as a base and a mark, or comes back as another character, is no character of the codeset.
        if (character == nullptr || character->one_way || (!unlisted && codeset_.find(character->bytes) == nullptr))
            character = &original;
        const Sequence bytes = memory_bytes(codeset_, character->bytes);
        if (bytes.length * per_ > growth_ * original.bytes.length) {
            growth_ = bytes.length;
            per_ = original.bytes.length;
        }
        return std::accumulate(bytes.bytes.begin(), bytes.bytes.begin() + bytes.length, uint32_t{0},
                               [](uint32_t value, uint8_t byte) { return value << 8 | byte; });
    }

    const CharacterProperties &properties_;
    const Codeset &codeset_;
    const std::vector<bool> &full_width_;
    std::vector<std::string> names_; // by bit
    std::vector<const CharacterProperties::Class *> matching_;
    std::map<Pair, uint16_t> indexes_;
    std::vector<Pair> pairs_;
    int growth_ = 1, per_ = 1;
};

} // namespace

std::string ctype_section(const CharacterProperties &properties, const Codeset &codeset, const std::vector<bool> &full_width) {
    return Section(properties, codeset, full_width).text();
}

} // namespace qbgl::compiler
