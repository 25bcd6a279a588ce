#include "order/prefix.h"

namespace qbgl {

namespace {

bool is_continuation(OrderText text, size_t at) { return at < text.length && (text.bytes[at] & 0xC0) == 0x80; }

// In a codeset with continuation bytes: back to where both texts have something else.
size_t safe_continued(const gl_locale *locale, const gl_collation_maps *maps, OrderText a, OrderText b, size_t common) {
    while (common > 0 && (is_continuation(a, common) || is_continuation(b, common))) --common;
    while (maps != nullptr && maps->start_count > 0 && common > 0) {
        size_t last = common - 1;
        while (last > 0 && common - last < MAX_KEY && is_continuation(a, last)) --last;
        Decoder<OrderShape::CONTINUATION> in(locale, {a.bytes, common}, last);
        const Piece piece = in.next();
        if (!piece.is_character || !in.ended() || !maps->may_continue(piece.value)) break;
        common = last;
    }
    return common;
}

size_t safe_byte(const gl_collation_maps *maps, OrderText a, size_t common) {
    while (maps != nullptr && maps->start_count > 0 && common > 0 && maps->may_continue(a.bytes[common - 1])) --common;
    return common;
}

// Where characters begin is known from the beginning of a text only. Bytes that are none may be the beginning of one in the other
// text.
template <OrderShape SHAPE>
size_t safe_decoded(const gl_locale *locale, const gl_collation_maps *maps, OrderText a, size_t common) {
    Decoder<SHAPE> in(locale, a);
    const uint8_t *const end = a.bytes + common, *safe = a.bytes;
    while (in.at() < end) {
        const uint8_t *const at = in.at();
        const Piece piece = in.next();
        if (in.at() > end || (!piece.is_character && end - at < MAX_KEY)) break;
        if (maps == nullptr || maps->start_count == 0 || !piece.is_character || !maps->may_continue(piece.value)) safe = in.at();
    }
    return static_cast<size_t>(safe - a.bytes);
}

} // namespace

size_t safe_prefix(const gl_locale *locale, const gl_collation_maps *maps, OrderText a, OrderText b, size_t common) {
    switch (order_shape(locale)) {
    case OrderShape::BYTES: return safe_byte(maps, a, common);
    case OrderShape::CONTINUATION: return safe_continued(locale, maps, a, b, common);
    case OrderShape::ONE_OR_TWO: return safe_decoded<OrderShape::ONE_OR_TWO>(locale, maps, a, common);
    default: return safe_decoded<OrderShape::OTHER>(locale, maps, a, common);
    }
}

} // namespace qbgl
