// The reader of POSIX charmap files.
#pragma once

#include "charmap/sequence.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

struct Charmap {
    // A line of the CHARMAP section whose names are <Uxxxx>: codes `first` to `last` at `bytes` and the sequences that follow it.
    struct Entry {
        char32_t first, last;
        Sequence bytes;   // of `first`
        bool decode_only; // %IRREVERSIBLE%: the bytes stand for the code, but are never written for it
        uint32_t line;
    };
    // A line whose name is another symbol; the file does not say which code that is. <j0101>...<j0104> stands for `count` of them:
    // the decimal number at the end of the name goes up, and so does that of the bytes.
    struct Symbol {
        std::string name; // of the first
        Sequence bytes;
        bool decode_only;
        uint32_t line;
        uint32_t count = 1;
    };
    // A line of the WIDTH section. A range runs from one name to the other in the order of the CHARMAP section.
    struct Width {
        char32_t first, last;
        unsigned columns;
        uint32_t line;
    };

    std::string file;
    std::string codeset; // <code_set_name>
    unsigned mb_cur_min = 1, mb_cur_max = 1;
    std::vector<Entry> entries;
    std::vector<Symbol> symbols;
    std::vector<Width> widths;
    unsigned default_width = 1;

    // Calls with (code, bytes) for every code of an entry.
    template <class Function> void for_each(const Entry &entry, Function function) const {
        Sequence bytes = entry.bytes;
        for (char32_t code = entry.first;; ++code) {
            function(code, bytes);
            if (code == entry.last) return;
            if (steps_in_utf8())
                bytes = utf8_of(code + 1);
            else
                ++bytes.bytes[bytes.length - 1u]; // the reader has made sure that the last byte has room
        }
    }

    // Calls with (name, bytes) for every name of a symbol line.
    template <class Function> void for_each(const Symbol &symbol, Function function) const {
        for (uint32_t i = 0; i < symbol.count; ++i)
            function(numbered(symbol.name, i), Sequence::big_endian(symbol.bytes.value() + i, symbol.bytes.length));
    }
    // The name whose number is `offset` above that at the end of the given one, with at least as many digits.
    static std::string numbered(const std::string &name, uint32_t offset);

    // The UTF-8 charmap has ranges that run past a last byte of BF: there the next sequence is that of the next code.
    bool steps_in_utf8() const { return codeset == "UTF-8"; }
};

// Reads a charmap. `file` is the name for messages. Throws DataError with file, line and column of all that it cannot take.
Charmap parse_charmap(std::string_view text, const std::string &file);

// Reads a charmap file, gzip or plain.
Charmap load_charmap(const std::filesystem::path &path);

// The file of a charmap by its name among the platform's charmaps. Throws DataError when there is none.
std::filesystem::path find_charmap(const std::string &name);

} // namespace qbgl::compiler
