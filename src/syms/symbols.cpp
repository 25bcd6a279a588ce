#include "syms/symbols.h"

#include <algorithm>
#include <stdio.h>
#include <string.h>

namespace qbgl {

namespace {

constexpr bool is_escaped(char c) { return c == '<' || c == '\\'; }

// U and four hexadecimal digits, or eight where four do not suffice.
bool code_of_name(std::string_view name, uint32_t &code) {
    if ((name.size() != 5 && name.size() != 9) || name[0] != 'U') return false;
    code = 0;
    name.remove_prefix(1);
    for (const char digit : name) {
        const bool is_decimal = digit >= '0' && digit <= '9';
        if (!is_decimal && (digit < 'A' || digit > 'F')) return false;
        code = code << 4 | static_cast<uint32_t>(is_decimal ? digit - '0' : digit - 'A' + 10);
    }
    return (code > 0xFFFF) == (name.size() == 8);
}

bool name_to_descriptor(const gl_charmap &cm, std::string_view name, gl_desc &character) {
    const SymbolTable &table = cm.symbols;
    if (const SingleSymbol *single = symbol_table_query_name(table, name)) {
        character = single->character;
        return true;
    }
    const RangeMember member = symbol_table_query_name_range(table, name);
    uint32_t code;
    if (member.range == nullptr) return code_of_name(name, code) && encode_unlisted(cm.unlisted, code, character);
    _gl_desc_offset(&member.range->first, static_cast<int>(member.offset), &character);
    return true;
}

} // namespace

int recognize_charmap_char(const gl_charmap &cm, const char *s, int n, gl_desc &character) {
    if (cm.characters == nullptr) return GL_EILSEQ;
    int32_t error = 0;
    int length = 0;
    uint32_t code;
    if (_gl_retrieve_text_multi_limit(s, cm.characters, n, &length, &error) == nullptr)
        return cm.unlisted == UnicodeForm::NONE ? error : decode_unlisted(cm.unlisted, s, n, code, character);
    character.count = static_cast<uint32_t>(length);
    memcpy(character.bytes, s, std::min<size_t>(character.count, sizeof character.bytes));
    return 0;
}

std::string_view name_of_character(const gl_charmap &cm, const gl_desc &character, RangeName &buffer) {
    const std::string_view listed = symbol_table_query_desc(cm.symbols, character, buffer);
    if (!listed.empty()) return listed;
    uint32_t code;
    gl_desc same;
    const char *bytes = reinterpret_cast<const char *>(character.bytes);
    if (decode_unlisted(cm.unlisted, bytes, static_cast<int>(character.count), code, same) != 0) return {};
    buffer.length = snprintf(buffer.text, sizeof buffer.text, code > 0xFFFF ? "U%08X" : "U%04X", static_cast<unsigned>(code));
    return buffer.view();
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
    return name_to_descriptor(cm, {name, length}, character) ? static_cast<int>(at + 1 - text) : -1;
}

} // namespace qbgl
