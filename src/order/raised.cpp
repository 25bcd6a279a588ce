#include "order/raised.h"

#include "coll/rules.h"
#include "util/owned.h"

namespace qbgl {

namespace {

// By two, for 1 is ignored and stays; expansions are no weights. False when that leads beyond the greatest weight.
bool raise(const uint16_t *weights, uint16_t *raised, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        const uint16_t value = weights[i] & WEIGHT_VALUE;
        const bool stays = weights[i] == WEIGHT_IGNORED || is_expansion(weights[i]);
        if (!stays && value > WEIGHT_VALUE - 2) return false;
        raised[i] = static_cast<uint16_t>(weights[i] + (stays ? 0 : 2));
    }
    return true;
}

} // namespace

bool build_raised_order_maps(const gl_collate_info &rules, gl_order_maps *&maps) {
    maps = nullptr;
    gl_collate_info copy = rules;
    const auto rows = static_cast<uint32_t>(rules.row_count) + 1;
    Owned<uint16_t> raised[GL_MAX_PASSES];
    for (int pass = 0; pass < rules.pass_count; ++pass) {
        raised[pass] = Owned<uint16_t>::allocate(rows);
        if (!raised[pass]) return false;
        if (!raise(rules.weights[pass], raised[pass].get(), rows)) return true;
        copy.weights[pass] = raised[pass].get();
    }
    gl_collation_maps *arrays = nullptr;
    if (!build_collation_maps(copy, {}, arrays)) return false; // with ranks there are maps already
    if (arrays == nullptr) return true;
    copy.maps = arrays;
    maps = build_order_maps(copy);
    if (maps != nullptr)
        maps->owns_maps = true;
    else
        _gl_free_ptr(arrays);
    return maps != nullptr;
}

} // namespace qbgl
