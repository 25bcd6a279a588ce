#include "locale/encoder.h"

#include <fmt/format.h>

namespace qbgl::compiler {

Sequence memory_bytes(const Codeset &codeset, const Sequence &bytes) {
    return codeset.form() == Codeset::Form::BYTES ? bytes : bytes.reversed();
}

LocaleEncoder::LocaleEncoder(const CharacterTypes &types, const Codeset &codeset, std::string name)
    : codeset_(codeset), name_(std::move(name)) {
    if (codeset.stateful()) throw DataError(name_ + ": a locale cannot be in a codeset with shift states");
    for (const TranslitRule &rule : types.translit)
        if (std::string bytes; rule.from.size() == 1 && !append(rule.from[0], bytes, Reading::SAME))
            rules_.emplace(rule.from[0], &rule);
}

bool LocaleEncoder::append(char32_t code, std::string &bytes, Reading reading) const {
    const Character *character = codeset_.find(code);
    if (character == nullptr || (character->one_way && reading == Reading::SAME)) return false;
    bytes += memory_bytes(codeset_, character->bytes).text();
    return true;
}

bool LocaleEncoder::append_whole(std::u32string_view text, std::string &bytes) const {
    const size_t before = bytes.size();
    for (const char32_t code : text) {
        if (append(code, bytes, Reading::SAME)) continue;
        bytes.resize(before);
        return false;
    }
    return true;
}

bool LocaleEncoder::append_transliterated(char32_t code, std::string &bytes) const {
    const auto [first, last] = rules_.equal_range(code);
    for (auto rule = first; rule != last; ++rule)
        for (const std::u32string &alternative : rule->second->alternatives)
            if (append_whole(alternative, bytes)) return true;
    return false;
}

std::string LocaleEncoder::encode(std::u32string_view text, const Place &place) const {
    std::string bytes;
    for (const char32_t code : text) {
        if (code == 0) throw place.error("a NUL inside a text");
        if (append(code, bytes, Reading::SAME) || append_transliterated(code, bytes) || append(code, bytes, Reading::ANY)) continue;
        throw EncodingError(fmt::format("{}: U+{:04X}: {} has no such character, and no rule says what to write instead",
                                        place.text(), static_cast<uint32_t>(code), name_));
    }
    return bytes;
}

std::string LocaleEncoder::line(std::u32string_view text, const Place &place) const {
    const std::string bytes = encode(text, place);
    std::string line = fmt::format("{} ", bytes.size());
    for (const char byte : bytes) line += fmt::format("{:02x}", static_cast<uint8_t>(byte));
    return line + '\n';
}

} // namespace qbgl::compiler
