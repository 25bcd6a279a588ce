// Text of utf8 by the entries of its characters.
#pragma once

#include "order/units.h"

namespace qbgl {

inline bool is_continuation_byte(uint8_t byte) { return static_cast<int8_t>(byte) < -0x40; } // 80 to BF

// Null where the handle's characters are not those that the entries are of.
inline const OrderEntries *order_entries(const gl_locale *locale) {
    if (locale == nullptr || locale->order_maps == nullptr) return nullptr;
    if (order_shape(locale) != OrderShape::CONTINUATION || !maps_of(locale)->pairs_whole) return nullptr;
    return locale->order_maps->entries;
}

class EntryReader {
  public:
    EntryReader(const gl_locale *locale, const OrderEntries &entries)
        : entries_(entries), plain_(maps_of(locale)->plain), maps_(*locale->order_maps->maps) {}

    // What the next unit that has a weight in the first pass compares by, `in` coming to stand behind it: the weight above, and the
    // scalar value or the rank of a special one below. END is less than any; NONE says that the general way has to tell, and leaves
    // `in` before the unit.
    static constexpr uint32_t NONE = 0, END = 1;
    uint32_t next_first(const uint8_t *&in, const uint8_t *end) const {
        for (; in != end; ++in) {
            const uint32_t byte = in[0];
            if (byte >= 0x80) [[unlikely]] {
                const uint32_t first = next_longer(in, end);
                if (first == FIRST_IGNORED) continue;
                return first;
            }
            const uint32_t first = entries_.firsts[byte];
            if (is_weight(first)) [[likely]] {
                ++in;
                return first << 16;
            }
            if (first == FIRST_IGNORED) continue;
            if ((first & OrderEntries::BEGINS) == 0 || may_go_on(in + 1, end)) return NONE;
            if (first - OrderEntries::BEGINS == FIRST_IGNORED) continue;
            ++in;
            return (first - OrderEntries::BEGINS) << 16;
        }
        return END;
    }
    // Whether an element may go on behind the character that ends at a place, if one does.
    bool may_continue(const uint8_t *begin, const uint8_t *behind) const {
        static constexpr uint8_t NUL = 0;
        const uint8_t last = *(behind == begin ? &NUL : behind - 1);
        if (last < 0x80) [[likely]]
            return (entries_.parts[last] & PART_CONTINUED) != 0;
        if (behind - begin >= 2 && behind[-2] - 0xC2U <= 0xDF - 0xC2)
            return (entries_.parts[pair(behind - 2)] & PART_CONTINUED) != 0;
        if (behind - begin < 3 || behind[-3] - 0xE1U > 0xEF - 0xE1) return true;
        return maps_.may_continue(triple(behind - 3));
    }
    // Whether the codeset has a character of three bytes.
    bool is_character(gl_wchar character) const { return plain_[continued_bits(character)] != 0; }
    // Whether an element may go on with what stands at a place.
    bool may_go_on(const uint8_t *in, const uint8_t *end) const {
        if (in == end) return false;
        if (in[0] < 0x80) return (entries_.parts[in[0]] & PART_FOLLOWING) != 0;
        return !is_pair(in, end) || (entries_.parts[pair(in)] & PART_FOLLOWING) != 0;
    }

    static bool is_pair(const uint8_t *in, const uint8_t *end) {
        return in[0] - 0xC2U <= 0xDF - 0xC2 && end - in >= 2 && is_continuation_byte(in[1]);
    }
    static bool is_triple(const uint8_t *in, const uint8_t *end) {
        return in[0] - 0xE1U <= 0xEF - 0xE1 && end - in >= 3 && is_continuation_byte(in[1]) && is_continuation_byte(in[2]);
    }
    static uint32_t pair(const uint8_t *in) { return (in[0] & 0x1FU) << 6 | (in[1] & 0x3FU); }
    static gl_wchar triple(const uint8_t *in) { return uint32_t{in[0]} << 16 | uint32_t{in[1]} << 8 | in[2]; }

  private:
    static bool is_weight(uint32_t first) { return first - 2 <= WEIGHT_VALUE - 2; }

    // The same of one character of more bytes. Of what is ignored, `in` comes to stand at the last byte.
    uint32_t next_longer(const uint8_t *&in, const uint8_t *end) const {
        uint32_t first = 0, length = 2;
        if (is_pair(in, end)) {
            first = entries_.firsts[pair(in)];
            if ((first & OrderEntries::BEGINS) != 0) {
                if (may_go_on(in + 2, end)) return NONE;
                first -= OrderEntries::BEGINS;
            }
        } else if (is_triple(in, end)) {
            const gl_wchar character = triple(in);
            const uint32_t row = maps_.row_of(character);
            if (row >= maps_.unknown || !is_character(character)) return NONE;
            const uint16_t code = maps_.code_of(row, 0);
            length = 3;
            if (is_special(code)) {
                const bool ranked = is_ranked(maps_.ranks, row);
                if (!ranked && maps_.ranks.row_count > 0) return NONE;
                in += length;
                return (code & uint32_t{WEIGHT_VALUE}) << 16 | (ranked ? maps_.told_by(row, character) : continued_bits(character));
            }
            first = code == WEIGHT_IGNORED ? FIRST_IGNORED : is_ordinary(code) ? code : 0;
        }
        if (is_weight(first)) [[likely]] {
            in += length;
            return first << 16;
        }
        if (first != FIRST_IGNORED) return NONE;
        in += length - 1;
        return FIRST_IGNORED;
    }

    const OrderEntries &entries_;
    const uint8_t *plain_;
    const gl_collation_maps &maps_;
};

} // namespace qbgl
