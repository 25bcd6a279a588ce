#include "text/position.h"

#include <algorithm>

namespace qbgl {

bool Position::is_newline(std::string_view character) const {
    if (conversion_->source().granule() > 1) return character == conversion_->newlines();
    return character.size() == 1 && conversion_->newlines().find(character[0]) != std::string_view::npos;
}

// In every codeset without units a newline byte is no part of a longer character, so that bytes can be searched.
size_t Position::pass_newlines(std::string_view text) {
    size_t behind = 0;
    if (const size_t unit = conversion_->source().granule(); unit > 1) {
        for (size_t at = 0; at + unit <= text.size(); at += unit) {
            if (text.substr(at, unit) != conversion_->newlines()) continue;
            behind = at + unit;
            ++place_.line;
        }
        return behind;
    }
    for (const char newline : conversion_->newlines()) {
        const size_t last = text.rfind(newline);
        if (last == std::string_view::npos) continue;
        behind = std::max(behind, last + 1);
        place_.line += static_cast<uint64_t>(std::count(text.begin(), text.end(), newline));
    }
    return behind;
}

void Position::advance(gl_cv_state state, std::string_view text) {
    const Stage &source = conversion_->source();
    if (!source.stateful_source()) {
        if (const size_t behind = pass_newlines(text); behind > 0) {
            place_.column = 1;
            place_.offset += behind;
            text.remove_prefix(behind);
        }
        if (const int shortest = source.unit(); shortest != 0 || source.longest_character() == 1) {
            place_.offset += text.size();
            place_.column += text.size() / static_cast<size_t>(std::max(shortest, 1));
            return;
        }
    }
    while (!text.empty()) {
        const size_t length = std::max<size_t>(source.character_length(state, text), 1);
        if (is_newline(text.substr(0, length)))
            place_ = {place_.line + 1, 1, place_.offset + length};
        else if (!source.is_shift(state, text[0]))
            advance_one(length);
        else {
            state.source_shift = state.source_shift == 0 ? 1 : 0;
            place_.offset += length;
        }
        text.remove_prefix(length);
    }
}

void Position::advance_one(size_t length) {
    place_.offset += length;
    ++place_.column;
}

} // namespace qbgl
