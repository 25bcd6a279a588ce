#include "locale/widths.h"

namespace qbgl::compiler {

WidthSection width_section(const Charmap &charmap) { return {charmap.widths, charmap.steps_in_utf8()}; }

std::vector<bool> full_width(const Codeset &codeset, const WidthSection &section) {
    const auto &characters = codeset.read();
    std::vector<unsigned> columns(characters.size(), 1);
    std::vector<unsigned> of_code(section.by_code ? CODE_LIMIT : 0, 1);
    for (const Charmap::Width &width : section.widths) {
        if (section.by_code) {
            for (char32_t code = width.first; code <= width.last; ++code) of_code[code] = width.columns;
            continue;
        }
        const Character *first = codeset.find(width.first), *last = codeset.find(width.last);
        if (first == nullptr || last == nullptr) continue;
        // In byte order, whatever lies between: a range in the order of the CHARMAP section is that in every charmap.
        auto place = std::lower_bound(characters.begin(), characters.end(), first->bytes,
                                      [](const Character &character, const Sequence &bytes) { return character.bytes < bytes; });
        for (; place != characters.end() && place->bytes <= last->bytes; ++place)
            if (place->bytes.length == first->bytes.length)
                columns[static_cast<size_t>(place - characters.begin())] = width.columns;
    }
    // A second sequence of a character, which is only read, is as wide as the one that is written.
    const auto columns_of = [&](size_t i) {
        if (section.by_code) return of_code[characters[i].code];
        const Character *written = codeset.find(characters[i].code);
        const Character *same = written == nullptr ? nullptr : codeset.find(written->bytes);
        return columns[same == nullptr ? i : static_cast<size_t>(same - characters.data())];
    };
    std::vector<bool> result(characters.size());
    for (size_t i = 0; i < result.size(); ++i) result[i] = columns_of(i) == 2;
    return result;
}

} // namespace qbgl::compiler
