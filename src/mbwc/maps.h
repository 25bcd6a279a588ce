// Lookup arrays derived from a codeset's tables while loading: what spares the hot loops the walk through nodes.
//
// A wide character's low byte is its place in a page, the bytes above it are the page's number. Pages of characters of one to three
// bytes are numbered from 0 to page_count - 1; longer characters, and values that no byte sequence of the codeset has, are not in
// the arrays: they take the general way through the tables.
#pragma once

#include "qbgl.h"

namespace qbgl {

// What tells, in a block of bytes, where characters begin.
enum class TextShape : uint8_t {
    OTHER,        // the walk through the nodes alone
    ONE_OR_TWO,   // a byte of the lead ranges has one byte behind it, any other byte stands alone
    CONTINUATION, // the bytes 80 to BF continue a character, and none else: one behind C0 to DF, two behind E0 to EF
};

// The bytes from `first` on, `last` included; empty when first > last.
struct LeadRange {
    uint8_t first, last;
};

// What `single` and `plain` tell of a character.
inline constexpr uint8_t IS_CHARACTER = 1, HAS_WIDTH = 2, HAS_TWO_COLUMNS = 4;

// The same by the classes of a character, one of which may be that of two columns.
inline uint8_t traits_of(unsigned classes, unsigned full_width) {
    if ((classes & GL_CLASS_PRINT) == 0) return IS_CHARACTER;
    return IS_CHARACTER | HAS_WIDTH | ((classes & full_width) != 0 ? HAS_TWO_COLUMNS : 0);
}

// Block 0 has no character at all. For CONTINUATION all 65536 pages are there.
struct CodesetMaps : gl_codeset_maps {
    const uint32_t *valid; // block * 8 + place / 32: a bit for each value that is a character
    // These three are filled by ctype; as long as they are zero, case takes the general way.
    uint32_t case_pages;     // page_count where the cells tell all of case: the case table has the characters of the codeset and no
                             // others, and the codeset all that the pairs map to; otherwise 0
    uint8_t upper_byte[256]; // a one-byte character whose upper case is one byte; 0 for any other byte, and for NUL
    uint8_t lower_byte[256];
    TextShape shape;
    LeadRange leads[2];  // ONE_OR_TWO: the second may be empty
    bool ascii_plain;    // the bytes 0 to 127 are characters of their own
    bool all_single;     // any byte is a character of its own
    uint16_t full_width; // mask of the class of characters of two columns, 0 for none
    // Null for OTHER. 65536 bytes, the traits of each character of the lengths that the shape tells: by its value for ONE_OR_TWO,
    // by its continued_bits for CONTINUATION.
    const uint8_t *plain;
    bool pairs_whole; // CONTINUATION: each byte below 80, and each of C2 to DF with any behind it, is a character
    bool whole_plane; // CONTINUATION: all of the first plane are characters, but for surrogates

    bool has(gl_wchar wc) const {
        const uint32_t page = wc >> 8;
        if (page >= page_count) return false;
        return (valid[page_blocks[page] * 8u + (wc >> 5 & 7)] >> (wc & 31) & 1) != 0;
    }
    // 0 for what the arrays do not have.
    uint8_t traits(gl_wchar wc) const {
        return has(wc) ? traits_of(cells[page_blocks[wc >> 8] * 256u + (wc & 255)].classes, full_width) : 0;
    }
};

// The bits of a character of two or three bytes, in a codeset with continuation bytes, behind those that tell its length; and the
// character that has them.
constexpr uint32_t continued_bits(gl_wchar wc) { return (wc >> 4 & 0xF000) | (wc >> 2 & 0xFC0) | (wc & 0x3F); }
constexpr gl_wchar continued_character(uint32_t bits) {
    const gl_wchar last = 0x80 | (bits & 0x3F);
    return bits < 0x800 ? 0xC000 | (bits << 2 & 0x1F00) | last : 0xE08000 | (bits << 4 & 0xF0000) | (bits << 2 & 0x3F00) | last;
}
static_assert(continued_character(continued_bits(0xC3BF)) == 0xC3BF && continued_character(continued_bits(0xEFBFAD)) == 0xEFBFAD);

// Builds the arrays of a record whose tables are read: one block of memory, freed with free_codeset_maps; null where the codeset
// has more of anything than the arrays can number: then the tables alone serve. False when memory is out. `full_width` is the mask
// of the class of characters of two columns, 0 for none.
bool build_codeset_maps(const gl_ctype_info &info, unsigned full_width, CodesetMaps *&maps);
void free_codeset_maps(const gl_codeset_maps *maps);

inline const CodesetMaps *maps_of(const gl_locale *locale) { return static_cast<const CodesetMaps *>(locale->ctype.maps); }

} // namespace qbgl
