#include "sort/order.h"

#include "frame/messages.h"
#include "sort/number_keys.h"

#include <algorithm>
#include <fmt/format.h>

namespace qbgl {

namespace {

// Whether all that the parts are is the line, compared as text.
bool is_text_of_line(const SortRules &rules) {
    const SortPart &part = rules.parts.front();
    const FieldPlace &begin = part.begin;
    const bool whole = begin.field == 0 && begin.character == 0 && !begin.skip_blanks && !part.end;
    return whole && rules.parts.size() == 1 && part.order == PartOrder::TEXT && !part.fold;
}

std::string text_of(const char *text) { return text != nullptr ? text : ""; }

} // namespace

SortOrder::SortOrder(gl_locale &locale, const SortRules &rules)
    : locale_(locale), rules_(rules), by_text_(is_text_of_line(rules)),
      by_extension_(locale.collate.kind == GL_COLLATION_EXTENSION), point_(text_of(gl_localeconv(&locale)->decimal_point)),
      separator_(text_of(gl_localeconv(&locale)->thousands_sep)), keys_(locale), cutter_(locale, rules.separator) {}

std::string_view SortOrder::text_key(std::string_view text) const {
    return by_extension_ ? keys_.key(text) : keys_.dense_key(text);
}

// Appends a key in such a way that no other one begins with it: a zero byte becomes 00 FF, and 00 00 ends the key. With all bits
// inverted the order is reversed.
void SortOrder::append(std::string_view key, bool reverse) {
    const size_t begin = key_.size();
    for (size_t at = 0; at < key.size();) {
        const size_t zero = std::min(key.find('\0', at), key.size());
        key_.append(key, at, zero - at);
        if (zero < key.size()) key_.append({'\0', '\xFF'});
        at = zero + 1;
    }
    key_.append(2, '\0');
    for (size_t i = begin; reverse && i < key_.size(); ++i) key_[i] = static_cast<char>(~key_[i]);
}

// The bytes of a text's beginning that are characters.
size_t SortOrder::characters_length(std::string_view text) const {
    size_t at = 0;
    for (gl_wchar wc = 0; at < text.size();) {
        const int length = gl_mbtowc(&locale_, &wc, text.data() + at, static_cast<int>(text.size() - at));
        if (length < 0) break;
        at += length > 0 ? static_cast<size_t>(length)
                         : static_cast<size_t>(std::max(_gl_multi_min_length(locale_.ctype.codeset_table), 1));
    }
    return std::min(at, text.size());
}

// The text in capitals, with bytes that are no character as they are.
std::string_view SortOrder::upper(std::string_view text) const {
    upper_.clear();
    for (;;) {
        const size_t begin = upper_.size(), length = characters_length(text);
        const auto bytes = static_cast<int>(length);
        const int room = std::max(gl_case_conv_outbuflen(&locale_, bytes), bytes);
        upper_.resize(begin + static_cast<size_t>(room));
        const int size = gl_tombfsupper(&locale_, upper_.data() + begin, room, text.data(), bytes);
        upper_.resize(begin + static_cast<size_t>(std::max(size, 0)));
        if (size < 0) upper_.append(text, 0, length);
        if (length == text.size()) return upper_;
        upper_ += text[length];
        text.remove_prefix(length + 1);
    }
}

std::string SortOrder::part_key(std::string_view text, const SortPart &part) const {
    switch (part.order) {
    case PartOrder::NUMBERS: return number_key(text, point_, separator_);
    case PartOrder::SIZES: return size_key(text, point_, separator_);
    case PartOrder::VERSIONS: return version_key(text);
    default: return std::string(text_key(part.fold ? upper(text) : text));
    }
}

std::string_view SortOrder::key(std::string_view line) {
    key_.clear();
    if (rules_.is_bad) {
        const bool bad = rules_.is_bad(line);
        key_ += bad ? '\1' : '\0';
        if (bad) return key_ += line;
    }
    if (by_text_ && !rules_.is_bad && !rules_.parts.front().reverse) return text_key(line);
    for (const SortPart &part : rules_.parts) {
        const std::string_view text = cutter_.cut(line, part);
        if (part.order == PartOrder::TEXT && !part.fold)
            append(text_key(text), part.reverse);
        else
            append(part_key(text, part), part.reverse);
    }
    return key_;
}

int SortOrder::collate(std::string_view a, std::string_view b) const {
    if (by_extension_) {
        const std::string key(keys_.key(a));
        return key.compare(keys_.key(b));
    }
    locale_.error = 0;
    const int order = gl_order_compare(&locale_, a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), -1);
    if (order == 0 && locale_.error != 0) {
        throw Failure{ExitStatus::SYSTEM, fmt::format("the locale cannot compare two texts: {}", gl_strerror(locale_.error)),
                      JsonObject().number("error", static_cast<unsigned>(locale_.error))};
    }
    return order;
}

int SortOrder::compare_parts(std::string_view a, std::string_view b, const SortPart &part) const {
    a = cutter_.cut(a, part);
    b = cutter_.cut(b, part);
    int order = 0;
    if (part.order != PartOrder::TEXT || part.fold)
        order = part_key(a, part).compare(part_key(b, part));
    else
        order = collate(a, b);
    return part.reverse ? -order : order;
}

int SortOrder::compare_behind_parts(std::string_view a, std::string_view b) const {
    if (!rules_.by_bytes || a == b) return 0;
    int order = rules_.by_lines ? collate(a, b) : 0;
    if (order == 0) order = a.compare(b);
    return rules_.reverse ? -order : order;
}

int SortOrder::compare(std::string_view a, std::string_view b) const {
    if (a == b) return 0;
    if (by_text_ && !rules_.is_bad) {
        const int order = collate(a, b);
        if (order == 0) return compare_behind_parts(a, b);
        return rules_.parts.front().reverse ? -order : order;
    }
    if (rules_.is_bad) {
        const bool bad[] = {rules_.is_bad(a), rules_.is_bad(b)};
        if (bad[0] != bad[1]) return bad[0] ? 1 : -1;
        if (bad[0]) return a.compare(b);
    }
    for (const SortPart &part : rules_.parts) {
        if (const int order = compare_parts(a, b, part); order != 0) return order;
    }
    return compare_behind_parts(a, b);
}

} // namespace qbgl
