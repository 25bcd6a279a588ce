// Bytes as a charmap object. The last of them are text, wide characters and symbols for what loads, with little room.
#include "support.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t TEXT_SIZE = 64;

// Every result within the room, and what its symbols are read as has the same ones.
void to_symbols_and_back(gl_charmap *cm, const std::vector<char> &text, int room) {
    std::vector<char> symbols(static_cast<size_t>(room));
    const char *in = text.data();
    const int size = gl_mbstosyms(cm, symbols.data(), room, &in, static_cast<int>(text.size()));
    require(in >= text.data() && in <= text.data() + text.size() && size <= std::max(room, 1));
    if (size < 1 || room == 0) return;
    require(std::strlen(symbols.data()) == static_cast<size_t>(size) - 1);
    std::vector<char> back(text.size() + 8);
    const char *at = symbols.data();
    const int bytes = gl_symstombs(cm, back.data(), static_cast<int>(back.size()), &at);
    require(at >= symbols.data() && at <= symbols.data() + size && bytes <= static_cast<int>(back.size()));
}

void from_symbols(gl_charmap *cm, const std::string &symbols, int room) {
    std::vector<char> bytes(static_cast<size_t>(room));
    std::vector<gl_wchar> wide(static_cast<size_t>(room));
    const char *in = symbols.c_str();
    require(gl_symstombs(cm, bytes.data(), room, &in) <= room);
    in = symbols.c_str();
    require(gl_symstowcs(cm, wide.data(), room, &in) <= room);
    const gl_wchar *values = wide.data();
    std::vector<char> out(static_cast<size_t>(room));
    if (room > 0) gl_wcstosyms(cm, out.data(), room, &values, room);
    require(values >= wide.data() && values <= wide.data() + room);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    serve_object(data, size);
    gl_charmap *cm = nullptr;
    const int result = gl_cm_load(&cm, "/object.cmo", nullptr, nullptr);
    const int error = gl_errno(cm);
    require(result == 0 ? error == 0 : error == GL_ENOFILE || error == GL_EBADFILE || error == GL_EVERSION || error == GL_ENOMEM);
    const std::vector<char> text(data + size - std::min(size, TEXT_SIZE), data + size);
    const std::string symbols(text.begin(), text.end());
    for (int room = 0; room < 300; room += room < 8 ? 1 : 41) {
        to_symbols_and_back(cm, text, room);
        from_symbols(cm, symbols, room);
    }
    std::vector<char> list(3 * GL_SYMBOL_SLOT);
    for (size_t i = 0; i < text.size(); ++i) {
        const int left = static_cast<int>(text.size() - i);
        require(gl_cm_mblen(cm, &text[i], left) <= left);
        const int names = gl_mbtosymlist(cm, nullptr, 0, &text[i], left);
        require(names != 0 && names == gl_mbtosymlist(cm, list.data(), 3, &text[i], left));
    }
    gl_cm_unload(cm);
    return 0;
}
