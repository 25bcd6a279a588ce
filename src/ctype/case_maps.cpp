#include "ctype/case_maps.h"

#include "ctype/case.h"
#include "multi/table.h"

#include <algorithm>

namespace qbgl {

namespace {

constexpr int LONGEST_IN_ARRAYS = 3;

// Whether two nodes, at `depth` from 1 on, have the same keys below them, as far as the arrays reach.
bool same_keys(const MultiNode &a, const MultiNode &b, int depth) {
    if (a.flags != b.flags && memcmp(a.flags, b.flags, 256) != 0) return false;
    if (depth == LONGEST_IN_ARRAYS || a.child_count == 0) return true;
    for (int byte = 0; byte < 256; ++byte) {
        const auto at = static_cast<uint8_t>(byte);
        if (a.flags[at] == FLAG_CHILD && !same_keys(*child_of(a, at), *child_of(b, at), depth + 1)) return false;
    }
    return true;
}

// Whether the codeset has all the characters that the pairs map to.
bool all_encodable(const gl_ctype_info &info) {
    const auto encodable = [&info](gl_wchar wc) {
        return wc == 0 || _gl_retrieve_wchar_multi_nl(nullptr, wc, info.codeset_table) != nullptr;
    };
    return std::all_of(info.case_pairs + 1, info.case_pairs + 1 + info.pair_count,
                       [&](const gl_case_pair &pair) { return encodable(pair.upper) && encodable(pair.lower); });
}

bool is_byte(const gl_multi &table, gl_wchar wc) { return wc <= UINT8_MAX && table.root->flags[wc] == FLAG_END; }

template <Case TO> void fill_bytes(const gl_ctype_info &info, uint8_t *map) {
    const gl_multi &cases = *info.case_table;
    memset(map, 0, 256);
    for (uint32_t byte = 1; byte < 256; ++byte) {
        if (!is_byte(cases, byte)) continue;
        const uint16_t pair = value_at(entry_of(cases, *cases.root, static_cast<uint8_t>(byte)));
        const gl_wchar mapped = pair != 0 ? in_case<TO>(info.case_pairs[pair]) : 0;
        if (mapped == 0)
            map[byte] = static_cast<uint8_t>(byte);
        else if (is_byte(*info.codeset_table, mapped))
            map[byte] = static_cast<uint8_t>(mapped);
    }
}

} // namespace

void build_case_maps(const gl_ctype_info &info, CodesetMaps &maps) {
    const gl_multi &codeset = *info.codeset_table, &cases = *info.case_table;
    const bool complete = codeset.min_length == cases.min_length && same_keys(*codeset.root, *cases.root, 1) && all_encodable(info);
    maps.case_pages = complete ? maps.page_count : 0;
    fill_bytes<Case::UPPER>(info, maps.upper_byte);
    fill_bytes<Case::LOWER>(info, maps.lower_byte);
}

} // namespace qbgl
