// The characters of a text with their rows, elements as one each.
#pragma once

#include "order/maps.h"
#include "order/text.h"
#include "util/owned.h"

namespace qbgl {

struct Unit {
    uint32_t row;
    gl_wchar character; // or the byte that is none
};

// The rules by which a handle's texts are put in order; null where there are none, or where they are those of utf8 and the texts
// are not.
inline const gl_order_maps *order_rules(const gl_locale *locale) {
    if (locale == nullptr || locale->order_maps == nullptr) return nullptr;
    return !locale->order_maps->utf8 || order_shape(locale) == OrderShape::CONTINUATION ? locale->order_maps : nullptr;
}

// The element that a text has at a place, or null. The decoder stands behind the character at hand, and then behind the element.
template <OrderShape SHAPE>
const gl_collating_element *take_element(const gl_collation_maps &maps, const ElementStart &start, Decoder<SHAPE> &in) {
    constexpr gl_wchar NONE = UINT32_MAX;
    gl_wchar second = NONE;
    if (!in.ended()) {
        const Piece piece = Decoder<SHAPE>(in).next();
        if (piece.is_character) second = piece.value;
    }
    for (uint32_t i = start.candidates; i < start.candidate_end; ++i) {
        if (maps.seconds[i] != second && maps.seconds[i] != 0) continue;
        const gl_collating_element &element = maps.elements[maps.candidates[i]];
        Decoder<SHAPE> ahead = in;
        int32_t same = 1;
        for (; same < element.count && !ahead.ended(); ++same) {
            const Piece piece = ahead.next();
            if (!piece.is_character || piece.value != element.chars[same]) break;
        }
        if (same < element.count) continue;
        in = ahead;
        return &element;
    }
    return nullptr;
}

// The next unit of a text that has not ended.
template <OrderShape SHAPE> inline Unit take_unit(const gl_collation_maps &maps, Decoder<SHAPE> &in) {
    const Piece piece = in.next();
    if (!piece.is_character) return {row_of_byte(maps), piece.value};
    const uint32_t row = maps.row_of(piece.value);
    if (row <= maps.unknown) [[likely]]
        return {row, piece.value};
    const ElementStart &start = maps.starts[row - maps.unknown - 1];
    const gl_collating_element *const element = take_element(maps, start, in);
    return element != nullptr ? Unit{element->row, ELEMENT_CHARACTER} : Unit{start.row, piece.value};
}

// Reads the units of a text one block after the other; what is behind the last one can be read again from the beginning.
class UnitReader {
  public:
    UnitReader(const gl_locale *locale, const gl_collation_maps &maps, OrderText text, size_t from = 0)
        : locale_(locale), maps_(maps), text_(text), from_(from), at_(from), shape_(order_shape(locale)) {}

    // Fewer than there is room for only at the end.
    size_t read(Unit *out, size_t room);
    void rewind() { at_ = from_; }
    bool ended() const { return at_ == text_.length; }

  private:
    template <OrderShape SHAPE> size_t read_shape(Unit *out, size_t room);

    const gl_locale *locale_;
    const gl_collation_maps &maps_;
    OrderText text_;
    size_t from_, at_;
    OrderShape shape_;
};

// The units of a text from a place on, in either direction, as often as asked for. As many as fit the block are read once.
class Units {
  public:
    Units(const gl_locale *locale, const gl_collation_maps &maps, OrderText text, size_t from = 0)
        : reader_(locale, maps, text, from) {}
    Units(const Units &) = delete;
    Units &operator=(const Units &) = delete;

    void begin(bool forward);
    // Null behind the last one.
    const Unit *next() {
        if (at_ == end_ && !more()) return nullptr;
        return forward_ ? at_++ : --at_;
    }
    // All of them, where they are no more than ON_STACK.
    static constexpr size_t ON_STACK = 128;
    bool all(const Unit *&first, size_t &count);

  private:
    bool more();
    bool read_block();
    void count();

    UnitReader reader_;
    Unit stack_[ON_STACK];
    Owned<Unit> heap_;
    Unit *block_ = stack_;
    size_t room_ = ON_STACK;
    size_t filled_ = 0, before_ = SIZE_MAX; // of the block: its units, and how many precede them; SIZE_MAX: nothing is read
    size_t total_ = SIZE_MAX;               // when it is known
    const Unit *at_ = stack_, *end_ = stack_;
    bool forward_ = true;
};

} // namespace qbgl
