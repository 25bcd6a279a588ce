#include "charmap/codeset.h"

#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace qbgl::compiler {

namespace {

auto reading_key(const Character &character) { return std::tie(character.shifted, character.bytes); }

template <class Key> void sort_unique(std::vector<Character> &characters, Key key) {
    const auto less = [&](const Character &a, const Character &b) { return key(a) < key(b); };
    if (!std::is_sorted(characters.begin(), characters.end(), less)) std::stable_sort(characters.begin(), characters.end(), less);
    const auto equal = [&](const Character &a, const Character &b) { return key(a) == key(b); };
    characters.erase(std::unique(characters.begin(), characters.end(), equal), characters.end());
    characters.shrink_to_fit();
}

} // namespace

void Codeset::finish() {
    sort_unique(read_, reading_key);
    sort_unique(written_, [](const Character &character) { return character.code; });
    pages_.assign(CODE_LIMIT >> 8, 0);
    places_.assign(256, 0);
    for (size_t i = 0; i < written_.size(); ++i) {
        Character &character = written_[i];
        const Character *back = find(character.bytes, character.shifted);
        character.one_way = back != nullptr && back->code != character.code;
        uint32_t &page = pages_[character.code >> 8];
        if (page == 0) {
            page = static_cast<uint32_t>(places_.size() >> 8);
            places_.resize(places_.size() + 256, 0);
        }
        places_[page << 8 | (character.code & 0xFF)] = static_cast<uint32_t>(i + 1);
    }
}

Sequence Codeset::by_rule(char32_t code) const {
    uint8_t bytes[LONGEST_FORM];
    const int length = form_by_rule_ != UnicodeForm::NONE ? encode(form_by_rule_, code, bytes) : 0;
    return Sequence({reinterpret_cast<const char *>(bytes), static_cast<size_t>(length)});
}

const Character *Codeset::find(const Sequence &bytes, bool shifted) const {
    const auto key = std::tie(shifted, bytes);
    const auto place =
        std::lower_bound(read_.begin(), read_.end(), key, [](const Character &c, const auto &k) { return reading_key(c) < k; });
    return place != read_.end() && reading_key(*place) == key ? &*place : nullptr;
}

std::shared_ptr<Codeset> codeset_from_charmap(const Charmap &charmap, const std::string &name, std::string &warning,
                                              char32_t below) {
    if (charmap.entries.empty()) throw DataError(fmt::format("{}: no character has a name <Uxxxx>", charmap.file));
    if (!charmap.symbols.empty()) {
        const Charmap::Symbol &first = charmap.symbols.front();
        warning = fmt::format("{}:{}: left out {} names that are not <Uxxxx>, <{}> the first", charmap.file, first.line,
                              charmap.symbols.size(), first.name);
    }
    auto codeset = std::make_shared<Codeset>(name);
    for (const Charmap::Entry &entry : charmap.entries) {
        charmap.for_each(entry, [&](char32_t code, const Sequence &bytes) {
            if (code >= below) return;
            codeset->add_read(code, bytes);
            if (!entry.decode_only) codeset->add_written(code, bytes);
        });
    }
    codeset->finish();
    return codeset;
}

CodesetPtr unicode_codeset(const std::string &form, const std::string &name, std::shared_ptr<const KnownUnicode> known) {
    const bool wide = form == "ucs-4le";
    if (!wide && form != "ucs-2le") throw DataError(fmt::format("{}: unknown form of Unicode", form));
    auto codeset = std::make_shared<Codeset>(name, wide ? Codeset::Form::LITTLE_ENDIAN_4 : Codeset::Form::LITTLE_ENDIAN_2);
    for (char32_t code = 0; code < (wide ? CODE_LIMIT : 0x10000); ++code)
        if (is_scalar_value(code)) codeset->add(code, Sequence::big_endian(code, wide ? 4 : 2));
    codeset->finish();
    codeset->know(std::move(known));
    return codeset;
}

} // namespace qbgl::compiler
