// How a text is compared in the order for indexes, step by step: a plain walk over a locale's rules, for people to see.
#pragma once

#include "qbgl.h"

#include <cstddef>
#include <string>
#include <vector>

namespace qbgl {

enum class StepSort {
    IGNORED,   // skipped on this pass
    WEIGHT,    // compared by weight
    SPECIAL,   // compared by weight, and where that is equal, by code value
    RANKED,    // compared by weight, and where that is equal, by rank
    CODE,      // compared by code value
    EXPANSION, // the steps behind it stand for it
    UNKNOWN    // not in the rules: on the first pass behind all weights, by code value, and alike on the others
};

struct WalkStep {
    StepSort sort;
    unsigned weight;
    gl_wchar code;               // of a character, or its rank; an element has none
    std::vector<gl_wchar> chars; // a character, or those of a collating element
    std::vector<gl_wchar> of;    // the character or element that was expanded to this one, if any
};

using Steps = std::vector<WalkStep>;

// With the value of a byte, or two where no character has fewer, that are no character: those come behind all characters.
constexpr gl_wchar NO_CHARACTER = 0xFFFF0000;
constexpr bool is_character(gl_wchar code) { return code < NO_CHARACTER; }

// The passes of a locale that compares by its rules, or by code values (one pass).
size_t pass_count(const gl_locale &locale);
bool is_backward(const gl_locale &locale, size_t pass);

// The steps of one pass in its direction.
Steps walk_pass(const gl_locale &locale, const std::vector<gl_wchar> &text, size_t pass);

// Two walks side by side: what is compared with one another stands in one row, what is skipped in a row of its own.
struct Comparison {
    struct Row {
        const WalkStep *a, *b; // either may be null
    };
    std::vector<Row> rows;
    int order = 0;         // of the texts on this pass
    size_t difference = 0; // the row that decides, when there is an order; a text that ends there has null
};

Comparison compare_walks(const Steps &a, const Steps &b);

} // namespace qbgl
