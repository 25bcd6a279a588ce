#include "coll/table_walk.h"

#include "multi/character_table.h"

namespace qbgl {

namespace {

// The number from 1 on of the first element that a text begins with, or 0.
uint32_t element_at(const gl_collate_info &info, WideSpan rest) {
    const gl_wchar first = rest.text[0];
    if (info.element_candidates != nullptr && first < 256 && info.element_candidates[first] == 0) return 0;
    for (int32_t i = 0; i < info.element_count; ++i) {
        const gl_collating_element &element = info.elements[i];
        if (element.chars[0] == first && element.count <= rest.length &&
            std::equal(rest.text, rest.text + element.count, element.chars))
            return static_cast<uint32_t>(i) + 1;
    }
    return 0;
}

} // namespace

bool ElementMap::build(const gl_collate_info &info, WideSpan span) {
    if (info.element_count == 0 || span.length == 0) return true;
    covers_ = Owned<uint16_t>::allocate(static_cast<uint32_t>(span.length));
    if (!covers_) return false;
    elements_ = info.elements;
    for (int32_t at = 0, count; at < span.length; at += count) {
        const uint32_t number = element_at(info, {span.text + at, span.length - at});
        count = number != 0 ? elements_[number - 1].count : 1;
        std::fill_n(covers_.get() + at, count, static_cast<uint16_t>(number));
    }
    return true;
}

TableWalk::TableWalk(const gl_collate_info &info, int pass, WideSpan span, const ElementMap &elements)
    : info_(info), weights_(info.weights[pass]), elements_(elements), text_(span.text), done_(span.length == 0) {
    const bool forward = is_forward(info, pass);
    step_ = forward ? 1 : -1;
    at_ = forward ? 0 : span.length - 1;
    end_ = forward ? span.length : -1;
}

bool TableWalk::choose(uint32_t &row, gl_wchar &character) {
    if (expansion_ != nullptr) {
        character = expansion_->chars[index_];
        index_ += step_;
        if (index_ < 0 || index_ == expansion_->count) expansion_ = nullptr;
    } else if (const gl_collating_element *element = elements_.at(at_)) {
        character = ELEMENT_CHARACTER;
        consumed_ = element->count;
        row = element->row;
        return true;
    } else {
        character = text_[at_];
        consumed_ = 1;
    }
    const void *entry = _gl_retrieve_wchar_multi_nl(nullptr, character, info_.character_table);
    if (entry == nullptr) return false;
    row = value_at(entry);
    return true;
}

Weight TableWalk::next() {
    while (!done_) {
        uint32_t row;
        gl_wchar character;
        if (!choose(row, character)) {
            done_ = true;
            break;
        }
        uint16_t weight = weights_[row];
        if (is_expansion(weight)) {
            expansion_ = &info_.expansions[weight & WEIGHT_VALUE]; // in place of one that is being read
            index_ = step_ > 0 ? 0 : expansion_->count - 1;
            weight = WEIGHT_IGNORED;
        }
        if (expansion_ == nullptr) {
            at_ += consumed_ * step_;
            done_ = at_ == end_;
        }
        if (weight != WEIGHT_IGNORED) return {weight, character};
    }
    return {0, 0};
}

} // namespace qbgl
