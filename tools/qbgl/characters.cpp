#include "characters.h"

#include "hexadecimal.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace qbgl {

bool CharacterReader::read() {
    if (at_end_) return false;
    std::memmove(buffer_.data(), rest_.data(), rest_.size());
    const size_t count = input_.read(buffer_.data() + rest_.size(), BLOCK - rest_.size());
    at_end_ = count == 0;
    rest_ = {buffer_.data(), rest_.size() + count};
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
    if (cut && !at_end_) return false;
    const size_t shown = cut ? rest_.size() : std::clamp<size_t>(static_cast<size_t>(length), 1, rest_.size());
    character.sort = cut ? Sort::INCOMPLETE : classes == nullptr ? Sort::INVALID : Sort::CHARACTER;
    character.offset = offset_;
    character.bytes = rest_.substr(0, shown);
    character.classes = classes != nullptr ? *classes : 0;
    pass(character.sort == Sort::INVALID ? 1 : shown);
    return true;
}

void CharacterReader::pass(size_t bytes) {
    offset_ += bytes;
    rest_.remove_prefix(bytes);
}

std::string complaint(const Character &character, const std::string &file, const std::string &codeset) {
    return fmt::format("{}: offset {}, byte{} {}: {} {}", shown_name(file), character.offset,
                       character.bytes.size() == 1 ? "" : "s", hexadecimal(character.bytes, " "),
                       character.sort == Sort::INVALID ? "no character of" : "the text ends inside a character of", codeset);
}

} // namespace qbgl
