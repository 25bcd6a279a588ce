// What a one-byte character can begin: lookup tables that spare most characters the search.
#include "coll/lists.h"
#include "coll/rules.h"
#include "ext/error.h"
#include "multi/character_table.h"

#include <algorithm>

namespace qbgl {

namespace {

constexpr int BYTE_VALUES = 256;

gl_expansion *candidate(const gl_collate_info &info, int pass, gl_wchar value) {
    const void *entry = _gl_retrieve_wchar_multi_nl(nullptr, value, info.character_table);
    if (entry == nullptr) return nullptr;
    const uint16_t weight = info.weights[pass][value_at(entry)];
    return is_expansion(weight) ? info.expansions + (weight & WEIGHT_VALUE) : nullptr;
}

} // namespace

int set_exp_candidates(gl_locale *locale) {
    gl_collate_info &info = locale->collate;
    std::fill_n(info.expansion_candidates, GL_MAX_PASSES, nullptr);
    for (int pass = 0; pass < info.pass_count; ++pass) {
        gl_expansion **candidates = Owned<gl_expansion *>::allocate(BYTE_VALUES).release();
        if (candidates == nullptr) {
            set_error(locale, GL_ENOMEM);
            return -1;
        }
        for (gl_wchar value = 0; value < BYTE_VALUES; ++value) candidates[value] = candidate(info, pass, value);
        info.expansion_candidates[pass] = candidates;
    }
    set_error(locale, 0);
    return 0;
}

void set_elem_candidates(gl_locale *locale) {
    gl_collate_info &info = locale->collate;
    std::fill_n(info.element_candidates, BYTE_VALUES, 0);
    for (int32_t i = 0; i < info.element_count; ++i) {
        const gl_wchar first = info.elements[i].chars[0];
        if (first < BYTE_VALUES) info.element_candidates[first] = 1;
    }
}

} // namespace qbgl
