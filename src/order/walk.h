// Walks through the weights of a text in one pass.
#pragma once

#include "order/units.h"

namespace qbgl {

// What a step finds. Characters that the rules do not have come behind all weights, and bytes that are no character behind those.
// In the passes behind the first, one weight stands for either: what it is has been told.
struct OrderWeight {
    uint32_t weight;
    gl_wchar character; // or rank, that tells special weights apart, and what has none; otherwise 0

    bool operator==(const OrderWeight &other) const { return weight == other.weight && character == other.character; }
    bool operator<(const OrderWeight &other) const {
        return weight != other.weight ? weight < other.weight : character < other.character;
    }
};
inline constexpr uint32_t WEIGHT_OF_UNKNOWN = WEIGHT_VALUE + 1, WEIGHT_OF_BYTE = WEIGHT_OF_UNKNOWN + 1;

// Units as they are decoded.
template <OrderShape SHAPE> class DecodedUnits {
  public:
    DecodedUnits(const gl_locale *locale, const gl_collation_maps &maps, OrderText text, size_t from)
        : in_(locale, text, from), maps_(maps) {}

    bool next(Unit &unit) {
        if (in_.ended()) return false;
        unit = take_unit(maps_, in_);
        return true;
    }

  private:
    Decoder<SHAPE> in_;
    const gl_collation_maps &maps_;
};

// Units that are kept.
class KeptUnits {
  public:
    KeptUnits(Units &units, bool forward) : units_(units) { units.begin(forward); }

    bool next(Unit &unit) {
        const Unit *const next = units_.next();
        if (next != nullptr) unit = *next;
        return next != nullptr;
    }

  private:
    Units &units_;
};

template <class Source> class OrderWalk {
  public:
    OrderWalk(const gl_collation_maps &maps, int pass, const Source &source) : maps_(maps), source_(source), pass_(pass) {}

    // False behind the last weight.
    bool next(OrderWeight &weight) {
        if (item_ != nullptr && next_item(weight)) return true;
        for (Unit unit; source_.next(unit);) {
            if (unit.row >= maps_.unknown) {
                const uint32_t further = unit.row == maps_.unknown ? 0 : 1;
                weight = pass_ > 0 ? OrderWeight{WEIGHT_OF_UNKNOWN, 0} : OrderWeight{WEIGHT_OF_UNKNOWN + further, unit.character};
                return true;
            }
            const uint16_t code = maps_.code_of(unit.row, pass_);
            if (is_ordinary(code)) [[likely]] {
                weight = {code, 0};
                return true;
            }
            if (is_special(code)) {
                weight = {uint32_t{code} & WEIGHT_VALUE, maps_.told_by(unit.row, unit.character)};
                return true;
            }
            if (code == WEIGHT_IGNORED) continue;
            item_ = maps_.items_of(code, pass_);
            if (next_item(weight)) return true;
        }
        return false;
    }

  private:
    bool next_item(OrderWeight &weight) {
        const ExpansionItem item = maps_.take_item(item_, pass_);
        weight = {uint32_t{item.code} & WEIGHT_VALUE, item.character};
        return item_ != nullptr;
    }

    const gl_collation_maps &maps_;
    Source source_;
    int pass_;
    const uint16_t *item_ = nullptr; // the next one of the expansion that is being read
};

} // namespace qbgl
