#include "order/thai.h"

#include "coll/thai.h"
#include "util/owned.h"

namespace qbgl {

namespace {

// Of a byte that is no character: no codeset has such characters, and the rules take what they do not know by its code value.
constexpr gl_wchar BYTE = 0xFFFFFF00;

class ThaiText {
  public:
    bool convert(gl_locale *locale, OrderText text) {
        if (text.length > ON_STACK) {
            heap_ = text.length <= INT32_MAX ? Owned<gl_wchar>::allocate(static_cast<uint32_t>(text.length)) : Owned<gl_wchar>();
            if (!heap_) return fail(locale, GL_ENOMEM, false);
        }
        gl_wchar *const out = heap_ ? heap_.get() : stack_;
        length_ = with_shape(order_shape(locale), [&]<OrderShape SHAPE>() {
            int32_t length = 0;
            for (Decoder<SHAPE> in(locale, text); !in.ended(); ++length) {
                const Piece piece = in.next();
                out[length] = piece.is_character ? piece.value : BYTE | piece.value;
            }
            return length;
        });
        return true;
    }
    WideSpan span() const { return {heap_ ? heap_.get() : stack_, length_}; }

  private:
    static constexpr size_t ON_STACK = 127;

    gl_wchar stack_[ON_STACK];
    Owned<gl_wchar> heap_;
    int32_t length_ = 0;
};

size_t passes_of(int passes) { return passes > 0 ? std::min(static_cast<size_t>(passes), THAI_PASSES) : THAI_PASSES; }

} // namespace

bool is_thai_order(const gl_locale *locale) {
    return locale != nullptr && locale->collate.kind == GL_COLLATION_THAI && !served_by_extension(locale, GL_CAT_COLLATE);
}

bool compare_as_thai(gl_locale *locale, OrderText a, OrderText b, int passes, int &order) {
    ThaiText text_a, text_b;
    if (!text_a.convert(locale, a) || !text_b.convert(locale, b)) return false;
    order = compare_thai(thai_layout(locale), text_a.span(), text_b.span(), passes_of(passes));
    return true;
}

namespace {

void write(KeySink &sink, ThaiLayout layout, WideSpan text, size_t passes) {
    KeyWriter key(reinterpret_cast<char *>(sink.position()), static_cast<int>(sink.room()));
    write_thai_key(key, layout, text, passes);
    sink.take(static_cast<size_t>(key.length()));
}

} // namespace

bool write_as_thai(KeySink &sink, gl_locale *locale, OrderText text, int passes) {
    ThaiText wide;
    if (!wide.convert(locale, text)) return false;
    write(sink, thai_layout(locale), wide.span(), passes_of(passes));
    return true;
}

bool write_as_thai_prefix(KeySink &sink, gl_locale *locale, OrderText text) {
    ThaiText wide;
    if (!wide.convert(locale, text)) return false;
    const ThaiLayout layout = thai_layout(locale);
    WideSpan span = wide.span();
    if (span.length > 0 && leads_consonant(layout, span.text[span.length - 1])) --span.length;
    write(sink, layout, span, 1);
    return true;
}

} // namespace qbgl
