#include "text/symbol_stream.h"

#include <algorithm>

namespace qbgl {

namespace {

constexpr size_t LONGEST_CHARACTER = 4;
constexpr size_t SYMBOL_ROOM = 300; // more than the symbol of a name of 127 bytes with all of them escaped

// The bytes of a symbol's character; empty when the charmap does not know it.
std::string bytes_of(gl_charmap &charmap, const std::string &symbol) {
    char bytes[2 * LONGEST_CHARACTER];
    const char *at = symbol.c_str();
    const int size = gl_symstombs(&charmap, bytes, sizeof bytes, &at);
    return size < 0 ? "" : std::string(bytes, static_cast<size_t>(size - gl_mb_cm_min(&charmap)));
}

// The line feed under the names that charmaps give it; in EBCDIC, where it has another code than ASCII's, also the new line.
std::vector<std::string> newlines_of(gl_charmap &charmap) {
    std::vector<std::string> result;
    for (const char *symbol : {"<U000A>", "<newline>", "<LF>", "<U0085>"}) {
        const std::string bytes = bytes_of(charmap, symbol);
        const bool ascii = !result.empty() && result[0].back() == '\n';
        if (!bytes.empty() && !ascii) result.push_back(bytes);
    }
    return result;
}

constexpr std::string_view WHITE_SPACE = " \t\n\v\f\r";

// The bytes up to the end of a symbol, 0 when it is not there.
size_t symbol_length(std::string_view text) {
    for (size_t i = 1; i < text.size(); ++i) {
        if (text[i] == '\\')
            ++i;
        else if (text[i] == '>')
            return i + 1;
    }
    return 0;
}

} // namespace

void SymbolStream::pass(std::string_view &text, size_t bytes, bool ends_line) {
    text.remove_prefix(bytes);
    place_.offset += bytes;
    ++place_.column;
    if (ends_line) place_ = {place_.line + 1, 1, place_.offset};
}

TextToSymbols::TextToSymbols(gl_charmap &charmap, bool all) : SymbolStream(charmap), all_(all), newlines_(newlines_of(charmap)) {}

std::optional<SymbolIncident> TextToSymbols::convert(std::string_view &text, bool at_end, std::string &output) {
    while (!text.empty()) {
        const auto limit = static_cast<int>(std::min(text.size(), LONGEST_CHARACTER));
        const int length = gl_cm_mblen(&charmap_, text.data(), limit);
        if (length < 0) {
            const bool cut = gl_errno(&charmap_) == GL_EINVAL;
            if (cut && !at_end) return std::nullopt;
            int shown = 1; // as many bytes as make plain that no character is there
            while (shown < limit && gl_cm_mblen(&charmap_, text.data(), shown) < 0 && gl_errno(&charmap_) == GL_EINVAL) ++shown;
            return SymbolIncident{cut ? SymbolIncident::INCOMPLETE : SymbolIncident::INVALID, place_,
                                  std::string(text.substr(0, static_cast<size_t>(shown)))};
        }
        const std::string_view character = text.substr(0, static_cast<size_t>(length));
        const bool ends_line = std::find(newlines_.begin(), newlines_.end(), character) != newlines_.end();
        if (all_)
            append_all(character, output);
        else
            append(character, output);
        if (ends_line && !all_) output += '\n';
        pass(text, character.size(), ends_line);
    }
    return std::nullopt;
}

void TextToSymbols::append(std::string_view character, std::string &output) {
    char symbol[SYMBOL_ROOM];
    const char *at = character.data();
    const int size = gl_mbstosyms(&charmap_, symbol, sizeof symbol, &at, static_cast<int>(character.size()));
    if (size > 0) output.append(symbol, static_cast<size_t>(size) - 1);
}

void TextToSymbols::append_all(std::string_view character, std::string &output) {
    const auto bytes = static_cast<int>(character.size());
    const int count = std::max(gl_mbtosymlist(&charmap_, nullptr, 0, character.data(), bytes), 0);
    slots_.resize(std::max(slots_.size(), static_cast<size_t>(count) * GL_SYMBOL_SLOT));
    gl_mbtosymlist(&charmap_, slots_.data(), count, character.data(), bytes);
    const char *separator = "";
    for (int i = 0; i < count; ++i) {
        const char *symbol = slots_.data() + static_cast<size_t>(i) * GL_SYMBOL_SLOT;
        if (*symbol == '\0') continue; // too long for its slot
        output += separator;
        output += symbol;
        separator = " ";
    }
    output += '\n';
}

std::optional<SymbolIncident> SymbolsToText::convert(std::string_view &text, bool at_end, std::string &output) {
    while (!text.empty()) {
        if (WHITE_SPACE.find(text[0]) != std::string_view::npos) {
            pass(text, 1, text[0] == '\n');
            continue;
        }
        const auto stopped = [&](SymbolIncident::Kind kind, size_t bytes) {
            return SymbolIncident{kind, place_, std::string(text.substr(0, bytes))};
        };
        if (text[0] != '<') return stopped(SymbolIncident::MALFORMED, 1);
        const size_t length = symbol_length(text);
        if (length == 0 && text.size() < SYMBOL_ROOM) {
            if (at_end) return stopped(SymbolIncident::INCOMPLETE, text.size());
            return std::nullopt;
        }
        if (length == 0 || length > SYMBOL_ROOM) return stopped(SymbolIncident::MALFORMED, 1);
        symbol_ = text.substr(0, length);
        const std::string bytes = symbol_.find('\0') == std::string::npos ? bytes_of(charmap_, symbol_) : "";
        if (bytes.empty()) return stopped(SymbolIncident::UNKNOWN, length);
        output += bytes;
        pass(text, length, false);
        place_.column += length - 1; // of symbols, columns are bytes
    }
    return std::nullopt;
}

} // namespace qbgl
