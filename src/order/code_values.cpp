#include "order/code_values.h"

#include "order/prefix.h"

namespace qbgl {

namespace {

// What precedes characters by their length, and bytes that are none; of one byte only those that it could be taken for.
constexpr uint8_t LENGTH_MARK = 0xFA, BYTE_MARK = 0xFF;

template <OrderShape SHAPE> int compare(const gl_locale *locale, OrderText a, OrderText b, size_t from) {
    Decoder<SHAPE> in_a(locale, a, from), in_b(locale, b, from);
    while (!in_a.ended() && !in_b.ended()) {
        const uint8_t *const at_a = in_a.at(), *const at_b = in_b.at();
        const Piece x = in_a.next(), y = in_b.next();
        if (x.is_character != y.is_character) return x.is_character ? -1 : 1;
        const ptrdiff_t length = in_a.at() - at_a, other = in_b.at() - at_b;
        if (length != other) return length < other ? -1 : 1;
        if (x.value != y.value) return x.value < y.value ? -1 : 1;
    }
    return in_a.ended() ? (in_b.ended() ? 0 : -1) : 1;
}

template <OrderShape SHAPE> void write(KeySink &sink, const gl_locale *locale, OrderText text, bool part) {
    for (Decoder<SHAPE> in(locale, text); !in.ended() && !(part && sink.is_full());) {
        const uint8_t *const at = in.at();
        const bool is_character = in.next().is_character;
        const auto length = static_cast<size_t>(in.at() - at);
        if (!is_character)
            sink.put(BYTE_MARK);
        else if (SHAPE != OrderShape::CONTINUATION && (length > 1 || *at > LENGTH_MARK))
            sink.put(LENGTH_MARK + static_cast<uint32_t>(length));
        sink.put_all(at, length);
    }
}

} // namespace

int compare_code_values(const gl_locale *locale, OrderText a, OrderText b, size_t common) {
    const OrderShape shape = order_shape(locale);
    if (shape != OrderShape::BYTES) common = safe_prefix(locale, nullptr, a, b, common);
    return with_shape(shape, [&]<OrderShape SHAPE>() { return compare<SHAPE>(locale, a, b, common); });
}

void write_code_values(KeySink &sink, const gl_locale *locale, OrderText text, bool part) {
    const OrderShape shape = order_shape(locale);
    if (shape == OrderShape::BYTES) {
        sink.put_all(text.bytes, text.length);
        return;
    }
    with_shape(shape, [&]<OrderShape SHAPE>() { write<SHAPE>(sink, locale, text, part); });
}

} // namespace qbgl
