#include "text/text_check.h"

#include "frame/finding.h"
#include "text/collation_key.h"
#include "text/shown_text.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace qbgl {

namespace {

// The bytes before the first one that is zero or none of ASCII, in steps of eight.
size_t ascii_length(std::string_view text) {
    constexpr uint64_t ONES = 0x0101010101010101, HIGH = 0x8080808080808080;
    size_t at = 0;
    for (uint64_t word; at + sizeof word <= text.size(); at += sizeof word) {
        std::memcpy(&word, text.data() + at, sizeof word);
        if (((word | (word - ONES)) & HIGH) != 0) break;
    }
    return at;
}

} // namespace

// The tables of a single-byte codeset have an entry for every byte, so the conversions tell which of them are characters.
TextCheck::TextCheck(gl_locale &locale, std::string nul_remedy) : locale_(locale), nul_remedy_(std::move(nul_remedy)) {
    if (locale.single_byte == 0) {
        int length = 0;
        bool cut = false;
        for (char byte = 1; is_ascii_ && byte < 0x7F; ++byte) is_ascii_ = is_character({&byte, 1}, length, cut);
        return;
    }
    const TextView view(category_codeset(locale, GL_CAT_CTYPE));
    for (int byte = 0; byte < 256; ++byte) known_[byte] = view.plain(std::string(1, static_cast<char>(byte))) != "\uFFFD";
    const bool any = std::find(std::begin(known_), std::end(known_), true) != std::end(known_);
    if (!any) std::fill(std::begin(known_), std::end(known_), true);
    only_nul_is_bad_ = std::find(std::begin(known_) + 1, std::end(known_), false) == std::end(known_);
}

void TextCheck::check_length(const Line &line, const std::string &file) {
    if (line.text.size() <= CollationKeys::LONGEST) return;
    Finding finding{"long", file, {line.number}, {}, fmt::format("a line of {} bytes is too long", line.text.size())};
    finding.whole_line = true;
    throw finding.failure();
}

void TextCheck::operator()(const Line &line, const std::string &file) {
    check_length(line, file);
    if (!is_sound(line.text)) throw failure(line, file);
}

bool TextCheck::is_sound(std::string_view text) {
    if (text.size() > CollationKeys::LONGEST) return false;
    if (only_nul_is_bad_) return text.find('\0') == std::string_view::npos;
    if (locale_.single_byte != 0) {
        return std::all_of(text.begin(), text.end(), [&](char byte) { return byte != '\0' && known_[static_cast<uint8_t>(byte)]; });
    }
    if (is_ascii_) text.remove_prefix(ascii_length(text));
    if (text.empty()) return true;
    if (text.size() > LONG) return is_sound_by_characters(text);
    wide_.resize(std::max(wide_.size(), text.size() + 1));
    const auto length = static_cast<int>(text.size());
    const int count = gl_mbfstowcfs(&locale_, wide_.data(), text.data(), length, length);
    return count >= 0 && std::find(wide_.begin(), wide_.begin() + count, 0U) == wide_.begin() + count;
}

// Without the memory that all wide characters of a long text need.
bool TextCheck::is_sound_by_characters(std::string_view text) const {
    int length = 0;
    bool cut = false;
    while (!text.empty() && is_character(text, length, cut)) {
        if (text.find_first_not_of('\0') >= static_cast<size_t>(length)) return false;
        text.remove_prefix(static_cast<size_t>(length));
    }
    return text.empty();
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

Failure TextCheck::failure(const Line &line, const std::string &file) const {
    std::string_view rest = line.text;
    Place place{line.number, 1, line.offset};
    int length = 0;
    bool cut = false, nul = false;
    for (; !rest.empty() && is_character(rest, length, cut); ++place.column) {
        nul = std::all_of(rest.begin(), rest.begin() + length, [](char byte) { return byte == '\0'; });
        if (nul) break;
        rest.remove_prefix(static_cast<size_t>(length));
        place.offset += static_cast<size_t>(length);
    }
    const std::string_view bytes = rest.substr(0, cut ? rest.size() : std::max<size_t>(static_cast<size_t>(length), 1));
    Finding finding = unreadable(bytes, cut, file, place, category_codeset(locale_, GL_CAT_CTYPE));
    if (nul) {
        finding.kind = "nul";
        finding.reason = "a NUL character within a line";
        finding.remedy = nul_remedy_;
    }
    return finding.failure();
}

} // namespace qbgl
