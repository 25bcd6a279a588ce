#include "text_check.h"

#include "collation_key.h"
#include "hexadecimal.h"
#include "locale_handle.h"
#include "shown_text.h"

#include <algorithm>
#include <fmt/format.h>

namespace qbgl {

// The tables of a single-byte codeset have an entry for every byte, so the conversions tell which of them are characters.
TextCheck::TextCheck(gl_locale &locale) : locale_(locale) {
    if (locale.single_byte == 0) return;
    const TextView view(category_codeset(locale, GL_CAT_CTYPE));
    for (int byte = 0; byte < 256; ++byte) known_[byte] = view.plain(std::string(1, static_cast<char>(byte))) != "\uFFFD";
    const bool any = std::find(std::begin(known_), std::end(known_), true) != std::end(known_);
    if (!any) std::fill(std::begin(known_), std::end(known_), true);
}

void TextCheck::operator()(const Line &line, const std::string &file) {
    if (line.text.size() > CollationKeys::LONGEST) {
        throw SystemFailure{
            ExitStatus::DATA,
            fmt::format("{}:{}: a line of {} bytes is too long for a sort key", shown_name(file), line.number, line.text.size()),
            JsonObject().text("finding", "long").text("file", file).number("line", line.number)};
    }
    if (!is_sound(line.text)) throw failure(line, file);
}

bool TextCheck::is_sound(std::string_view text) {
    if (locale_.single_byte != 0) {
        return std::all_of(text.begin(), text.end(), [&](char byte) { return byte != '\0' && known_[static_cast<uint8_t>(byte)]; });
    }
    if (text.empty()) return true;
    wide_.resize(std::max(wide_.size(), text.size() + 1));
    const auto length = static_cast<int>(text.size());
    const int count = gl_mbfstowcfs(&locale_, wide_.data(), text.data(), length, length);
    return count >= 0 && std::find(wide_.begin(), wide_.begin() + count, 0U) == wide_.begin() + count;
}

// Whether a character begins a text; its length, or that of what makes plain that none does; and whether the text is too short to
// tell.
bool TextCheck::is_character(std::string_view text, int &length, bool &cut) const {
    struct {
        int32_t error;
    } context{};
    const auto limit = static_cast<int>(std::min<size_t>(text.size(), 4));
    const void *found = _gl_retrieve_text_multi_limit(text.data(), locale_.ctype.codeset_table, limit, &length, &context);
    cut = context.error == GL_EINVAL;
    return locale_.single_byte != 0 ? known_[static_cast<uint8_t>(text[0])] : found != nullptr;
}

// FILE:LINE:COLUMN: offset N, bytes XX XX: what is the matter
SystemFailure TextCheck::failure(const Line &line, const std::string &file) const {
    const std::string codeset = category_codeset(locale_, GL_CAT_CTYPE);
    std::string_view rest = line.text;
    uint64_t column = 1;
    int length = 0;
    bool cut = false, nul = false;
    for (; !rest.empty() && is_character(rest, length, cut); ++column) {
        nul = std::all_of(rest.begin(), rest.begin() + length, [](char byte) { return byte == '\0'; });
        if (nul) break;
        rest.remove_prefix(static_cast<size_t>(length));
    }
    const std::string_view bytes = rest.substr(0, cut ? rest.size() : std::max<size_t>(static_cast<size_t>(length), 1));
    const uint64_t offset = line.offset + (line.text.size() - rest.size());
    const char *reason = nul ? "a NUL character within a line" : cut ? "the line ends inside a character of " : "no character of ";
    const char *advice = nul   ? "; do NUL characters end the lines (-z)?"
                         : cut ? "; was it cut short?"
                               : "; is the text in another codeset than the locale (-l)?";
    return {ExitStatus::DATA,
            fmt::format("{}:{}:{}: offset {}, byte{} {}: {}{}{}", shown_name(file), line.number, column, offset,
                        bytes.size() == 1 ? "" : "s", hexadecimal(bytes, " "), reason, nul ? "" : codeset, advice),
            JsonObject()
                .text("finding", nul   ? "nul"
                                 : cut ? "incomplete"
                                       : "invalid")
                .text("file", file)
                .number("line", line.number)
                .number("column", column)
                .number("offset", offset)
                .text("bytes", hexadecimal(bytes))
                .text("codeset", codeset)};
}

} // namespace qbgl
