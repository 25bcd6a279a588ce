// What a further pass says of one unit, in the form that keys are written by.
#pragma once

#include "order/units.h"

namespace qbgl {

// The place and the bytes of a weight that is no common one.
inline OrderSaid said_alone(const OrderPass &pass, unsigned length, uint32_t first, uint32_t second) {
    return {0,
            0,
            static_cast<uint8_t>(length & 3),
            after_run(pass, first),
            {static_cast<uint8_t>(first), static_cast<uint8_t>(second)}};
}

// Without bytes where a unit has common weights alone. False where it has more than one other weight, more than `most` common ones
// (at most 3), a weight behind which others say more, or one of more than two bytes.
inline bool say_unit(const gl_order_maps &rules, const Unit &unit, int pass, uint32_t most, OrderSaid &said) {
    const OrderPass &of_pass = rules.passes[pass];
    const gl_collation_maps &maps = *rules.maps;
    if (unit.row >= maps.unknown) {
        said = said_alone(of_pass, 1, OF_EITHER, 0);
        return true;
    }
    uint32_t before = 0, after = 0, others = 0;
    bool general = false;
    said = {};
    const gl_wchar told = maps.told_by(unit.row, unit.character);
    for_each_weight(maps, pass, maps.code_of(unit.row, pass), told, [&](uint16_t code, gl_wchar character) {
        const OrderToken token = of_pass.tokens[code & WEIGHT_VALUE];
        general = general || (token.flags & TOKEN_BREAKS) != 0;
        if ((token.flags & TOKEN_COMMON) != 0) {
            ++(others == 0 ? before : after);
            return;
        }
        ++others;
        said = said_alone(of_pass, token.length, token.bytes[0], token.bytes[1]);
        if (token.length != 0) return;
        const OrderSpecial &special = of_pass.specials[token.bytes[0] | token.bytes[1] << 8];
        if (character < 128 && !special.ranked && of_pass.ascii[character] != 0) {
            said = said_alone(of_pass, 1, of_pass.ascii[character], 0);
        } else if (special.form == CodeForm::LISTED) {
            const uint32_t place = special.bytes + listed_place(rules, special, scalar_value(character));
            said = said_alone(of_pass, 2, place >> 8, place & 0xFF);
        } else {
            general = true;
        }
    });
    if (general || others > 1 || before + after > most) return false;
    said.before = static_cast<uint8_t>(before & 3);
    said.after = static_cast<uint8_t>(after & 3);
    return true;
}

} // namespace qbgl
