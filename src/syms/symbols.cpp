#include "syms/symbols.h"

#include <algorithm>
#include <string.h>

namespace qbgl {

namespace {

constexpr bool is_escaped(char c) { return c == '<' || c == '\\'; }

bool name_to_descriptor(const SymbolTable &table, std::string_view name, gl_desc &character) {
    if (const SingleSymbol *single = symbol_table_query_name(table, name)) {
        character = single->character;
        return true;
    }
    const RangeMember member = symbol_table_query_name_range(table, name);
    if (member.range == nullptr) return false;
    _gl_desc_offset(&member.range->first, static_cast<int>(member.offset), &character);
    return true;
}

} // namespace

int recognize_charmap_char(const gl_charmap &cm, const char *s, int n, gl_desc &character) {
    if (cm.characters == nullptr) return GL_EILSEQ;
    int32_t error = 0;
    int length = 0;
    if (_gl_retrieve_text_multi_limit(s, cm.characters, n, &length, &error) == nullptr) return error;
    character.count = static_cast<uint32_t>(length);
    memcpy(character.bytes, s, std::min<size_t>(character.count, sizeof character.bytes));
    return 0;
}

int string_to_symbol(std::string_view name, char *out, int room) {
    const auto escapes = std::count_if(name.begin(), name.end(), is_escaped);
    const auto length = static_cast<int>(name.size()) + static_cast<int>(escapes) + 2;
    if (length >= room) return -1;
    *out++ = '<';
    for (const char c : name) {
        if (is_escaped(c)) *out++ = '\\';
        *out++ = c;
    }
    *out++ = '>';
    *out = '\0';
    return length;
}

int symbol_to_descriptor(const gl_charmap &cm, const char *text, gl_desc &character) {
    if (*text != '<') return -1;
    char name[LONGEST_SYMBOL_NAME];
    size_t length = 0;
    const char *at = text + 1;
    for (; *at != '>'; ++at) {
        if (*at == '\\') ++at;
        if (*at == '\0' || length == sizeof name) return -1;
        name[length++] = *at;
    }
    return name_to_descriptor(cm.symbols, {name, length}, character) ? static_cast<int>(at + 1 - text) : -1;
}

} // namespace qbgl
