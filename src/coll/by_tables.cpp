#include "coll/by_tables.h"

#include "coll/key_writer.h"
#include "ext/error.h"
#include "multi/table.h"

namespace qbgl {

namespace {

int compare_values(uint32_t a, uint32_t b) { return (a > b) - (a < b); }

// A text that ends before the other comes first.
int collate_pass(TableWalk a, TableWalk b) {
    for (;;) {
        const Weight x = a.next(), y = b.next();
        if (x.weight == 0 && y.weight == 0 && (a.done() || b.done())) return (x.character != 0) - (y.character != 0);
        if (const int order = compare_values(x.weight & WEIGHT_VALUE, y.weight & WEIGHT_VALUE)) return order;
        if (((x.weight | y.weight) & WEIGHT_SPECIAL) == 0) continue;
        if (const int order = compare_values(x.character, y.character)) return order;
    }
}

} // namespace

int compare_by_tables(gl_locale *locale, WideSpan a, WideSpan b) {
    const gl_collate_info &info = locale->collate;
    ElementMap elements_a, elements_b;
    if (!elements_a.build(info, a) || !elements_b.build(info, b)) {
        set_error(locale, GL_ENOMEM);
        return 0;
    }
    int order = 0;
    for (int pass = 0; order == 0 && pass < info.pass_count; ++pass)
        order = collate_pass({info, pass, a, elements_a}, {info, pass, b, elements_b});
    return order;
}

int key_by_tables(gl_locale *locale, char *out, WideSpan span, int capacity) {
    const gl_collate_info &info = locale->collate;
    ElementMap elements;
    if (!elements.build(info, span)) {
        set_error(locale, GL_ENOMEM);
        return -1;
    }
    const int digits = key_digits(static_cast<uint32_t>(std::max(info.fifth_count, 0)));
    const int character_digits = character_key_digits(locale->ctype.codeset_table->max_length);
    KeyWriter key(out, capacity);
    for (int pass = 0; pass < info.pass_count; ++pass) {
        if (pass > 0) key.separate();
        TableWalk walk(info, pass, span, elements);
        for (Weight weight = walk.next(); weight.weight != 0 || !walk.done(); weight = walk.next()) {
            if (weight.weight == 0) continue;
            key.write(weight.weight & WEIGHT_VALUE, digits);
            if ((weight.weight & WEIGHT_SPECIAL) != 0) key.write(weight.character, character_digits);
        }
    }
    return key.finish();
}

} // namespace qbgl
