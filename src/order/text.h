// Bytes as the characters of a codeset, and as themselves where they are none.
#pragma once

#include "coll/prefix.h"
#include "mbwc/decode_plain.h"
#include "qbnxdl/served.h"

namespace qbgl {

struct OrderText {
    const uint8_t *bytes;
    size_t length;
};

// How the bytes of a handle's texts are read.
enum class OrderShape : uint8_t {
    BYTES,        // each is a character
    ONE_OR_TWO,   // these two as TextShape tells
    CONTINUATION, //
    OTHER,        // by the codeset's table alone
};

inline OrderShape order_shape(const gl_locale *locale) {
    if (locale == nullptr || locale->ctype.codeset_table == nullptr) return OrderShape::BYTES;
    if (locale->single_byte != 0 || (served_by_extension(locale, GL_CAT_CTYPE) && !is_half_served(locale)))
        return OrderShape::BYTES;
    const CodesetMaps *maps = maps_of(locale);
    if (maps == nullptr) return OrderShape::OTHER;
    return maps->shape == TextShape::ONE_OR_TWO     ? OrderShape::ONE_OR_TWO
           : maps->shape == TextShape::CONTINUATION ? OrderShape::CONTINUATION
                                                    : OrderShape::OTHER;
}

// The bytes of the codeset's shortest character, of which there is one at least.
inline size_t shortest_character(const gl_locale *locale) {
    if (order_shape(locale) == OrderShape::BYTES) return 1;
    return static_cast<size_t>(std::clamp(locale->ctype.codeset_table->min_length, 1, MAX_KEY));
}

// The text that a caller means by an address and a length.
inline OrderText order_text(const gl_locale *locale, const char *s, int len) {
    const auto *const bytes = reinterpret_cast<const uint8_t *>(s);
    if (s == nullptr || len < -1) return {bytes, 0};
    if (len >= 0) return {bytes, static_cast<size_t>(len)};
    const size_t unit = shortest_character(locale);
    if (unit == 1) return {bytes, byte_length(s)};
    size_t length = 0;
    while (std::any_of(bytes + length, bytes + length + unit, [](uint8_t byte) { return byte != 0; })) length += unit;
    return {bytes, length};
}

// What stands at a place of a text. Of bytes that are no character each is a piece, and its value.
struct Piece {
    gl_wchar value;
    bool is_character;
};

template <OrderShape SHAPE> class Decoder {
  public:
    Decoder(const gl_locale *locale, OrderText text, size_t from = 0)
        : begin_(text.bytes), at_(text.bytes + from), end_(text.bytes + text.length) {
        if (SHAPE == OrderShape::BYTES) return;
        if (SHAPE != OrderShape::OTHER) plain_ = maps_of(locale)->plain;
        root_ = locale->ctype.codeset_table->root;
        if (SHAPE == OrderShape::OTHER) shortest_ = shortest_character(locale);
    }

    bool ended() const { return at_ == end_; }
    const uint8_t *at() const { return at_; }

    // The next piece of a text that has not ended.
    Piece next() {
        if (SHAPE == OrderShape::BYTES) return {*at_++, true};
        Piece piece{0, true};
        const auto take = [this, &piece](gl_wchar value, int length) {
            piece.value = value;
            at_ += length;
        };
        constexpr TextShape TEXT = SHAPE == OrderShape::CONTINUATION ? TextShape::CONTINUATION : TextShape::ONE_OR_TWO;
        if (SHAPE != OrderShape::OTHER && take_plain<TEXT>(plain_, at_, end_ - at_, take)) [[likely]]
            return piece;
        if (SHAPE == OrderShape::OTHER && is_within()) return {*at_++, false};
        const Decoded character = decode(root_, at_, end_ - at_);
        if (character.length <= 0) return {*at_++, false};
        take(character.value, character.length);
        return piece;
    }

    // Whether what is left could be the beginning of a character.
    bool is_cut() const {
        if (SHAPE == OrderShape::BYTES || at_ == end_ || (SHAPE == OrderShape::OTHER && is_within())) return false;
        return decode(root_, at_, end_ - at_).length == CUT;
    }

  private:
    // Whether no character can begin here: those of such a codeset stand at multiples of the shortest one's length.
    bool is_within() const { return shortest_ > 1 && static_cast<size_t>(at_ - begin_) % shortest_ != 0; }

    const uint8_t *plain_ = nullptr;
    const MultiNode *root_ = nullptr;
    const uint8_t *begin_, *at_, *end_;
    size_t shortest_ = 1;
};

// Calls what is given with the shape of a handle's texts as a constant.
template <class Visit> auto with_shape(OrderShape shape, Visit visit) {
    switch (shape) {
    case OrderShape::BYTES: return visit.template operator()<OrderShape::BYTES>();
    case OrderShape::ONE_OR_TWO: return visit.template operator()<OrderShape::ONE_OR_TWO>();
    case OrderShape::CONTINUATION: return visit.template operator()<OrderShape::CONTINUATION>();
    default: return visit.template operator()<OrderShape::OTHER>();
    }
}

} // namespace qbgl
