// Collation rules by chance, and what they say of texts.
#pragma once

#include "locale_object.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace qbgl_test {

using Chars = std::vector<gl_wchar>;

// The rules once more, with nothing in mind but what they say.
struct CollationModel {
    struct Weight {
        unsigned value;
        gl_wchar tie; // 0 for an ordinary one
        auto operator<=>(const Weight &) const = default;
    };

    const Collation &rules;
    std::map<gl_wchar, unsigned> row_of;
    int longest = 1;

    CollationModel(const Codeset &codeset, const Collation &collation) : rules(collation) {
        size_t longest_key = 0;
        for (const auto &[bytes, row] : collation.places) {
            row_of[wide(bytes)] = row;
            longest_key = std::max(longest_key, bytes.size());
        }
        for (gl_wchar byte = 0; longest_key == 1 && byte < 256; ++byte) row_of.try_emplace(byte, 0); // a single-byte table has all
        for (const Character &character : codeset.characters) longest = std::max(longest, static_cast<int>(character.bytes.size()));
    }

    std::vector<Weight> weights(size_t pass, const Chars &text) const {
        const bool backward = (rules.directions[pass] & 1) == 0;
        std::vector<std::pair<gl_wchar, std::optional<unsigned>>> steps; // characters and rows
        const auto step = [this](gl_wchar wc) {
            const auto found = row_of.find(wc);
            return std::pair(wc, found != row_of.end() ? std::optional(found->second) : std::nullopt);
        };
        for (size_t at = 0; at < text.size();) {
            const auto begins = [&](const Collation::Element &element) {
                return element.chars.size() <= text.size() - at &&
                       std::equal(element.chars.begin(), element.chars.end(), text.begin() + static_cast<ptrdiff_t>(at));
            };
            const auto element = std::find_if(rules.elements.begin(), rules.elements.end(), begins);
            const bool found = element != rules.elements.end();
            steps.push_back(found ? std::pair(gl_wchar{1}, std::optional(element->row)) : step(text[at]));
            at += found ? element->chars.size() : 1;
        }
        if (backward) std::reverse(steps.begin(), steps.end());
        std::vector<Weight> result;
        for (auto [character, row] : steps) {
            Chars expansion; // what is left of it, the next character last
            for (;;) {
                if (!row) return result;
                const unsigned weight = rules.rows[*row][pass];
                if ((weight & 0xC000) == 0x4000) {
                    expansion = rules.expansions[weight & 0x3FFF];
                    if (!backward) std::reverse(expansion.begin(), expansion.end());
                } else if (weight != 1) {
                    result.push_back({weight & 0x3FFF, weight >= 0x8000 ? character : 0});
                }
                if (expansion.empty()) break;
                std::tie(character, row) = step(expansion.back());
                expansion.pop_back();
            }
        }
        return result;
    }

    int compare(const Chars &a, const Chars &b) const {
        for (size_t pass = 0; pass < rules.directions.size(); ++pass) {
            const auto x = weights(pass, a), y = weights(pass, b);
            if (x != y) return x < y ? -1 : 1;
        }
        return 0;
    }

    std::string key(const Chars &text) const {
        unsigned largest = 0;
        for (const auto &row : rules.rows)
            for (const unsigned weight : row) largest = std::max(largest, weight);
        const auto digits = [](uint64_t value, int count) {
            std::string result;
            for (value -= 2; count > 0; --count, value /= 254) result.insert(result.begin(), static_cast<char>(value % 254 + 2));
            return result;
        };
        std::string result;
        for (size_t pass = 0; pass < rules.directions.size(); ++pass) {
            if (pass > 0) result += '\1';
            for (const auto &[value, tie] : weights(pass, text)) {
                result += digits(value, largest < 254 ? 1 : largest < 254 * 254 ? 2 : 3);
                if (tie != 0) result += digits(tie, longest + 1);
            }
        }
        return result;
    }
};

struct CollatedText {
    std::string bytes{};
    Chars chars{};

    CollatedText &operator+=(const std::string &character) {
        bytes += character;
        chars.push_back(wide(character));
        return *this;
    }
    CollatedText &operator+=(const CollatedText &other) {
        bytes += other.bytes;
        chars.insert(chars.end(), other.chars.begin(), other.chars.end());
        return *this;
    }
    int size() const { return static_cast<int>(bytes.size()); }
    int length() const { return static_cast<int>(chars.size()); }
};

// Rules for a few characters of every length, or for a whole codeset, with as many ties, ignored and unknown characters, expansions
// and elements as chance will have it.
struct RandomRules {
    std::vector<std::string> characters;
    Collation collation{{}, {}};

    RandomRules(const Codeset &codeset, auto &&random, bool whole = false) {
        const auto below = [&random](size_t limit) { return random() % limit; };
        const size_t alphabet = 3 + below(8), pass_count = 1 + below(8), expansion_count = below(2) * below(5);
        const bool elements = below(2) != 0, specials = below(3) == 0, two_digits = below(2) != 0;
        for (size_t i = 0; i < (whole ? codeset.characters.size() : alphabet); ++i)
            characters.push_back(codeset.characters[whole ? i : 2 + below(codeset.characters.size() - 2)].bytes);
        std::sort(characters.begin(), characters.end());
        characters.erase(std::unique(characters.begin(), characters.end()), characters.end());
        const auto some = [&](size_t least, size_t limit) {
            Chars text;
            for (size_t count = least + below(limit - least); count > 0; --count)
                text.push_back(wide(characters[below(characters.size())]));
            return text;
        };
        const bool one_way = below(2) != 0;
        for (size_t pass = 0; pass < pass_count; ++pass)
            collation.directions.push_back(one_way ? 1 : std::array{1, 2, 1, 4, 5}[below(5)]);
        for (size_t i = 0; i < expansion_count; ++i) collation.expansions.push_back(some(1, 5));
        const auto weight = [&](bool plain) -> unsigned {
            if (below(4) == 0) return 1;
            // An expansion is only met in one of a lower number.
            if (!plain && expansion_count > 0 && below(4) == 0) return 0x4000 | static_cast<unsigned>(below(expansion_count));
            if (!plain && specials && below(4) == 0) return 0x8000 | static_cast<unsigned>(6 + below(2));
            return static_cast<unsigned>(2 + below(4)) + (two_digits ? 252 : 0);
        };
        const auto add_row = [&](bool plain) {
            collation.rows.emplace_back();
            for (size_t pass = 0; pass < pass_count; ++pass) collation.rows.back().push_back(weight(plain));
            return collation.rows.size() - 1;
        };
        add_row(true);
        if (below(2) != 0)
            collation.places.emplace_back("\x80\x80", 0); // no character: a single-byte codeset has more to its table
        for (const std::string &character : characters)
            if (below(12) != 0) collation.places.emplace_back(character, add_row(false));
        for (size_t i = below(5); elements && i > 0; --i)
            collation.elements.push_back({some(1, 4), static_cast<unsigned>(add_row(true))});
    }

    CollatedText text(auto &&random, size_t length) const {
        CollatedText result;
        for (; length > 0; --length) result += characters[random() % characters.size()];
        return result;
    }
};

} // namespace qbgl_test
