// The weights of two locales against each other.
#include "order/compare.h"

#include "coll/rules.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <tuple>

namespace qbgl::compiler {

namespace {

constexpr uint64_t UNKNOWN = 0;  // ends the text
constexpr int MOST_STEPS = 1024; // of one expansion: one may lead back to itself

gl_wchar wide(std::string_view bytes) {
    gl_wchar value = 0;
    for (const char byte : bytes) value = value << 8 | static_cast<uint8_t>(byte);
    return value;
}

// What one text weighs.
class Weights {
  public:
    explicit Weights(const OrderLocale &locale) : locale_(locale), rules_(locale.rules()) {
        for (int32_t i = 0; i < rules_.element_count; ++i) {
            const gl_collating_element &element = rules_.elements[i];
            elements_.try_emplace(std::vector<gl_wchar>(element.chars, element.chars + element.count), element.row);
        }
    }

    // Of a character or an element; nothing for other texts.
    std::optional<std::vector<uint64_t>> of(const std::string &text, int pass) const {
        std::vector<gl_wchar> chars;
        for (size_t at = 0, length; at < text.size(); at += length) {
            length = locale_.character_length(std::string_view(text).substr(at));
            chars.push_back(wide(std::string_view(text).substr(at, length)));
        }
        std::vector<uint64_t> result;
        if (const auto element = elements_.find(chars); element != elements_.end())
            add_row(element->second, ELEMENT_CHARACTER, pass, result);
        else if (chars.size() == 1)
            add_character(chars[0], pass, result);
        else
            return std::nullopt;
        return result;
    }

  private:
    void add(uint16_t weight, uint16_t row, gl_wchar code, std::vector<uint64_t> &result) const {
        const bool special = (weight & WEIGHT_SPECIAL) != 0;
        if (weight != WEIGHT_IGNORED)
            result.push_back(uint64_t{weight} % (WEIGHT_VALUE + 1) << 33 | uint64_t{special} << 32 |
                             (special ? told_by(locale_.ranks(), row, code) : 0));
    }

    void add_character(gl_wchar code, int pass, std::vector<uint64_t> &result) const {
        if (const uint16_t *row = row_of(code))
            add_row(*row, code, pass, result);
        else
            result.push_back(UNKNOWN);
    }
    void add_row(uint16_t row, gl_wchar code, int pass, std::vector<uint64_t> &result) const {
        const uint16_t weight = rules_.weights[pass][row];
        if (is_expansion(weight))
            add_expansion(&rules_.expansions[weight & WEIGHT_VALUE], pass, result);
        else
            add(weight, row, code, result);
    }
    // As a comparison walks: an expansion inside an expansion takes its place.
    void add_expansion(const gl_expansion *expansion, int pass, std::vector<uint64_t> &result) const {
        const bool forward = is_forward(rules_, pass);
        int steps = 0;
        for (int32_t i = 0; i < expansion->count && ++steps < MOST_STEPS;) {
            const gl_wchar code = expansion->chars[forward ? i : expansion->count - 1 - i];
            const uint16_t *row = row_of(code);
            if (row == nullptr) return result.push_back(UNKNOWN);
            const uint16_t weight = rules_.weights[pass][*row];
            if (is_expansion(weight)) {
                expansion = &rules_.expansions[weight & WEIGHT_VALUE];
                i = 0;
            } else {
                add(weight, *row, code, result);
                ++i;
            }
        }
    }
    const uint16_t *row_of(gl_wchar code) const {
        struct {
            int32_t error;
        } context{0};
        return static_cast<const uint16_t *>(_gl_retrieve_wchar_multi_nl(&context, code, rules_.character_table));
    }

    const OrderLocale &locale_;
    const gl_collate_info &rules_;
    std::map<std::vector<gl_wchar>, uint16_t> elements_;
};

// A weight of the old locale, what stands in its place in the new one, and a text that carries both.
using Meeting = std::tuple<uint64_t, uint64_t, size_t>;

std::optional<RuleChange> compare_pass(const Weights &before, const Weights &after, const std::vector<std::string> &texts,
                                       int pass) {
    std::vector<Meeting> meetings;
    for (size_t i = 0; i < texts.size(); ++i) {
        const auto old_weights = before.of(texts[i], pass), new_weights = after.of(texts[i], pass);
        if (!old_weights || !new_weights) continue;
        const auto count = [](const auto &weights) {
            return std::pair(weights->size(), std::count(weights->begin(), weights->end(), UNKNOWN));
        };
        if (count(old_weights) != count(new_weights)) return RuleChange{RuleChange::What::COUNT, pass, i, i};
        for (size_t k = 0; k < old_weights->size(); ++k) meetings.emplace_back((*old_weights)[k], (*new_weights)[k], i);
    }
    std::sort(meetings.begin(), meetings.end());
    for (size_t i = 1; i < meetings.size(); ++i) {
        const auto &[old_a, new_a, a] = meetings[i - 1];
        const auto &[old_b, new_b, b] = meetings[i];
        if (old_a == old_b ? new_a != new_b : new_a >= new_b) return RuleChange{RuleChange::What::WEIGHTS, pass, a, b};
    }
    return std::nullopt;
}

} // namespace

std::vector<RuleChange> compare_rules(const OrderLocale &before, const OrderLocale &after, const std::vector<std::string> &texts) {
    using What = RuleChange::What;
    const gl_collate_info &old_rules = before.rules(), &new_rules = after.rules();
    if (old_rules.pass_count != new_rules.pass_count) return {{What::PASSES}};
    const Weights old_weights(before), new_weights(after);
    std::vector<RuleChange> changes;
    for (int pass = 0; pass < old_rules.pass_count; ++pass) {
        if (is_forward(old_rules, pass) != is_forward(new_rules, pass))
            changes.push_back({What::DIRECTION, pass});
        else if (const auto change = compare_pass(old_weights, new_weights, texts, pass))
            changes.push_back(*change);
    }
    return changes;
}

} // namespace qbgl::compiler
