// What the order for indexes makes of a locale's rules: for each pass the bytes of a weight in a key, and
// which weights are so common, or follow so surely from what was said before, that only their number is written. docs/keys.md has
// the form of the keys, and why it keeps the order.
#pragma once

#include "coll/maps.h"

namespace qbgl {

// The bytes of a weight. Of a special one only a number, see OrderSpecial.
struct OrderToken {
    uint8_t bytes[2];
    uint8_t length; // 1 or 2; 0 for a special weight, whose number the bytes are
    uint8_t flags;
};
inline constexpr uint8_t TOKEN_COMMON = 1; // counted, and not written
inline constexpr uint8_t TOKEN_BELOW = 2;  // less than the common ones
inline constexpr uint8_t TOKEN_BREAKS = 4; // what follows in the pass is written by the tokens of `open`

// How the characters that share a special weight are told apart: by their distance from the least of them, or their place.
enum class CodeForm : uint8_t {
    LISTED,    // its place among the characters that have the weight is added to the two bytes
    SLOTS,     // the distance / 256 is added to the two bytes; the remainder follows
    LEADS,     // the distance / 65536 is added to the one byte; two bytes follow
    TWO_BYTES, // two follow, behind the two
    FOUR_BYTES // four do
};

struct OrderSpecial {
    uint32_t least; // of a listed one, where its runs begin
    uint16_t bytes; // the first one in its upper half
    CodeForm form;
    bool ranked; // some of its characters have ranks: told apart by the numbers that the walks compare, also in utf8
    uint32_t run_count;
};

// Characters in a row, from the first on, that a special weight has, and the place of the first among all that have it.
struct CodeRun {
    uint32_t first, place;
};

// What stands behind a run of common weights: less than all of these, the end, too.
enum class AfterRun : uint8_t { LESS, LESSER, BETWEEN_BELOW, BETWEEN_ABOVE, GREATER, MORE };

// The byte of a run of one common weight, what each further one adds, and whether the weight behind it is said with it.
struct RunPlace {
    uint8_t first;
    int8_t step;
    bool says_next;
};

struct OrderPass {
    const OrderToken *tokens; // by weight
    const OrderToken *open;   // the same behind a weight that breaks
    const OrderSpecial *specials;
    const uint8_t *ascii; // 128: the one byte of an ASCII character that has a special weight, or 0
    // A run of common weights, of 1 to run_most of them, begins at low before a lesser weight or the end, and goes down from high
    // before a greater one; one more stands for run_most of them, with further ones behind it. docs/keys.md has the numbers.
    uint8_t low, high, run_most;
    uint8_t lesser, greater; // 0, or the byte of a weight that is said with the run before it; of `lesser` runs are counted, too
    uint8_t greater_places;  // of a run before greater weights: one for each that can follow
    RunPlace runs[6];        // the same by AfterRun
    bool ascii_breaks;       // one of `ascii` stands for a weight that breaks
    bool ends_told;          // a run at the end of the pass is written,
    bool lesser_told;        // and one of `lesser`
    bool forward;
};

enum class EntryKind : uint8_t { GENERAL, PLAIN, BEGINS }; // the general way has to tell; no element begins there; one may

// What a key says of a character of utf8 below U+0800 of which the first pass has one ordinary weight, or none.
struct OrderEntry {
    uint32_t runs;    // a byte for each pass behind the first, from the lowest on: its weights when they are common ones alone
    uint16_t row;     // where no element is
    uint8_t bytes[2]; // of the first pass
    uint8_t length;   // of them
    uint8_t said;     // bit k: pass k > 0 has other weights
    EntryKind kind;
};
inline constexpr int ENTRY_PASSES = 1 + sizeof OrderEntry::runs; // entries are made for rules of as many passes at most

// What a further pass says of such a character: a weight that does not break, and common ones around it.
struct OrderSaid {
    uint8_t before : 3, after : 3; // common ones, no more than the character has bytes
    uint8_t length : 2;            // of the bytes; 0 where the general way has to tell
    AfterRun place;                // of the weight
    uint8_t bytes[2];
};

inline AfterRun after_run(const OrderPass &pass, uint32_t first_byte) {
    if (first_byte < pass.low) {
        if (pass.lesser == 0 || first_byte < pass.lesser) return AfterRun::LESS;
        return first_byte == pass.lesser ? AfterRun::LESSER : AfterRun::BETWEEN_BELOW;
    }
    if (pass.greater == 0 || first_byte > pass.greater) return AfterRun::MORE;
    return first_byte == pass.greater ? AfterRun::GREATER : AfterRun::BETWEEN_ABOVE;
}

// What the first pass says of a longer character of utf8, and which of the passes behind it have one common weight alone (in the
// lower half), and which have more. By pages of 64 characters; the first page is that of all which the general way has to tell.
struct OrderFirst {
    uint8_t bytes[2];
    uint8_t length; // of them; GENERAL where the general way has to tell
    uint8_t further;
    static constexpr uint8_t GENERAL = 0xFF;
};

// Of the same characters what comparison asks for.
struct OrderEntries {
    static constexpr uint32_t COUNT = 0x800;
    static constexpr uint16_t BEGINS = 0x8000; // an element may begin with the character

    // The ordinary weight in the first pass, FIRST_IGNORED, or 0 where the general way has to tell; and BEGINS.
    uint16_t firsts[COUNT];
    uint8_t parts[COUNT]; // PART_CONTINUED, PART_FOLLOWING
    OrderEntry of_key[COUNT];
    OrderSaid said[COUNT][ENTRY_PASSES - 1];
};

// Where a run tells what follows it, it has this many places: for what is less, the weight itself, and what is greater.
inline constexpr uint32_t COMBINED_PLACES = 3;
// Runs of `lesser` of up to so many, and one with more behind it; the places of those before lesser weights, and before greater.
inline constexpr uint32_t LESSER_MOST = 7, LESSER_PLACES = 2 * (LESSER_MOST + 1);

// The bytes below the first one end passes, of which there are GL_MAX_PASSES, and the bytes of the text behind them.
inline constexpr uint8_t FIRST_WEIGHT_BYTE = GL_MAX_PASSES + 1;
inline constexpr uint8_t OF_UNKNOWN = 0xFE, OF_BYTE = 0xFF; // in the first pass
inline constexpr uint8_t OF_EITHER = 0xFF;                  // in a further one

} // namespace qbgl

struct gl_order_maps {
    const gl_collation_maps *maps;
    bool owns_maps;
    int pass_count;
    bool utf8; // the code of a character is its scalar value, not its bytes
    qbgl::OrderPass passes[GL_MAX_PASSES];
    // By row: bit k, k > 0, when pass k has nothing but one common weight of it; bit k + 8 when it has nothing.
    const uint16_t *quiet;
    const qbgl::CodeRun *code_runs;
    const qbgl::OrderFirst *firsts;    // where there are entries: pages of 64 characters of up to three bytes,
    const uint16_t *first_pages;       // and which is that of a character, by the upper ten bits
    const qbgl::OrderEntries *entries; // null where the characters are not those of utf8, or the first pass is backward
};

namespace qbgl {

// The row of a character that the rules do not have is maps.unknown, that of a byte that is none the next one.
inline uint32_t row_of_byte(const gl_collation_maps &maps) { return maps.unknown + 1; }

// What `quiet` of a row says, as an entry has it.
constexpr uint32_t common_runs(unsigned quiet) {
    uint32_t runs = 0;
    for (unsigned pass = 1; pass < ENTRY_PASSES; ++pass) runs |= (quiet >> pass & 1) << (8 * (pass - 1));
    return runs;
}
constexpr uint8_t said_passes(unsigned quiet, int pass_count) {
    return static_cast<uint8_t>(~(quiet | quiet >> 8) & ((1U << pass_count) - 2));
}

// The place of a character among those of a listed weight.
inline uint32_t listed_place(const gl_order_maps &rules, const OrderSpecial &special, uint32_t scalar) {
    const CodeRun *run = rules.code_runs + special.least;
    for (uint32_t left = special.run_count; left > 1;) {
        const uint32_t half = left / 2;
        run += run[half].first <= scalar ? half : 0;
        left -= half;
    }
    return run->place + scalar - run->first;
}

// The scalar value of a character of utf8.
constexpr uint32_t scalar_value(gl_wchar wc) {
    if (wc < 0x80) return wc;
    const uint32_t low = wc & 0x3F, second = wc >> 2 & 0xFC0;
    if (wc < 0x10000) return (wc >> 2 & 0x7C0) | low;
    if (wc < 0x1000000) return (wc >> 4 & 0xF000) | second | low;
    return (wc >> 6 & 0x1C0000) | (wc >> 4 & 0x3F000) | second | low;
}
static_assert(scalar_value(0xC3BF) == 0xFF && scalar_value(0xE4B880) == 0x4E00 && scalar_value(0xF09FABA8) == 0x1FAE8);

constexpr gl_wchar utf8_character(uint32_t scalar) {
    const uint32_t last = 0x80 | (scalar & 0x3F), second = 0x8000 | (scalar << 2 & 0x3F00);
    if (scalar < 0x80) return scalar;
    if (scalar < 0x800) return 0xC000 | (scalar << 2 & 0x1F00) | last;
    if (scalar < 0x10000) return 0xE00000 | (scalar << 4 & 0xF0000) | second | last;
    return 0xF0000000 | (scalar << 6 & 0x7000000) | 0x800000 | (scalar << 4 & 0x3F0000) | second | last;
}

constexpr bool is_utf8_character(gl_wchar wc) { return utf8_character(scalar_value(wc)) == wc; }

// The weights that a code of the arrays stands for, in the order of the pass: visit(code, character) with the code of each, and the
// character of a special one, which is `character` itself where the code is no expansion.
template <class Visit>
void for_each_weight(const gl_collation_maps &maps, int pass, uint16_t code, gl_wchar character, Visit visit) {
    if (!is_expansion(code)) {
        if (code != WEIGHT_IGNORED) visit(code, character);
        return;
    }
    for (const uint16_t *at = maps.items_of(code, pass);;) {
        const ExpansionItem item = maps.take_item(at, pass);
        if (at == nullptr) return;
        visit(item.code, item.character);
    }
}

// Null when memory is out. The rules must have maps and a pass.
gl_order_maps *build_order_maps(const gl_collate_info &rules);
void free_order_maps(const gl_order_maps *maps);

} // namespace qbgl
