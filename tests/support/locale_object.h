// Small locale objects: codesets of every shape, and sections that a test replaces as it needs.
#pragma once

#include "compact.h"
#include "conversion_object.h"
#include "files.h"
#include "served.h"

#include "qbgl.h"

#include <cctype>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace qbgl_test {

// A character by its bytes, with its class mask and its other case, if it has one.
struct Character {
    std::string bytes;
    unsigned classes;
    std::string upper{}, lower{};
};

struct Codeset {
    std::string name; // as the registry has it
    std::vector<Character> characters;
    std::vector<std::pair<int, std::string>> classes{}; // bit and name of the locale's own
    std::string growth = "1.5";

    // ASCII text, widened with zero bytes where the shortest character has more than one.
    std::string encode(std::string_view ascii) const {
        size_t shortest = 4;
        for (const Character &character : characters) shortest = std::min(shortest, character.bytes.size());
        std::string text;
        for (const char byte : ascii) text += std::string(shortest - 1, '\0') + byte;
        return text;
    }
    // How a failed test names its parameter.
    friend void PrintTo(const Codeset &codeset, std::ostream *out) {
        *out << codeset.name << ", 'a' is " << codeset.encode("a").size() << " bytes";
    }
};

inline gl_wchar table_value(std::string_view bytes) {
    gl_wchar value = 0;
    for (const unsigned char byte : bytes) value = value << 8 | byte;
    return value;
}

// The value that a locale's functions have for a character: its bytes, or from the extension what UTF-8 encodes.
inline gl_wchar wide(std::string_view bytes) {
    if (!runs_served() || bytes.size() < 2) return table_value(bytes);
    gl_wchar value = static_cast<unsigned char>(bytes[0]) & (0x7FU >> bytes.size());
    for (const unsigned char byte : bytes.substr(1)) value = value << 6 | (byte & 0x3FU);
    return value;
}

// Of any code below 110000, also of a surrogate.
inline std::string utf8_bytes(uint32_t code) {
    if (code < 0x80) return std::string(1, static_cast<char>(code));
    std::string bytes;
    for (; code >= (bytes.empty() ? 0x40U : 0x40U >> bytes.size()); code >>= 6)
        bytes.insert(bytes.begin(), static_cast<char>(0x80 | (code & 0x3F)));
    return std::string(1, static_cast<char>(0xFF00 >> (bytes.size() + 1) | code)) + bytes;
}

inline std::string hex(unsigned value, int digits) {
    char text[16];
    snprintf(text, sizeof text, "%0*x", digits, value);
    return text;
}

// A table of 16-bit values by character, as the library's own writer puts it.
inline std::string values_text(const std::vector<std::pair<std::string, unsigned>> &values) {
    const uint16_t none = 0;
    const std::unique_ptr<gl_multi, void (*)(gl_multi *)> table(_gl_create_multi(2, 0, &none), _gl_free_multi);
    for (const auto &[bytes, number] : values) {
        gl_desc key{static_cast<uint32_t>(bytes.size()), {}};
        bytes.copy(reinterpret_cast<char *>(key.bytes), sizeof key.bytes);
        const auto value = static_cast<uint16_t>(number);
        if (_gl_insert_desc_multi(&key, &value, table.get()) != 0)
            throw std::logic_error("no place in the table for " + hexadecimal(bytes));
    }
    char *text = nullptr;
    size_t size = 0;
    FILE *const file = open_memstream(&text, &size);
    _gl_fprintf_multi(file, table.get(), [](FILE *out, const void *entry) {
        return fprintf(out, "%04x", unsigned{*static_cast<const uint16_t *>(entry)}) < 0 ? -1 : 0;
    });
    std::fclose(file);
    const std::string result(text, size);
    std::free(text);
    return result;
}

inline std::string ctype_text(const Codeset &codeset) {
    std::vector<std::pair<std::string, unsigned>> masks, cases;
    std::string pairs;
    unsigned pair_count = 0;
    for (const Character &character : codeset.characters) {
        masks.emplace_back(character.bytes, character.classes);
        const bool cased = !character.upper.empty() || !character.lower.empty();
        cases.emplace_back(character.bytes, cased ? ++pair_count : 0);
        if (!cased) continue;
        pairs += '\n';
        pairs += hex(table_value(character.upper), 8);
        pairs += hex(table_value(character.lower), 8);
    }
    std::string text = values_text(masks) + std::to_string(codeset.classes.size()) + "\n";
    for (const auto &[bit, name] : codeset.classes) text += std::to_string(bit) + " " + name + "\n";
    return text + values_text(cases) + std::to_string(pair_count) + pairs + " " + codeset.growth + "\n";
}

struct Collation {
    struct Element {
        std::vector<gl_wchar> chars;
        unsigned row;
    };

    std::vector<unsigned> directions = {1};                 // 2 runs backward
    std::vector<std::vector<unsigned>> rows = {{0}};        // a weight for each pass; row 0 is that of characters without one
    std::vector<std::pair<std::string, unsigned>> places{}; // character and row
    std::vector<Element> elements{};
    std::vector<std::vector<gl_wchar>> expansions{};
    bool direct = false;
    unsigned ranked_rows = 0;
    std::vector<std::pair<std::string, unsigned>> ranks{}; // character and rank
    bool compact = false;

    std::string text() const {
        unsigned largest = 0;
        std::string lines;
        for (const auto &row : rows)
            for (const unsigned weight : row) largest = std::max(largest, weight);
        for (const unsigned direction : directions) lines += hex(direction, 4);
        lines += directions.empty() ? "" : "\n";
        if (compact) {
            lines += compact_lines();
        } else {
            for (const Element &element : elements)
                lines += hex(element.chars.size(), 1) + hex(element.row, 4) + wides(element.chars);
            for (const auto &chars : expansions) lines += hex(chars.size(), 1) + wides(chars);
            for (const auto &row : rows) {
                for (const unsigned weight : row) lines += hex(weight, 4);
                lines += row.empty() ? "" : "\n";
            }
        }
        std::ostringstream head;
        head << (ranked_rows > 0 ? "as_ranked\n" : "as_specified\n") << values_text(places);
        if (ranked_rows > 0) head << values_text(ranks) << ranked_rows << "\n";
        head << (compact ? 2 : int{direct}) << "\n" << rows.size() - 1 << " " << directions.size() << " ";
        head << elements.size() << " " << expansions.size() << " " << largest << "\n" << lines;
        return head.str();
    }

    // Every character has a row of its own, in the order of the codeset, and the same weight on every pass.
    static Collation in_order(const Codeset &codeset, const std::vector<unsigned> &directions = {1}) {
        Collation collation{directions, {std::vector<unsigned>(directions.size(), 0)}};
        for (const Character &character : codeset.characters) {
            collation.places.emplace_back(character.bytes, collation.rows.size());
            collation.rows.emplace_back(directions.size(), collation.rows.size() + 1);
        }
        return collation;
    }

  private:
    static std::string wides(const std::vector<gl_wchar> &chars) {
        std::string text;
        for (const gl_wchar wc : chars) text += hex(wc, 8);
        return text + "\n";
    }
    std::string compact_lines() const {
        std::string text;
        std::vector<gl_wchar> last(15);
        const auto put = [&](const std::vector<gl_wchar> &chars) {
            for (size_t i = 0; i < chars.size(); last[i] = chars[i], ++i) text += difference(chars[i], last[i]);
        };
        for (const Element &element : elements) text += number(element.chars.size()) + number(element.row), put(element.chars);
        text += elements.empty() ? "" : "\n";
        std::fill(last.begin(), last.end(), 0);
        for (const auto &chars : expansions) text += number(chars.size()), put(chars);
        text += expansions.empty() ? "" : "\n";
        for (size_t pass = 0; pass < directions.size(); ++pass) {
            std::vector<unsigned> weights;
            for (const auto &row : rows) weights.push_back(row[pass]);
            text += list(weights) + "\n";
        }
        return text;
    }
};

// A string's line in the sections behind LC_COLLATE.
inline std::string string_line(std::string_view bytes) { return std::to_string(bytes.size()) + " " + hexadecimal(bytes) + "\n"; }

inline std::string string_lines(const Codeset &codeset, const std::vector<std::string> &ascii_texts) {
    std::string lines;
    for (const std::string &text : ascii_texts) lines += string_line(codeset.encode(text));
    return lines;
}

inline std::string counted_lines(const Codeset &codeset, const std::vector<std::string> &ascii_texts) {
    return std::to_string(ascii_texts.size()) + "\n" + string_lines(codeset, ascii_texts);
}

// The sections are bodies, without their marker lines.
struct LocaleObject {
    std::string codeset, ctype, collate, numeric, monetary, time, messages;
    std::string header = "FILE_TYPE=locale_object\nCOMPILER_VERSION=11\nHEADER_LINES=3\n";

    explicit LocaleObject(const Codeset &of, const std::string &collation)
        : codeset(of.name), ctype(ctype_text(of)), collate(collation),
          numeric(string_lines(of, {".", ","}) + "2 3 3\n" + string_lines(of, {"", "-"})),
          monetary(string_lines(of, {"EUR ", "E", ".", ","}) + "1 3\n" + string_lines(of, {"", "-"}) +
                   "2\n2\n1\n0\n1\n0\n1\n2147483647\n"),
          messages(string_lines(of, {"^[yY]", "^[nN]", "yes", "no"})) {
        const std::vector<std::string> months = {"January", "February", "March",     "April",   "May",      "June",
                                                 "July",    "August",   "September", "October", "November", "December"};
        const std::vector<std::string> days = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
        const auto cut = [](std::vector<std::string> names) {
            for (std::string &name : names) name.resize(3);
            return names;
        };
        time = "gregorian\n" + string_lines(of, cut(days)) + string_lines(of, days) + counted_lines(of, cut(months)) +
               counted_lines(of, months) +
               string_lines(of, {"%a %d %b %Y %H:%M:%S", "%d/%m/%y", "%H:%M:%S", "AM", "PM", "%I:%M %p"}) +
               counted_lines(of, {"+:0:1989/01/08:+*:Heisei:%EC %Ey:H"}) + string_lines(of, {"%Ey", "%H", "%Ey %H"}) +
               counted_lines(of, {"zero", "one"});
    }
    explicit LocaleObject(const Codeset &of) : LocaleObject(of, Collation::in_order(of).text()) {}

    std::string text() const {
        return header + codeset + "\n### LC_CTYPE\n" + ctype + "### LC_COLLATE\n" + collate + "### LC_NUMERIC\n" + numeric +
               "### LC_MONETARY\n" + monetary + "### LC_TIME\n" + time + "### LC_MESSAGES\n" + messages;
    }
};

using Locale = std::unique_ptr<gl_locale, void (*)(gl_locale *)>;

// Loads an object from a temporary directory: as its default, or under a name that the extension serves. A failure is in the
// handle's error.
inline Locale load_locale(const std::string &object_text) {
    const TempDir directory;
    const std::string served = served_name(object_text);
    write_file(directory.path() / (served.empty() ? "default.lco" : served), object_text);
    gl_locale *locale = nullptr;
    if (served.empty())
        gl_createlocale2_4(&locale, (directory / "").c_str());
    else
        gl_lc_load(&locale, served.c_str(), nullptr, directory.path().c_str());
    return {locale, gl_lc_unload};
}
inline Locale load_locale(const LocaleObject &object) { return load_locale(object.text()); }

inline Locale null_locale(void (*release)(gl_locale *) = gl_lc_unload) {
    gl_locale *locale = nullptr;
    gl_create_null_locale_4(&locale);
    return {locale, release};
}

// ASCII; `lead` stands before every byte.
inline std::vector<Character> ascii_characters(const std::string &lead = "") {
    const std::pair<int (*)(int), unsigned> classes[] = {
        {isupper, GL_CLASS_UPPER}, {islower, GL_CLASS_LOWER}, {isalpha, GL_CLASS_ALPHA},  {isdigit, GL_CLASS_DIGIT},
        {isspace, GL_CLASS_SPACE}, {iscntrl, GL_CLASS_CNTRL}, {ispunct, GL_CLASS_PUNCT},  {isgraph, GL_CLASS_GRAPH},
        {isprint, GL_CLASS_PRINT}, {isblank, GL_CLASS_BLANK}, {isxdigit, GL_CLASS_XDIGIT}};
    std::vector<Character> characters;
    for (int byte = 0; byte < 128; ++byte) {
        characters.push_back({lead + static_cast<char>(byte), 0});
        for (const auto &[contains, mask] : classes) characters.back().classes |= contains(byte) != 0 ? mask : 0;
        if (isupper(byte) != 0) characters.back().lower = lead + static_cast<char>(tolower(byte));
        if (islower(byte) != 0) characters.back().upper = lead + static_cast<char>(toupper(byte));
    }
    return characters;
}

inline constexpr unsigned LETTER = GL_CLASS_ALPHA | GL_CLASS_GRAPH | GL_CLASS_PRINT;

// `count` capitals from `first` on with their small letters from `small` on, counted in the last byte.
inline void add_letters(Codeset &codeset, const std::string &first, const std::string &small, int count) {
    const auto from = [](std::string bytes, int i) {
        bytes.back() = static_cast<char>(bytes.back() + i);
        return bytes;
    };
    for (int i = 0; i < count; ++i) {
        codeset.characters.push_back({from(first, i), LETTER | GL_CLASS_UPPER, "", from(small, i)});
        codeset.characters.push_back({from(small, i), LETTER | GL_CLASS_LOWER, from(first, i), ""});
    }
}

inline void add_uncased(Codeset &codeset, const std::string &lead, int first, int last) {
    for (int byte = first; byte <= last; ++byte) codeset.characters.push_back({lead + static_cast<char>(byte), LETTER});
}

// One byte: ASCII, the letters of Latin-1 from C0 to DE and E0 to FE (with the two signs among them), DF and FF without case.
inline Codeset single_byte_codeset() {
    Codeset codeset{"8859-1", ascii_characters(), {{0, "latin"}}, "1"};
    add_letters(codeset, "\xC0", "\xE0", 31);
    for (const char *bytes : {"\xDF", "\xFF"}) codeset.characters.push_back({bytes, LETTER | GL_CLASS_LOWER});
    return codeset;
}

// One and two bytes: ASCII, single katakana, wide Latin letters (8260 and 8281), hiragana (829F to 82F1), some kanji (889F to
// 88FC).
inline Codeset sjis_codeset() {
    Codeset codeset{"sjis", ascii_characters(), {{0, "kana"}, {4, "kanji"}}};
    add_uncased(codeset, "", 0xA1, 0xDF);
    add_letters(codeset, "\x82\x60", "\x82\x81", 26);
    add_uncased(codeset, "\x82", 0x9F, 0xF1);
    add_uncased(codeset, "\x88", 0x9F, 0xFC);
    return codeset;
}

// One to three bytes: ASCII, 8EA1 to 8EDF, wide Latin letters (A3C1 and A3E1), A4A1 to A4F3, 8FB0A1 to 8FB0FE.
inline Codeset eucjp_codeset() {
    Codeset codeset{"eucjp", ascii_characters()};
    add_uncased(codeset, "\x8E", 0xA1, 0xDF);
    add_letters(codeset, "\xA3\xC1", "\xA3\xE1", 26);
    add_uncased(codeset, "\xA4", 0xA1, 0xF3);
    add_uncased(codeset, "\x8F\xB0", 0xA1, 0xFE);
    return codeset;
}

// One to four bytes: ASCII, U+00C0 to U+00DE and U+00E0 to U+00FE, U+0131 (whose capital has one byte), U+0250 (whose capital
// U+2C6F has three), U+3041 to U+307F, U+10400 to U+10427 with U+10428 to U+1044F, U+1F600 to U+1F63F.
inline Codeset utf8_codeset() {
    Codeset codeset{"utf8", ascii_characters()};
    add_letters(codeset, "\xC3\x80", "\xC3\xA0", 31);
    codeset.characters.push_back({"\xC4\xB1", LETTER | GL_CLASS_LOWER, "I"});
    codeset.characters.push_back({"\xC9\x90", LETTER | GL_CLASS_LOWER, "\xE2\xB1\xAF"});
    codeset.characters.push_back({"\xE2\xB1\xAF", LETTER | GL_CLASS_UPPER, "", "\xC9\x90"});
    add_uncased(codeset, "\xE3\x81", 0x81, 0xBF);
    add_letters(codeset, "\xF0\x90\x90\x80", "\xF0\x90\x90\xA8", 24);
    add_letters(codeset, "\xF0\x90\x90\x98", "\xF0\x90\x91\x80", 16);
    add_uncased(codeset, "\xF0\x9F\x98", 0x80, 0xBF);
    return codeset;
}

// Two and four bytes, big-endian: U+0000 to U+007F, Latin-1's letters, U+3041 to U+3093, U+1F600 to U+1F63F by surrogates.
inline Codeset two_byte_codeset() {
    Codeset codeset{"unicode", ascii_characters(std::string(1, '\0'))};
    add_letters(codeset, std::string("\0\xC0", 2), std::string("\0\xE0", 2), 31);
    add_uncased(codeset, "\x30", 0x41, 0x93);
    add_uncased(codeset, "\xD8\x3D\xDE", 0x00, 0x3F);
    return codeset;
}

// Four bytes, big-endian: U+0000 to U+007F.
inline Codeset four_byte_codeset() { return {"ucs4", ascii_characters(std::string(3, '\0'))}; }

// Characters of four bytes behind a lead of their own.
inline Codeset euctw_codeset() {
    Codeset codeset{"euctw", ascii_characters()};
    for (const char *lead : {"\xC4", "\x8E\xA2\xA1", "\x8E\xA3\xA1"}) add_uncased(codeset, lead, 0xA1, 0xFE);
    return codeset;
}

// Characters of four bytes behind leads that pairs have, too.
inline Codeset gb18030_codeset() {
    Codeset codeset{"gb18030", ascii_characters()};
    add_uncased(codeset, "\x81", 0x40, 0x7E);
    add_uncased(codeset, "\x81\x30\x81", 0x30, 0x39);
    return codeset;
}

} // namespace qbgl_test
