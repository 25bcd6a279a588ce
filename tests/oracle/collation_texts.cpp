#include "oracle/collation_texts.h"

#include "support/files.h"

#include <algorithm>
#include <filesystem>

namespace qbgl_test {

using namespace qbgl::compiler;

namespace {

constexpr size_t LONGEST_WORD = 24;
constexpr size_t NEIGHBOURS = 12;
constexpr std::u32string_view MARKS = U" -'.,";

bool is_control(char32_t code) { return code < U' ' || (code >= 0x7F && code < 0xA0); }

std::u32string decoded(const std::string &utf8) {
    std::u32string text;
    for (size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<uint8_t>(utf8[i]);
        if (byte >= 0xC0)
            text += static_cast<char32_t>(byte & (byte >= 0xF0 ? 0x07 : byte >= 0xE0 ? 0x0F : 0x1F));
        else if (byte >= 0x80)
            text.back() = text.back() << 6 | (byte & 0x3F);
        else
            text += static_cast<char32_t>(byte);
    }
    return text;
}

bool is_blank(char32_t code) { return code <= U' ' || (code >= 0x3000 && code <= 0x3002) || (code >= 0xFF01 && code <= 0xFF1F); }

// Between blanks and the like; where there are none, as many characters as a word may have.
void add_words(const std::u32string &text, std::vector<std::u32string> &words) {
    std::u32string word;
    for (const char32_t code : text + U' ') {
        const bool is_end = is_blank(code) || word.size() == LONGEST_WORD;
        if (is_end && !word.empty()) words.push_back(std::exchange(word, {}));
        if (!is_blank(code)) word += code;
    }
}

} // namespace

std::vector<std::u32string> words_of(const std::vector<std::shared_ptr<const Definition>> &definitions) {
    std::vector<std::u32string> words;
    for (const auto &definition : definitions)
        for (const Keywords *keywords : {&definition->time, &definition->messages, &definition->monetary})
            for (const auto &[name, keyword] : *keywords)
                for (const Keyword::Operand &operand : keyword.operands)
                    if (const auto *text = std::get_if<std::u32string>(&operand); text && text->find(U'%') == text->npos) {
                        add_words(*text, words);
                        words.push_back(*text);
                    }
    for (const auto &entry : std::filesystem::directory_iterator(QBGL_SOURCE_DIR "/examples/text"))
        add_words(decoded(read_file(entry.path())), words);
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    return words;
}

CollationTexts::CollationTexts(const CollationOrder &order, const Codeset &codeset, const std::vector<std::u32string> &words,
                               uint32_t seed)
    : order_(order), codeset_(codeset), random_(seed) {
    for (const Character &character : codeset.written()) {
        const uint32_t item = order.find(character.code);
        if (item == CollationOrder::NONE || encode({character.code}).empty() || is_control(character.code)) continue;
        characters_ += character.code;
        bases_.emplace_back(order.string_of(item, 0), character.code);
        if (order.string_of(item, 0) == CollationOrder::EMPTY) ignorables_ += character.code;
    }
    std::sort(bases_.begin(), bases_.end());
    for (const std::u32string &word : words) {
        if (word.empty() || encode(word).empty()) continue;
        const bool is_defined =
            std::all_of(word.begin(), word.end(), [&](char32_t c) { return order.find(c) != CollationOrder::NONE; });
        if (is_defined) words_.push_back(word);
    }
}

// Empty when the codeset lacks a character.
std::string CollationTexts::encode(const std::u32string &text) const {
    std::string bytes;
    for (const char32_t code : text) {
        const Character *character = codeset_.find(code);
        if (code == 0 || character == nullptr || character->one_way || codeset_.find(character->bytes) == nullptr) return {};
        bytes += character->bytes.text();
    }
    return bytes;
}

char32_t CollationTexts::near(char32_t code) {
    const auto at = static_cast<size_t>(std::lower_bound(characters_.begin(), characters_.end(), code) - characters_.begin());
    return characters_[std::min(at - std::min(at, NEIGHBOURS) + below(2 * NEIGHBOURS), characters_.size() - 1)];
}

char32_t CollationTexts::alike(char32_t code) {
    const uint32_t item = order_.find(code);
    if (item == CollationOrder::NONE) return any();
    const uint32_t base = order_.string_of(item, 0);
    const auto [first, last] = std::equal_range(bases_.begin(), bases_.end(), std::pair(base, char32_t(0)),
                                                [](const auto &a, const auto &b) { return a.first < b.first; });
    return first == last ? any() : (first + static_cast<std::ptrdiff_t>(below(static_cast<size_t>(last - first))))->second;
}

std::u32string CollationTexts::changed(std::u32string text) {
    if (text.empty()) return {any()};
    size_t at = below(text.size());
    for (size_t i = 0; i < text.size() && is_ignorable(text[at]); ++i) at = (at + 1) % text.size();
    switch (below(8)) {
    case 0:
    case 1:
    case 2: text[at] = alike(text[at]); break;
    case 3: text.insert(at, 1, MARKS[below(MARKS.size())]); break;
    case 4: text.insert(at + 1, 1, is_ignorable(text[at]) ? near(U'a') : ignorable()); break;
    case 5: text.erase(at, 1); break;
    case 6: std::swap(text[at], text[(at + 1) % text.size()]); break;
    case 7: text.insert(at, 1, near(text[at])); break;
    }
    return text;
}

CollationTexts::Pair CollationTexts::words() {
    const size_t at = below(words_.size());
    if (one_in(3)) return {words_[at], words_[(at + 1 + below(NEIGHBOURS)) % words_.size()]};
    if (one_in(4)) return {words_[at], words_[below(words_.size())]};
    return {words_[at], changed(words_[at])};
}

CollationTexts::Pair CollationTexts::strings() {
    const auto string = [this] {
        std::u32string text(1, any());
        for (size_t length = 1 + below(8); text.size() < length;) {
            const size_t kind = below(8);
            const char32_t next = kind < 4   ? near(text[0])
                                  : kind < 5 ? any()
                                  : kind < 6 ? alike(text[0])
                                             : near(one_in(8) ? U'-' : U'n');
            if (!is_ignorable(next) || (!is_ignorable(text.back()) && one_in(2))) text += next;
        }
        return text;
    };
    const std::u32string text = string();
    return {text, one_in(4) ? string() : one_in(4) ? changed(changed(text)) : changed(text)};
}

} // namespace qbgl_test
