#include "sort/first_pass.h"

#include "text/collation_walk.h"

namespace qbgl {

FirstPass::FirstPass(gl_locale &locale) : locale_(locale) {
    bytes_.fill(NONE);
    if (pass_count(locale) == 0 || is_backward(locale, 0)) {
        pairs_.assign(pairs_.size(), NONE);
        return;
    }
    const gl_collate_info &rules = locale.collate;
    for (int i = 0; i < rules.element_count; ++i) {
        const gl_collating_element &element = rules.elements[i];
        if (element.count < 2) continue; // a character of its own, and walked as one
        starts_.insert(element.chars[0]);
        const int length = gl_wclen(&locale, element.chars[1]);
        if (length > 0) followers_.set(element.chars[1] >> 8 * (length - 1));
    }
    for (size_t i = 0; i < bytes_.size(); ++i) {
        const char byte = static_cast<char>(i);
        bytes_[i] = weight_of({&byte, 1});
    }
}

uint16_t FirstPass::weight_of(std::string_view character) const {
    const auto size = static_cast<int>(character.size());
    int length = 0;
    if (_gl_retrieve_text_multi_limit(character.data(), locale_.ctype.codeset_table, size, &length, nullptr) == nullptr)
        return NONE;
    if (length != size) return NONE;
    gl_wchar wc = 0;
    for (const char byte : character) wc = wc << 8 | static_cast<uint8_t>(byte);
    const Steps steps = walk_pass(locale_, {wc}, 0);
    if (steps.size() != 1 || (steps[0].sort != StepSort::WEIGHT && steps[0].sort != StepSort::IGNORED)) return NONE;
    const unsigned weight = steps[0].sort == StepSort::IGNORED ? IGNORED : steps[0].weight;
    return weight == END ? NONE : static_cast<uint16_t>(weight | (starts_.contains(wc) ? STARTS : 0U));
}

// The next weight that counts.
inline uint16_t FirstPass::next(const uint8_t *&at, const uint8_t *end) const {
    while (at != end) {
        uint16_t weight = bytes_[*at++];
        if (weight == NONE) {
            if (at == end) return NONE;
            uint16_t &known = pairs_[static_cast<size_t>(at[-1] << 8 | at[0])];
            if (known == UNKNOWN) known = weight_of({reinterpret_cast<const char *>(at - 1), 2});
            weight = known;
            ++at;
        }
        if ((weight & STARTS) != 0) {
            if (at != end && followers_[*at]) return NONE;
            weight ^= STARTS;
        }
        if (weight != IGNORED) return weight;
    }
    return END;
}

int FirstPass::compare(std::string_view a, std::string_view b) const {
    const auto *x = reinterpret_cast<const uint8_t *>(a.data()), *y = reinterpret_cast<const uint8_t *>(b.data());
    const uint8_t *const x_end = x + a.size(), *const y_end = y + b.size();
    for (;;) {
        const uint16_t left = next(x, x_end), right = next(y, y_end);
        if (left == NONE || right == NONE) return 0;
        if (left != right) return left < right ? -1 : 1;
        if (left == END) return 0;
    }
}

} // namespace qbgl
