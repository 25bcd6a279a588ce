#include "text/characters.h"

#include "text/lines.h"
#include "tree/locale_handle.h"

#include <algorithm>

namespace qbgl {

CharacterReader::CharacterReader(const std::string &file, const gl_locale &locale, const Messages &messages,
                                 const OutputFile &output)
    : file_(file), codeset_(category_codeset(locale, GL_CAT_CTYPE)), line_end_(line_end(locale, false)),
      blocks_(file, messages, output), table_(locale.ctype.codeset_table) {}

bool CharacterReader::read() {
    blocks_.keep(rest_);
    if (!blocks_.next()) return false;
    rest_ = blocks_.text();
    return !rest_.empty();
}

bool CharacterReader::next(Character &character) {
    if (rest_.empty()) return false;
    struct {
        int32_t error;
    } context{};
    int length = 0;
    const auto limit = static_cast<int>(std::min(rest_.size(), LONGEST_CHARACTER));
    const auto *classes =
        static_cast<const uint16_t *>(_gl_retrieve_text_multi_limit(rest_.data(), table_, limit, &length, &context));
    const bool cut = classes == nullptr && context.error == GL_EINVAL;
    if (cut && !blocks_.at_end()) return false;
    const size_t shown = cut ? rest_.size() : std::clamp<size_t>(static_cast<size_t>(length), 1, rest_.size());
    character.sort = cut ? Sort::INCOMPLETE : classes == nullptr ? Sort::INVALID : Sort::CHARACTER;
    character.place = place_;
    character.bytes = rest_.substr(0, shown);
    character.classes = classes != nullptr ? *classes : 0;
    pass_one(character.sort == Sort::INVALID ? 1 : shown);
    return true;
}

void CharacterReader::pass_one(size_t bytes) {
    place_.offset += bytes;
    if (rest_.substr(0, bytes) == line_end_)
        ++place_.line, place_.column = 1;
    else
        ++place_.column;
    rest_.remove_prefix(bytes);
}

size_t CharacterReader::length_at(std::string_view text) const {
    int length = 0;
    const auto limit = static_cast<int>(std::min(text.size(), LONGEST_CHARACTER));
    _gl_retrieve_text_multi_limit(text.data(), table_, limit, &length, nullptr);
    return std::clamp<size_t>(static_cast<size_t>(length), 1, text.size());
}

// Lines are counted by the bytes that end them; characters only in the last one.
void CharacterReader::pass(size_t bytes) {
    const std::string_view text = rest_.substr(0, bytes);
    size_t last = 0;
    for (size_t at = 0; (at = text.find(line_end_, at)) != std::string_view::npos; last = at += line_end_.size()) ++place_.line;
    if (last > 0) place_.column = 1;
    for (; last < bytes; ++place_.column) last += length_at(text.substr(last));
    place_.offset += bytes;
    rest_.remove_prefix(bytes);
}

Finding CharacterReader::finding(const Character &character) const {
    return unreadable(character.bytes, character.sort == Sort::INCOMPLETE, file_, character.place, codeset_);
}

} // namespace qbgl
