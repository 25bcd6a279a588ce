// Where the keys of the texts lie that begin with a prefix.
//
// All of them begin with what the first pass says of the prefix, up to where a character that follows could change it. An element
// of the rules that the prefix ends within is one more way how its end can count, and gives one more range.
#include "order/code_values.h"
#include "order/extension.h"
#include "order/key.h"
#include "order/thai.h"
#include "order/walk.h"

#include <string.h>

using namespace qbgl;

namespace {

// The end of a key's beginning. What does not fit is left out: then the range is larger.
struct Tail {
    uint8_t bytes[48];
    size_t length = 0;

    void add(const uint8_t *more, size_t count) {
        count = std::min(count, sizeof bytes - length);
        length = static_cast<size_t>(std::copy_n(more, count, bytes + length) - bytes);
    }
    bool begins(const Tail &other) const { return length <= other.length && memcmp(bytes, other.bytes, length) == 0; }
    bool operator<(const Tail &other) const {
        const int order = memcmp(bytes, other.bytes, std::min(length, other.length));
        return order != 0 ? order < 0 : length < other.length;
    }
};

// The ways how a prefix can count: its own bytes in `main`, or those up to some place and then an element.
class Ways {
  public:
    explicit Ways(KeySink &main) : main_(main) {}

    void add(const gl_order_maps &rules, uint32_t row) {
        const auto size = static_cast<size_t>(main_.size());
        head_ = std::min(head_, size);
        if (count_ == GL_ORDER_RANGES - 1) {
            too_many_ = true;
            return;
        }
        KeySink sink(elements_[count_], sizeof elements_[count_]);
        write_first_pass(sink, rules, {row, ELEMENT_CHARACTER});
        lengths_[count_] = static_cast<size_t>(sink.written());
        places_[count_++] = size;
    }

    int write(unsigned char *bounds, int room, int32_t *offsets);

  private:
    size_t collect(const uint8_t *main, Tail *tails);

    KeySink &main_;
    size_t head_ = SIZE_MAX; // what all ways have in common
    bool too_many_ = false;
    size_t count_ = 0;
    uint8_t elements_[GL_ORDER_RANGES][48];
    size_t lengths_[GL_ORDER_RANGES], places_[GL_ORDER_RANGES];
};

// What follows the head in each way, in order, without what others begin.
size_t Ways::collect(const uint8_t *main, Tail *tails) {
    const auto size = static_cast<size_t>(main_.size());
    head_ = std::min(head_, size);
    if (too_many_) return 1;
    tails[0].add(main + head_, size - head_);
    for (size_t i = 0; i < count_; ++i) {
        Tail tail;
        tail.add(main + head_, places_[i] - head_);
        tail.add(elements_[i], lengths_[i]);
        size_t at = i + 1;
        for (; at > 0 && tail < tails[at - 1]; --at) tails[at] = tails[at - 1];
        tails[at] = tail;
    }
    size_t kept = 1;
    for (size_t i = 1; i <= count_; ++i)
        if (!tails[kept - 1].begins(tails[i])) tails[kept++] = tails[i];
    return kept;
}

// The beginning of a key made into the least that comes behind all keys with it. The new length; 0 when there is none.
size_t pass_over(uint8_t *key, size_t length) {
    while (length > 0 && key[length - 1] == 0xFF) --length;
    if (length > 0) ++key[length - 1];
    return length;
}

int Ways::write(unsigned char *bounds, int room, int32_t *offsets) {
    const auto size = static_cast<size_t>(main_.size());
    const uint64_t enough = uint64_t{GL_ORDER_RANGES} * 2 * (size + sizeof(Tail::bytes));
    const auto fails = [&] {
        offsets[0] = static_cast<int32_t>(std::min<uint64_t>(enough, INT32_MAX));
        return 0;
    };
    if (main_.written() < main_.size()) return fails();
    Tail tails[GL_ORDER_RANGES];
    const size_t count = collect(bounds, tails);
    uint64_t needed = 0;
    for (size_t i = 0; i < count; ++i) needed += 2 * (head_ + tails[i].length);
    if (needed > static_cast<uint64_t>(std::max(room, 0))) return fails();
    size_t at = 0;
    for (size_t i = 0; i < 2 * count; ++i) {
        const Tail &tail = tails[i / 2];
        offsets[i] = static_cast<int32_t>(at);
        if (at != 0) std::copy_n(bounds, head_, bounds + at);
        std::copy_n(tail.bytes, tail.length, bounds + at + head_);
        at += i % 2 == 0 ? head_ + tail.length : pass_over(bounds + at, head_ + tail.length);
    }
    offsets[2 * count] = static_cast<int32_t>(at);
    return static_cast<int>(count);
}

// How far an element that begins before `in` agrees with the text: 1 when it is there, 0 when it can be once more is, otherwise -1.
// Only then `in` is moved, behind it.
template <OrderShape SHAPE> int match(const gl_collating_element &element, Decoder<SHAPE> &in) {
    Decoder<SHAPE> ahead = in;
    for (int32_t same = 1; same < element.count; ++same) {
        if (ahead.ended() || ahead.is_cut()) return 0;
        const Piece piece = ahead.next();
        if (!piece.is_character || piece.value != element.chars[same]) return -1;
    }
    in = ahead;
    return 1;
}

template <OrderShape SHAPE> void walk(const gl_locale *locale, OrderText text, KeySink &main, Ways &ways) {
    const gl_order_maps &rules = *locale->order_maps;
    const gl_collation_maps &maps = *rules.maps;
    for (Decoder<SHAPE> in(locale, text); !in.ended() && !in.is_cut();) {
        const Piece piece = in.next();
        Unit unit{piece.is_character ? maps.row_of(piece.value) : row_of_byte(maps), piece.value};
        if (piece.is_character && unit.row > maps.unknown) {
            const ElementStart &start = maps.starts[unit.row - maps.unknown - 1];
            unit.row = start.row;
            for (uint32_t i = start.candidates; i < start.candidate_end; ++i) {
                const gl_collating_element &element = maps.elements[maps.candidates[i]];
                const int found = match(element, in);
                if (found == 0) ways.add(rules, element.row);
                if (found <= 0) continue;
                unit = {element.row, ELEMENT_CHARACTER};
                break;
            }
        }
        write_first_pass(main, rules, unit);
    }
}

// Without a character at the end that could be going on.
OrderText without_cut(const gl_locale *locale, OrderText text) {
    return with_shape(order_shape(locale), [&]<OrderShape SHAPE>() {
        Decoder<SHAPE> in(locale, text);
        while (!in.ended() && !in.is_cut()) in.next();
        return OrderText{text.bytes, static_cast<size_t>(in.at() - text.bytes)};
    });
}

} // namespace

int gl_order_ranges(gl_locale *locale, const char *prefix, int len, unsigned char *bounds, int room, int32_t *bound_offsets) {
    if (is_extension_order(locale)) { // what follows a prefix may change what is before it, by rules that are not known here
        std::fill_n(bound_offsets, 3, 0);
        return 1;
    }
    const OrderText text = order_text(locale, prefix, len);
    KeySink main(bounds, room);
    Ways ways(main);
    if (order_rules(locale) != nullptr) {
        if (locale->order_maps->passes[0].forward)
            with_shape(order_shape(locale), [&]<OrderShape SHAPE>() { walk<SHAPE>(locale, text, main, ways); });
    } else if (!is_thai_order(locale)) {
        write_code_values(main, locale, without_cut(locale, text), false);
    } else if (!write_as_thai_prefix(main, locale, without_cut(locale, text))) {
        bound_offsets[0] = 0;
        return 0;
    }
    return ways.write(bounds, room, bound_offsets);
}
