#include "collation/share.h"

#include "locale/encoder.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <set>

namespace qbgl::compiler {

namespace {

constexpr char32_t NO_CHARACTER = ~char32_t(0);
constexpr size_t MOST_SPARES = 4096, MOST_LISTED = 4;

uint32_t wide_value(const Sequence &bytes) {
    return std::accumulate(bytes.bytes.begin(), bytes.bytes.begin() + bytes.length, uint32_t{0},
                           [](uint32_t value, uint8_t byte) { return value << 8 | byte; });
}

// Bytes that are no characters, then controls that texts do not have.
std::vector<uint32_t> spare_bytes(const Codeset &codeset) {
    std::array<char32_t, 256> codes;
    codes.fill(NO_CHARACTER);
    for (const Character &character : codeset.read()) codes[character.bytes.bytes[0]] = character.code;
    std::vector<uint32_t> spares;
    const auto add = [&](auto is_spare) {
        for (uint32_t byte = 0; byte < codes.size(); ++byte)
            if (is_spare(codes[byte])) spares.push_back(byte);
    };
    add([](char32_t code) { return code == NO_CHARACTER; });
    add([](char32_t code) { return code >= 0x80 && code < 0xA0; });
    add([](char32_t code) { return (code > 0 && code <= '\b') || (code > '\r' && code < ' '); });
    return spares;
}

// Sequences of two bytes, or of as many as every character has.
std::vector<uint32_t> spare_values(const Codeset &codeset) {
    size_t shortest = Sequence::MAX, longest = 0;
    for (const Character &character : codeset.read()) {
        shortest = std::min<size_t>(shortest, character.bytes.length);
        longest = std::max<size_t>(longest, character.bytes.length);
    }
    if (longest < 2) return spare_bytes(codeset);
    const unsigned length = std::max<unsigned>(2, static_cast<unsigned>(shortest));
    std::set<uint32_t> beginnings; // the first `length` bytes of characters, or all of shorter ones
    for (const Character &character : codeset.read()) {
        Sequence bytes = memory_bytes(codeset, character.bytes);
        bytes.length = static_cast<uint8_t>(std::min<size_t>(bytes.length, length));
        beginnings.insert(wide_value(bytes));
    }
    codeset.for_each_unlisted(
        [&](const Character &character) { beginnings.insert(character.bytes.value() >> 8 * (character.bytes.length - length)); });
    std::vector<uint32_t> spares;
    const uint32_t top = length == 4 ? 0xFFFFFFFF : (1u << 8 * length) - 1;
    for (uint32_t value = top; value >> 8 * (length - 1) != 0 && spares.size() < MOST_SPARES; --value) {
        bool taken = beginnings.contains(value);
        for (unsigned cut = static_cast<unsigned>(shortest); cut < length; ++cut)
            taken |= beginnings.contains(value >> 8 * (length - cut));
        if (!taken) spares.push_back(value);
    }
    return spares;
}

} // namespace

CollationShare::CollationShare(const CollationOrder &order, const Codeset &codeset) {
    members.reserve(codeset.read().size());
    // What a rule says of all others counts where they are few. Whole scripts must not become equal, or ignored.
    const bool single_byte = std::all_of(codeset.read().begin(), codeset.read().end(),
                                         [](const Character &character) { return character.bytes.length == 1; });
    for (const Character &character : codeset.read()) {
        const Sequence bytes = memory_bytes(codeset, character.bytes);
        uint32_t item = order.find(character.code);
        if (item == CollationOrder::NONE && single_byte) item = order.undefined_item();
        members.push_back({{wide_value(bytes)}, item, bytes, std::u32string(1, character.code)});
    }
    // What the platform knows and leaves out of the codeset has no place in its order either.
    codeset.for_each_unlisted([&](const Character &character) {
        const uint32_t item = codeset.is_known(character.code) ? CollationOrder::NONE : order.find(character.code);
        if (item == CollationOrder::NONE)
            unlisted.push_back(character.bytes);
        else
            members.push_back({{wide_value(character.bytes)}, item, character.bytes, std::u32string(1, character.code)});
    });
    character_count = members.size();
    std::vector<std::u32string> too_long;
    for (const CollationOrder::Element &element : order.elements()) {
        Member member{{}, element.item, {}, element.text};
        const bool spelled = std::all_of(element.text.begin(), element.text.end(), [&](char32_t code) {
            const Character *character = codeset.find(code);
            if (character == nullptr || character->one_way || codeset.find(character->bytes) == nullptr) return false;
            member.wide.push_back(wide_value(memory_bytes(codeset, character->bytes)));
            return true;
        });
        if (!spelled) continue;
        if (element.text.size() > LONGEST_TEXT)
            too_long.push_back(element.text);
        else
            members.push_back(std::move(member));
    }
    if (!too_long.empty())
        warnings.push_back(fmt::format("left out elements of more than {} characters: {}", LONGEST_TEXT, codes_of(too_long)));
    std::stable_sort(members.begin() + static_cast<std::ptrdiff_t>(character_count), members.end(),
                     [](const Member &a, const Member &b) { return a.wide.size() > b.wide.size(); });
    spares = spare_values(codeset);
}

std::string codes_of(const std::vector<std::u32string> &texts) {
    std::string list;
    for (size_t i = 0; i < texts.size() && i < MOST_LISTED; ++i) {
        list += i == 0 ? "" : ", ";
        for (size_t k = 0; k < texts[i].size(); ++k)
            list += fmt::format("{}U+{:04X}", k == 0 ? "" : "+", static_cast<uint32_t>(texts[i][k]));
    }
    if (texts.size() > MOST_LISTED) list += fmt::format(" and {} others", texts.size() - MOST_LISTED);
    return list;
}

} // namespace qbgl::compiler
