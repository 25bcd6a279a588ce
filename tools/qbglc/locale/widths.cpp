#include "locale/widths.h"

#include <iterator>

namespace qbgl::compiler {

namespace {

struct CodeBlock {
    char32_t first, last;
};

bool full_width_by_default(char32_t code) {
    constexpr CodeBlock BLOCKS[] = {
        {0x2E80, 0x9FFF},   // radicals, kana and ideographs
        {0xF900, 0xFAFF},   // compatibility ideographs
        {0xFE30, 0xFE4F},   // compatibility forms
        {0x1F000, 0x1FAFF}, // game tiles and pictures
        {0x20000, 0x3FFFF}, // further ideographs
    };
    const bool is_noncharacter = (code & 0xFFFE) == 0xFFFE;
    return !is_noncharacter && std::any_of(std::begin(BLOCKS), std::end(BLOCKS),
                                           [code](const CodeBlock &block) { return code >= block.first && code <= block.last; });
}

} // namespace

WidthSection width_section(const Charmap &charmap) { return {charmap.widths, charmap.steps_in_utf8()}; }

std::shared_ptr<const KnownUnicode> known_unicode(const Charmap &charmap) {
    auto known = std::make_shared<KnownUnicode>();
    known->characters.resize(CODE_LIMIT);
    known->full_width.resize(CODE_LIMIT);
    for (const Charmap::Entry &entry : charmap.entries)
        charmap.for_each(entry, [&](char32_t code, const Sequence &) { known->characters[code] = true; });
    for (char32_t code = 0; code < CODE_LIMIT; ++code)
        known->full_width[code] = !known->characters[code] && full_width_by_default(code);
    for (const Charmap::Width &width : charmap.widths)
        for (char32_t code = width.first; code <= width.last; ++code)
            if (known->characters[code]) known->full_width[code] = width.columns == 2;
    return known;
}

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
    for (size_t i = 0; i < result.size(); ++i) {
        const char32_t code = characters[i].code;
        result[i] = codeset.is_known(code) ? columns_of(i) == 2 : codeset.is_full_width(code);
    }
    return result;
}

} // namespace qbgl::compiler
