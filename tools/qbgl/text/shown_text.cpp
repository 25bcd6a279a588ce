#include "text/shown_text.h"

#include "text/utf8.h"

#include <algorithm>
#include <fmt/format.h>

namespace qbgl {

namespace {

// Controls, formatting characters, spaces, private use and tags: nobody sees which one it is.
bool has_picture(char32_t c) {
    static constexpr char32_t WITHOUT[][2] = {
        {0, 0x1F},        {0x7F, 0xA0},     {0xAD, 0xAD},     {0x34F, 0x34F},   {0x61C, 0x61C},     {0x1680, 0x1680},
        {0x180B, 0x180F}, {0x2000, 0x200F}, {0x2028, 0x202F}, {0x205F, 0x206F}, {0x3000, 0x3000},   {0x3164, 0x3164},
        {0xE000, 0xF8FF}, {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFF0, 0xFFFB}, {0xE0000, 0xE0FFF}, {0xF0000, 0x10FFFF}};
    return std::none_of(std::begin(WITHOUT), std::end(WITHOUT), [c](const auto &range) { return c >= range[0] && c <= range[1]; });
}

std::string visible_character(std::string_view character) {
    if (character == "\n") return "\\n";
    if (character == "\t") return "\\t";
    if (character == "\\") return "\\\\";
    const char32_t c = utf8_code_point(character);
    if (has_picture(c)) return std::string(character);
    const auto value = static_cast<uint32_t>(c);
    return value > 0xFFFF ? fmt::format("\\U{:08x}", value) : fmt::format("\\u{:04x}", value);
}

} // namespace

TextView::TextView(const std::string &codeset) {
    const Opened opened = Conversion::open(codeset, "utf8", conversion_);
    readable_ = opened == Opened::CONVERSION || opened == Opened::SAME_CODESET;
}

std::vector<TextView::Piece> TextView::pieces_of_utf8(std::string_view text) const {
    std::vector<Piece> result;
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        result.push_back({std::string(text.substr(0, std::max<size_t>(length, 1))), length != 0});
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return result;
}

std::vector<TextView::Piece> TextView::pieces(std::string_view text) const {
    if (!readable_) return {{std::string(text), false}};
    if (conversion_ == nullptr) return pieces_of_utf8(text);
    std::vector<Piece> result;
    Shift shift;
    OutputBuffer converted;
    while (!text.empty()) {
        converted.clear();
        const Step step = conversion_->step(shift, text, converted);
        const size_t length = std::max<size_t>(step.length, 1);
        if (step.outcome == Outcome::DONE)
            result.push_back({std::string(converted.text()), true});
        else
            result.push_back({std::string(text.substr(0, length)), false});
        text.remove_prefix(length);
    }
    return result;
}

std::string TextView::plain(std::string_view text) const {
    std::string result;
    for (const Piece &piece : pieces(text)) result += piece.readable ? piece.text : "\uFFFD";
    return result;
}

std::string TextView::visible(std::string_view text) const {
    std::string result;
    for (const Piece &piece : pieces(text)) {
        std::string_view rest = piece.text;
        while (!rest.empty()) {
            const size_t length = piece.readable ? std::max<size_t>(utf8_length(rest), 1) : 1;
            result += piece.readable ? visible_character(rest.substr(0, length))
                                     : fmt::format("\\x{:02x}", static_cast<uint8_t>(rest[0]));
            rest.remove_prefix(length);
        }
    }
    return result;
}

} // namespace qbgl
