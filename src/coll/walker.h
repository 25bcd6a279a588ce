// Walks through the weights of a text in one pass, by the lookup arrays of the rules. They find what the walk by the tables finds.
#pragma once

#include "coll/key_writer.h"
#include "coll/maps.h"

#include <string.h>

namespace qbgl {

// Text of a single-byte codeset. A text knows the code of what stands at a place, the bytes of an ordinary one's weight in a key
// (1 for an ignored one, 0 for any other), and what tells special ones apart.
struct ByteText {
    using Unit = uint8_t;

    ByteText(const gl_collation_maps &maps, int pass, bool elements)
        : codes(maps.byte_codes + offset(maps, pass, elements)), keys(maps.byte_keys + offset(maps, pass, elements)) {}

    uint16_t code(const uint8_t *at) const { return codes[*at]; }
    uint16_t key(const uint8_t *at) const { return keys[*at]; }
    gl_wchar character(const uint8_t *at) const { return *at; }

    static uint32_t offset(const gl_collation_maps &maps, int pass, bool elements) {
        return (elements ? maps.bytes_with_elements : 0) + (static_cast<uint32_t>(pass) << 8);
    }

    const uint16_t *codes, *keys;
};

struct CharacterText {
    using Unit = gl_wchar;

    CharacterText(const gl_collation_maps &of, int in_pass) : maps(&of), pass(in_pass) {}

    uint16_t code(const gl_wchar *at) const { return maps->code_of(maps->row_of(*at), pass); }
    gl_wchar character(const gl_wchar *at) const { return maps->told_by(*at); }

    const gl_collation_maps *maps;
    int pass;
};

// The rows of a text, elements among them as one each.
struct RowText {
    using Unit = uint16_t;

    RowText(const gl_collation_maps &of, int pass, const uint16_t *first_row, const gl_wchar *of_rows)
        : maps(&of), codes(of.codes[pass]), rows(first_row), characters(of_rows) {}

    uint16_t code(const uint16_t *at) const { return codes[*at]; }
    gl_wchar character(const uint16_t *at) const { return maps->told_by(*at, characters[at - rows]); }

    const gl_collation_maps *maps;
    const uint16_t *codes;
    const uint16_t *rows;
    const gl_wchar *characters;
};

template <class Text, bool BACKWARD, bool EXPANSIONS, bool ELEMENTS> class Walker {
    static_assert(!BACKWARD || !ELEMENTS, "where elements begin is told from the beginning of a text");

  public:
    using Unit = typename Text::Unit;

    Walker(const gl_collation_maps &maps, int pass, const Text &text, const Unit *begin, const Unit *end)
        : text_(text), at_(BACKWARD ? end : begin), end_(BACKWARD ? begin : end), maps_(maps), pass_(pass) {}

    // The code of the next weight, ordinary or special; CODE_END behind the last one.
    uint16_t next() {
        if (EXPANSIONS && item_ != nullptr) {
            if (const uint16_t code = next_item(); code != CODE_END) return code;
        }
        while (at_ != end_) {
            const Unit *const place = take();
            uint16_t code = text_.code(place);
            if (is_ordinary(code)) [[likely]]
                return code;
            if (code == WEIGHT_IGNORED) continue;
            character_ = text_.character(place);
            if (is_special(code)) return code;
            if constexpr (ELEMENTS) {
                if (code >= CODE_ELEMENT && code != CODE_UNKNOWN) {
                    code = take_element(place, maps_.starts[code & WEIGHT_VALUE]);
                    if (is_ordinary(code) || is_special(code)) return code;
                    if (code == WEIGHT_IGNORED) continue;
                }
            }
            if (!EXPANSIONS || !is_expansion(code)) break;
            item_ = maps_.items_of(code, pass_);
            code = next_item();
            if (code != CODE_END) return code;
        }
        at_ = end_; // also behind a character that the rules do not know
        return CODE_END;
    }

    // Of the special weight found last, or its rank.
    gl_wchar character() const { return character_; }

    // Writes all weights of the pass into a key.
    void write(KeyWriter &key, int digits, int character_digits) {
        for (;;) {
            if (item_ == nullptr && digits <= 2) write_plain(text_, key, digits, character_digits);
            const uint16_t code = next();
            if (code == CODE_END) return;
            key.write(code & WEIGHT_VALUE, digits);
            if ((code & WEIGHT_SPECIAL) != 0) key.write(character_, character_digits);
        }
    }

  private:
    const Unit *take() { return BACKWARD ? --at_ : at_++; }

    uint16_t next_item() {
        const ExpansionItem item = maps_.take_item(item_, pass_);
        character_ = item.character;
        return item.code;
    }

    // The code of the element that the text has at a place, or that of the character.
    uint16_t take_element(const Unit *place, const ElementStart &start) {
        const gl_collating_element *element = maps_.element_at(start, place, end_ - place);
        if (element == nullptr) return maps_.code_of(start.row, pass_);
        at_ = place + element->count;
        character_ = maps_.told_by(element->row, ELEMENT_CHARACTER);
        return maps_.code_of(element->row, pass_);
    }

    // How many characters there are, and room for the longest bytes of each.
    size_t fitting(const KeyWriter &key, int most_bytes) const {
        return std::min(static_cast<size_t>(BACKWARD ? at_ - end_ : end_ - at_), key.room() / static_cast<unsigned>(most_bytes));
    }

    // As far as there are characters with ordinary weights, or ignored, and room.
    void write_plain(const ByteText &text, KeyWriter &key, int digits, int) {
        uint8_t *out = key.position();
        for (size_t left = fitting(key, digits); left > 0; --left) {
            uint16_t bytes = text.key(BACKWARD ? at_ - 1 : at_);
            if constexpr (ELEMENTS) {
                const bool begins = bytes == 0 && text.code(at_) >= CODE_ELEMENT && at_ + 1 != end_;
                if (begins && (maps_.byte_parts[at_[1]] & PART_FOLLOWING) == 0)
                    bytes = (text.keys - maps_.bytes_with_elements)[*at_];
            }
            if (bytes == 0) break;
            take();
            if (digits == 1)
                *out = static_cast<uint8_t>(bytes);
            else if (bytes != 1)
                memcpy(out, &bytes, sizeof bytes);
            out += bytes == 1 ? 0 : digits;
        }
        key.advance(out);
    }

    // The same, and special weights too.
    template <class WideText> void write_plain(const WideText &text, KeyWriter &key, int digits, int character_digits) {
        uint8_t *out = key.position();
        for (size_t left = fitting(key, digits + character_digits); left > 0; --left) {
            const Unit *const at = BACKWARD ? at_ - 1 : at_;
            const uint16_t code = text.code(at);
            if (is_ordinary(code)) {
                out = put_digits(out, code, digits);
            } else if (is_special(code)) {
                out = put_digits(put_digits(out, code & WEIGHT_VALUE, digits), text.character(at), character_digits);
            } else if (code != WEIGHT_IGNORED) {
                break;
            }
            take();
        }
        key.advance(out);
    }

    Text text_;
    const Unit *at_, *end_;
    const uint16_t *item_ = nullptr; // the next one of the expansion that is being read
    gl_wchar character_ = 0;
    const gl_collation_maps &maps_;
    int pass_;
};

// What a pass says of two texts. The last two: the weights of the one are the beginning of the other's.
enum Order : int { LESS = -1, EQUAL = 0, GREATER = 1, SHORTER = -2, LONGER = 2 };

template <class Walk> Order collate_pass(Walk a, Walk b) {
    for (;;) {
        const uint16_t x = a.next(), y = b.next();
        if (x != y) {
            if (x == CODE_END) return SHORTER;
            if (y == CODE_END) return LONGER;
            return (x & WEIGHT_VALUE) < (y & WEIGHT_VALUE) ? LESS : GREATER;
        }
        if (x == CODE_END) return EQUAL;
        if ((x & WEIGHT_SPECIAL) != 0 && a.character() != b.character()) return a.character() < b.character() ? LESS : GREATER;
    }
}

// What two texts have in common at their beginnings and at their ends.
struct Skip {
    size_t before, behind;
};

// Runs the passes over what is left of two texts without the characters that they share at both ends, whose weights are equal and
// decide nothing. Only where one text is used up first do the other's characters meet the shared ones beyond, behind the rest in a
// forward pass and before it in a backward one: that pass is run again with them.
template <class Pass> int collate_passes(const gl_collate_info &rules, int first_pass, Skip skip, Pass collate) {
    for (int pass = first_pass; pass < rules.pass_count; ++pass) {
        Order order = collate(pass, skip);
        if (order == EQUAL) continue;
        size_t &further = is_forward(rules, pass) ? skip.behind : skip.before;
        if (further > 0 && (order == SHORTER || order == LONGER)) {
            further = 0;
            order = collate(pass, skip);
        }
        return order < 0 ? -1 : order > 0 ? 1 : 0;
    }
    return 0;
}

} // namespace qbgl
