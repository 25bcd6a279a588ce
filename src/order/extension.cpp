#include "order/extension.h"

#include "qbnxdl/entry_points.h"

namespace qbgl {

namespace {

// A text as the extension takes it.
struct Argument {
    explicit Argument(OrderText text)
        : bytes(text.bytes != nullptr ? reinterpret_cast<const char *>(text.bytes) : ""),
          length(static_cast<int>(std::min<size_t>(text.length, INT32_MAX))) {}
    const char *bytes;
    int length;
};

int all_for_none(int passes) { return passes > 0 ? passes : -1; }

} // namespace

bool compare_by_extension(gl_locale *locale, OrderText a, OrderText b, int passes, int &order) {
    const Argument x(a), y(b);
    int16_t error = GL_ENODATA;
    if (fn_glu_order_compare != nullptr && is_of_this_load(locale, GL_CAT_COLLATE)) {
        error = 0;
        order = fn_glu_order_compare(locale->glu_handle[GL_CAT_COLLATE], x.bytes, x.length, y.bytes, y.length, all_for_none(passes),
                                     &error);
    }
    return error <= 0 ? true : fail(locale, error, false);
}

bool write_by_extension(KeySink &sink, gl_locale *locale, OrderText text, int passes) {
    const Argument argument(text);
    int16_t error = GL_ENODATA;
    int size = -1;
    if (fn_glu_order_key != nullptr && is_of_this_load(locale, GL_CAT_COLLATE)) {
        error = 0;
        size = fn_glu_order_key(locale->glu_handle[GL_CAT_COLLATE], argument.bytes, argument.length, all_for_none(passes),
                                sink.position(), static_cast<int>(std::min<size_t>(sink.room(), INT32_MAX)), &error);
    }
    if (error > 0 || size < 0) return fail(locale, error > 0 ? int{error} : int{GL_ENODATA}, false);
    sink.take(static_cast<size_t>(size));
    return true;
}

} // namespace qbgl
