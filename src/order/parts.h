// What takes long to make of a locale's rules for the keys. The compiler of objects makes it, too, and an object tells it:
//
//   KEYS FORMAT UTF8                 the form of the keys, and whether codes are scalar values; a line of numbers for each pass:
//     low, high, run_most, lesser, greater, greater_places, and 1 for ascii_breaks, 2 for ends_told, 4 for lesser_told, 8 where
//       the tokens behind a weight that breaks are others
//     how many special weights, and of each the bytes, 2 * form + ranked, and the difference of `least` from that of the one
//       before; of a listed one instead how many runs, and the differences of the two numbers of each from those of the one before
//     how many ASCII characters have bytes of their own, and each with its byte
//     how many tokens, then in two lists (RunReader) the bytes of all, the first one high, and 4 * flags + length; where others
//       are behind a weight that breaks, the same two lists of those
//
// It is told behind the rows of the rules. An object that does not, or tells another form, is served all the same.
#pragma once

#include "order/maps.h"
#include "util/growing.h"
#include "util/tokens.h"

namespace qbgl {

struct OrderParts {
    bool utf8 = false;
    OrderPass passes[GL_MAX_PASSES] = {}; // but for what they point to and `forward`
    Growing<OrderToken> tokens;           // of all passes
    uint32_t tokens_at[GL_MAX_PASSES] = {}, open_at[GL_MAX_PASSES] = {}, token_counts[GL_MAX_PASSES] = {};
    Growing<OrderSpecial> specials;
    uint32_t specials_at[GL_MAX_PASSES + 1] = {}; // where those of a pass begin; behind the last pass, where they end
    Growing<CodeRun> code_runs;
    uint8_t ascii[GL_MAX_PASSES][128] = {};
};

inline constexpr char ORDER_PARTS_KEY[] = "KEYS ";
inline constexpr uint32_t PARTS_ASCII_BREAKS = 1, PARTS_ENDS_TOLD = 2, PARTS_LESSER_TOLD = 4, PARTS_OPEN = 8;

// False when memory is out. The rules must have maps and a pass.
bool make_order_parts(const gl_collate_info &rules, OrderParts &parts);

enum class PartsRead { DONE, NONE, MALFORMED, NO_MEMORY };

// Reads what stands behind the rules in their object, and checks that it fits them.
PartsRead read_order_parts(ByteReader &in, const gl_collate_info &rules, OrderParts &parts);

// The maps of rules with parts made or read for them. Null when memory is out.
gl_order_maps *assemble_order_maps(const gl_collate_info &rules, const OrderParts &parts);

} // namespace qbgl
