// What was found out about the characters of a source codeset: how long each is, and whether it is of a certain sort. Each is
// looked at once; then it costs a look into an array.
#pragma once

#include "text/conversion.h"

#include <algorithm>
#include <array>

namespace qbgl {

class CharacterMemo {
  public:
    // A length in bytes, and the mark of the sort in question.
    static constexpr uint8_t LENGTH = 7, MARKED = 8;

    // A codeset without units, in one shift state. Both must stay as they are.
    CharacterMemo(const Stage &source, const gl_cv_state &state) : source_(source), state_(state) {}

    // What begins a text that is not empty. A new character is marked when `judge(character)` says so; what is no character is a
    // marked byte.
    template <typename Judge> uint8_t at(std::string_view text, const Judge &judge) {
        const uint8_t fact = find(text);
        return fact != UNKNOWN ? fact : learn(text, judge);
    }
    // Marks the character at a text's beginning.
    void mark(std::string_view text) {
        learn(text, [](std::string_view) { return true; });
    }

    // How many bytes at a text's beginning are known to be characters without a mark.
    size_t unmarked_bytes(std::string_view text) const {
        size_t count = 0;
        while (count < text.size() && bytes_[static_cast<uint8_t>(text[count])] == 1) ++count;
        return count;
    }

  private:
    static constexpr uint8_t UNKNOWN = 0, LONGER = 7;
    static constexpr size_t LONGEST = 4;
    // Three or four bytes: a character, or what makes plain that they begin none.
    struct Longer {
        uint32_t value = 0;
        uint8_t size = 0, fact = UNKNOWN;
    };

    static uint32_t value(std::string_view text, size_t size) {
        uint32_t result = 0;
        for (size_t i = 0; i < size; ++i) result = result << 8 | static_cast<uint8_t>(text[i]);
        return result;
    }
    Longer &slot(uint32_t value) { return longer_[value * 2654435761U >> 20]; } // the top 12 bits of a product that mixes all

    uint8_t find(std::string_view text) {
        uint8_t fact = bytes_[static_cast<uint8_t>(text[0])];
        if (fact != LONGER || text.size() < 2) return fact != LONGER ? fact : UNKNOWN;
        fact = pairs_[value(text, 2)];
        if (fact != LONGER) return fact;
        for (size_t size = 3; size <= std::min(text.size(), LONGEST); ++size) {
            const uint32_t bytes = value(text, size);
            if (const Longer &known = slot(bytes); known.value == bytes && known.size == size) return known.fact;
        }
        return UNKNOWN;
    }

    // Of the beginnings of a text the shortest that tells.
    template <typename Judge> uint8_t learn(std::string_view text, const Judge &judge) {
        for (size_t size = 1; size <= std::min(text.size(), LONGEST); ++size) {
            const std::string_view begin = text.substr(0, size);
            const size_t length = source_.character_length(state_, begin);
            if (length == 0 && source_.unreadable_length(state_, begin) == 0) {
                store(begin, LONGER);
                continue;
            }
            const bool marked = length == 0 || judge(begin.substr(0, length));
            const auto fact = static_cast<uint8_t>(std::max<size_t>(length, 1) | (marked ? MARKED : 0U));
            store(begin, fact);
            return fact;
        }
        return 1 | MARKED; // the text ends too early
    }

    void store(std::string_view begin, uint8_t fact) {
        const uint32_t bytes = value(begin, begin.size());
        if (begin.size() == 1)
            bytes_[bytes] = fact;
        else if (begin.size() == 2)
            pairs_[bytes] = fact;
        else if (fact != LONGER)
            slot(bytes) = {bytes, static_cast<uint8_t>(begin.size()), fact};
    }

    const Stage &source_;
    gl_cv_state state_;
    std::array<uint8_t, 256> bytes_{};                                    // by the first byte
    std::vector<uint8_t> pairs_ = std::vector<uint8_t>(1 << 16, UNKNOWN); // and by the first two
    std::vector<Longer> longer_ = std::vector<Longer>(1 << 12);
};

} // namespace qbgl
