// Lookup arrays derived from the tables of collation rules while loading: what spares the walks through texts the nodes of the
// character table, the search among the elements, and the distinction of cases that the tables could have and do not.
#pragma once

#include "coll/key_digits.h"
#include "coll/rules.h"

#include <algorithm>
#include <stddef.h>

namespace qbgl {

// What the arrays say of a row in a pass: its weight, as the rules have it, or one of the further codes below. A special weight
// never has bit 14 here, so that the codes of elements are apart from them; an ordinary one is from 2 to 0x3FFF.
inline constexpr uint16_t CODE_END = 0;          // of a list of expansion items
inline constexpr uint16_t CODE_ELEMENT = 0xC000; // the character begins collating elements; the other bits number it
inline constexpr uint16_t CODE_UNKNOWN = 0xFFFF; // no character: the walk ends

constexpr bool is_special(uint16_t code) { return (code & (WEIGHT_SPECIAL | WEIGHT_EXPANSION)) == WEIGHT_SPECIAL; }
constexpr bool is_ordinary(uint16_t code) { return static_cast<uint16_t>(code - 2) <= WEIGHT_VALUE - 2; }

// The bytes of an ordinary weight in a key of one or two digits, the first one below; 1 for an ignored weight, 0 for any other
// code.
constexpr uint16_t key_bytes(uint16_t code, int digits) {
    if (!is_ordinary(code)) return code == WEIGHT_IGNORED ? 1 : 0;
    return packed_digits(code, digits);
}

// A character of an expansion, in the order of the pass, without those that are ignored: its code, and behind a special one in two
// halves, the low one first, what tells it apart. A list ends with CODE_END, or with an expansion that takes the list's place.
struct ExpansionItem {
    uint16_t code;
    gl_wchar character; // 0 where the code is not special
};

inline constexpr gl_wchar LARGEST_IN_ARRAYS = 0xFFFFFF; // greater ones are in the character table alone

inline constexpr uint16_t FIRST_END = 1, FIRST_IGNORED = 0x4000;

// The places that a character has in elements: before the last one, and behind the first one.
inline constexpr uint8_t PART_CONTINUED = 1, PART_FOLLOWING = 2;

// The bit of a character in a set of 64 words, by a hash: another character may have the same.
struct PartBit {
    explicit PartBit(gl_wchar wc) {
        const uint32_t hash = wc * 0x9E3779B1U; // the golden ratio: neighbours come to lie far apart
        word = hash >> 26;
        mask = 1U << (hash >> 21 & 31);
    }
    uint32_t word, mask;
};

// A character that begins collating elements.
struct ElementStart {
    gl_wchar character;
    uint16_t row;                       // its own, where the text has none of the elements
    uint32_t candidates, candidate_end; // its elements, in the order of the list
};

} // namespace qbgl

struct gl_collation_maps {
    // Row numbers are those of the tables, then `unknown`, then one for each character that begins elements: all its codes are
    // CODE_ELEMENT. A character of up to three bytes has its row by way of arrays; longer ones are in the table alone.
    const uint16_t *codes[GL_MAX_PASSES]; // by row
    uint32_t unknown;
    uint16_t tops[256];   // by the third byte: number of 1024 mids
    const uint16_t *mids; // by the next ten bits: number of 64 rows
    const uint16_t *rows;
    const gl_multi *table;
    gl_ranks ranks;

    // Of one-byte characters: pass << 8 | byte, and behind those of all passes the same once more. The first ones take no notice of
    // elements, in the second ones the characters that begin elements have CODE_ELEMENT.
    const uint16_t *byte_codes;
    const uint16_t *byte_keys;    // what key_bytes says of them
    uint32_t bytes_with_elements; // where the second ones begin
    uint16_t first_codes[256];    // the first pass once more: ordinary codes that nothing can change, FIRST_END for NUL,
                                  // FIRST_IGNORED, or 0
    uint8_t byte_parts[256];      // PART_CONTINUED, PART_FOLLOWING
    bool bytes_known;             // none of the bytes is unknown
    bool first_decides;           // the first pass is forward
    bool backward;                // some pass is
    int key_digits;               // of a weight

    const uint16_t *items;      // lists of ExpansionItem
    const uint32_t *item_lists; // pass * expansion_count + expansion: where its list begins
    uint32_t expansion_count;

    const qbgl::ElementStart *starts;
    uint32_t start_count;
    const uint16_t *candidates;
    const gl_wchar *seconds; // of each candidate its second character; 0 for one of a single character
    const gl_collating_element *elements;
    uint32_t parts[64]; // the PartBit of each character with PART_CONTINUED

    uint32_t row_of(gl_wchar wc) const {
        if (wc > qbgl::LARGEST_IN_ARRAYS) return row_of_longest(wc);
        return rows[mids[tops[wc >> 16] << 10 | (wc >> 6 & 0x3FF)] << 6 | (wc & 63)];
    }
    uint16_t code_of(uint32_t row, int pass) const { return codes[pass][row]; }
    const uint16_t *items_of(uint16_t expansion, int pass) const {
        return items + item_lists[static_cast<uint32_t>(pass) * expansion_count + (expansion & qbgl::WEIGHT_VALUE)];
    }
    // The item at a place, which moves behind it, and becomes null behind the last one: that is CODE_END.
    qbgl::ExpansionItem take_item(const uint16_t *&at, int pass) const {
        while (qbgl::is_expansion(*at)) at = items_of(*at, pass);
        const uint16_t code = *at++;
        if (code == qbgl::CODE_END) at = nullptr;
        if (!qbgl::is_special(code)) return {code, 0};
        at += 2;
        return {code, at[-2] | gl_wchar{at[-1]} << 16};
    }
    // What tells a character apart from others with its special weight.
    gl_wchar told_by(uint32_t row, gl_wchar wc) const { return qbgl::told_by(ranks, row, wc); }
    gl_wchar told_by(gl_wchar wc) const { return ranks.row_count == 0 ? wc : told_by(row_of(wc), wc); }
    // Whether an element may go on behind a character.
    bool may_continue(gl_wchar wc) const {
        const qbgl::PartBit bit(wc);
        return (parts[bit.word] & bit.mask) != 0;
    }

    // The element that a text has at a place, or null; `left` characters stand there.
    template <class Unit>
    const gl_collating_element *element_at(const qbgl::ElementStart &start, const Unit *place, ptrdiff_t left) const {
        for (uint32_t i = start.candidates; i < start.candidate_end; ++i) {
            const gl_collating_element &element = elements[candidates[i]];
            if (element.count <= left && std::equal(element.chars + 1, element.chars + element.count, place + 1)) return &element;
        }
        return nullptr;
    }

    uint32_t row_of_longest(gl_wchar wc) const;
};

namespace qbgl {

// Whether every expansion comes to its end on every pass, behind MOST_EXPANDED characters at most: one that is met inside another
// takes its place. False with the handle's error.
inline constexpr uint32_t MOST_EXPANDED = 4096;
bool expansions_end(gl_locale *locale);

// Builds the arrays of rules whose tables are read: one block of memory. False when memory is out. Null for rules that no compiler
// writes: more of anything than the arrays can number, weights of 0, special weights that ordinary ones share, unknown characters
// in expansions or at the beginning of elements, single bytes as elements. Then the tables alone serve.
bool build_collation_maps(const gl_collate_info &info, const gl_ranks &ranks, gl_collation_maps *&maps);

} // namespace qbgl
