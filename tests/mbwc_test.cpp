// Multibyte and wide characters, in codesets of every shape, against a model that knows a codeset as the set of its characters.
#include "mbwc/maps.h"
#include "support/locale_object.h"

#include <climits>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <set>

namespace qbgl_test {
namespace {

constexpr gl_wchar UNTOUCHED = 0x5A5A5A5A;
constexpr char UNTOUCHED_BYTE = 0x5A;
enum { INVALID = 0, CUT = -1 };

// What a call returned, stored and reported.
template <class T> struct Outcome {
    int result, error;
    std::vector<T> stored;
    bool operator==(const Outcome &) const = default;
};

struct Model {
    std::set<std::string> characters;
    size_t shortest;

    // The character at the beginning: its length, INVALID, or CUT when it goes on behind the text.
    int length(std::string_view text) const {
        for (size_t taken = 1;; ++taken) {
            if (taken > text.size()) return CUT;
            const std::string bytes(text.substr(0, taken));
            if (characters.contains(bytes)) return static_cast<int>(taken);
            const auto next = characters.lower_bound(bytes);
            if (next == characters.end() || !next->starts_with(bytes)) return INVALID;
        }
    }

    // The values, until `room` are stored or a NUL character is; -1 stands for bytes that are none. `text` has its terminator.
    Outcome<gl_wchar> terminated(std::string_view text, int room) const {
        Outcome<gl_wchar> out{};
        while (out.result < room) {
            const int taken = length(text);
            if (taken <= 0) return {-1, GL_EILSEQ, out.stored};
            out.stored.push_back(wide(text.substr(0, taken)));
            text.remove_prefix(taken);
            if (out.stored.back() == 0) break;
            ++out.result;
        }
        return out;
    }
    // `text` is longer than `len`.
    Outcome<gl_wchar> counted(std::string_view text, size_t len, int room) const {
        Outcome<gl_wchar> out{1, 0, {}};
        for (size_t at = 0; out.result <= room; ++out.result) {
            const int taken = length(text.substr(at, std::max<size_t>(len, 1) - at));
            if (taken <= 0) return {-1, GL_EILSEQ, out.stored};
            out.stored.push_back(wide(text.substr(at, taken)));
            if ((at += taken) >= len) break;
        }
        return out;
    }
    std::optional<std::string> encoded(gl_wchar wc) const {
        const size_t own = wc > 0xFFFFFF ? 4 : wc > 0xFFFF ? 3 : wc > 0xFF ? 2 : 1;
        std::string bytes;
        for (size_t i = std::max(own, shortest); i-- > 0;) bytes += static_cast<char>(wc >> (8 * i));
        return characters.contains(bytes) ? std::optional(bytes) : std::nullopt;
    }
    size_t encoded_size(gl_wchar wc) const {
        return std::max<size_t>(shortest, wc > 0xFFFFFF ? 4 : wc > 0xFFFF ? 3 : wc > 0xFF ? 2 : 1);
    }
    // A len of -1: a zero ends the text.
    Outcome<char> wide_text(const std::vector<gl_wchar> &text, int len, size_t room) const {
        Outcome<char> out{};
        for (int i = 0; out.stored.size() + encoded_size(text[i]) <= room; ++i) {
            const auto bytes = encoded(text[i]);
            if (!bytes) return {-1, GL_EILSEQ, out.stored};
            out.stored.insert(out.stored.end(), bytes->begin(), bytes->end());
            if (len == -1 && text[i] == 0) break;
            out.result = static_cast<int>(out.stored.size());
            if (len != -1 && i + 1 >= len) break;
        }
        return out;
    }
};

// A block of memory that ends with the text.
template <class T, class Text> std::vector<T> exactly(const Text &text, size_t offset) {
    std::vector<T> block(offset);
    block.insert(block.end(), text.begin(), text.end());
    block.shrink_to_fit();
    return block;
}

// No characters anywhere: continuation bytes alone, forms that are longer than need be, surrogates, leads that nothing or too much
// follows.
const char *const BAD[] = {"\x80",     "\xC0\x80", "\xC1\xBF",     "\xE0\x81\xA1", "\xED\xA0\x80", "\xE3\x81", "\xF3\x81\x81",
                           "\xF0\x90", "\xFF",     "\x8F\xB0\xFF", "\x82",         "\xC3\x81\x81", "\xC3",     "\xE2"};

class Room : public testing::TestWithParam<std::tuple<Codeset (*)(), bool>> {
  protected:
    Room() {
        const auto [make, with_maps] = GetParam();
        const Codeset codeset = make();
        const uint16_t none = 0;
        gl_multi *table = locale.ctype.codeset_table = _gl_create_multi(2, 0, &none);
        locale.ctype.case_table = _gl_create_multi(2, 0, &none);
        locale.ctype.case_pairs = pairs;
        for (const Character &character : codeset.characters) {
            gl_desc key{static_cast<uint32_t>(character.bytes.size()), {}};
            character.bytes.copy(reinterpret_cast<char *>(key.bytes), sizeof key.bytes);
            const auto mask = static_cast<uint16_t>(character.classes), pair = static_cast<uint16_t>(mask % std::size(pairs));
            EXPECT_EQ(_gl_insert_desc_multi(&key, &mask, table), 0);
            EXPECT_EQ(_gl_insert_desc_multi(&key, &pair, locale.ctype.case_table), 0);
            model.characters.insert(character.bytes);
            all.push_back(character.bytes);
            classes[wide(character.bytes)] = mask;
        }
        locale.single_byte = _gl_multi_max_length(table) == 1;
        model.shortest = static_cast<size_t>(_gl_multi_min_length(table));
        if (with_maps) locale.ctype.maps = qbgl::build_codeset_maps(locale.ctype, 0);
        EXPECT_EQ(locale.ctype.maps != nullptr, with_maps);
    }
    ~Room() override {
        qbgl::free_codeset_maps(locale.ctype.maps);
        _gl_free_multi(locale.ctype.codeset_table);
        _gl_free_multi(locale.ctype.case_table);
    }

    unsigned below(size_t n) { return std::uniform_int_distribution<unsigned>(0, static_cast<unsigned>(n) - 1)(random); }
    // Runs of neighbours, which often have one length, with others among them.
    std::vector<std::string> characters() {
        std::vector<std::string> text;
        for (unsigned runs = below(5); runs > 0; --runs) {
            const size_t first = below(4) == 0 ? 'a' : below(all.size() - 30) + 1;
            for (unsigned i = below(60); i > 0; --i)
                text.push_back(all[below(20) == 0 ? below(all.size() - 1) + 1 : first + below(26)]);
        }
        return text;
    }
    std::string text() {
        std::string text;
        for (const std::string &character : characters()) text += below(100) == 0 ? BAD[below(std::size(BAD))] : character;
        if (!text.empty() && below(4) == 0) text[below(text.size())] = static_cast<char>(below(256));
        return text;
    }

    // A text with its terminator, of which `len` bytes count unless that is -1.
    void expect_decoded(const std::string &whole, int len, size_t room, int told_room) {
        const size_t offset = below(17);
        auto in = exactly<char>(std::string_view(whole).substr(0, len == -1 ? whole.size() : std::max(len, 1)), offset);
        const auto expected =
            len == -1 ? model.terminated(whole, told_room) : model.counted(whole, static_cast<size_t>(len), told_room);
        const bool fits = expected.result >= 0 && expected.result <= told_room;
        const bool plain = locale.single_byte != 0 && fits && len != 0 && below(2) == 0; // its own forms, by which bytes are values
        const auto actual = call<gl_wchar>(room, UNTOUCHED, [&](gl_wchar *dst) {
            return (plain ? _qbx_gl_is_mbfstowcfs : _qbx_gl_im_mbfstowcfs)(&locale, dst, in.data() + offset, len, told_room);
        });
        expect_same(expected, actual, UNTOUCHED, hexadecimal(whole) + " len " + std::to_string(len));
    }

    template <class T, class Call> Outcome<T> call(size_t room, T untouched, Call function) {
        std::vector<T> out(room, untouched);
        locale.error = 0;
        const int result = function(out.data());
        return {result, locale.error, out};
    }

    // Stored values first, and behind them nothing else, where the call succeeded.
    template <class T>
    static void expect_same(const Outcome<T> &expected, const Outcome<T> &actual, T untouched, const std::string &what) {
        std::vector<T> stored = expected.stored, got = actual.stored;
        if (expected.result < 0)
            got.resize(stored.size());
        else
            stored.resize(got.size(), untouched);
        EXPECT_EQ((std::tuple{expected.result, expected.error, stored}), std::tuple(actual.result, actual.error, got))
            << what << ": " << actual.result << " instead of " << expected.result << ", error " << actual.error;
    }

    gl_case_pair pairs[5] = {};
    gl_locale locale = {};
    Model model;
    std::vector<std::string> all;
    std::map<gl_wchar, uint16_t> classes;
    std::mt19937 random{20};
};

TEST_P(Room, DecodesTextLikeTheModel) {
    for (int round = 0; round < 120; ++round) {
        const std::string plain = text();
        const std::string whole = plain + std::string(model.shortest, '\0');
        const size_t values = model.terminated(whole, INT_MAX).stored.size();
        for (size_t room = round % 7; room <= values + 2; room += 1 + below(9))
            expect_decoded(whole, -1, room, static_cast<int>(room));
        if (model.terminated(whole, INT_MAX).result >= 0) expect_decoded(whole, -1, values, INT_MAX);
        for (size_t len = round % 5; len <= plain.size(); len += 1 + below(5)) {
            expect_decoded(whole, static_cast<int>(len), plain.size() + 1, static_cast<int>(plain.size() + 1));
            expect_decoded(whole, static_cast<int>(len), len / 2, static_cast<int>(len / 2));
        }
    }
}

TEST_P(Room, EncodesTextLikeTheModel) {
    for (int round = 0; round < 120; ++round) {
        std::vector<gl_wchar> plain;
        for (const std::string &character : characters()) plain.push_back(wide(character));
        if (locale.single_byte == 0 && !plain.empty() && below(3) == 0)
            plain[below(plain.size())] = below(2) == 0 ? random() : below(0x20000);
        std::vector<gl_wchar> whole = plain;
        whole.push_back(0);
        const auto check = [&](int len, size_t room, int told_room) {
            const size_t offset = below(5);
            auto in =
                exactly<gl_wchar>(std::vector(whole.begin(), len == -1 ? whole.end() : whole.begin() + std::max(len, 1)), offset);
            const auto expected = model.wide_text(whole, len, told_room);
            const auto actual = call<char>(room, UNTOUCHED_BYTE, [&](char *dst) {
                const auto encode = locale.single_byte != 0 && below(2) == 0 ? _qbx_gl_is_wcstombs : _qbx_gl_full_wcstombs;
                return encode(&locale, dst, in.data() + offset, len, told_room);
            });
            expect_same(expected, actual, UNTOUCHED_BYTE, "room " + std::to_string(room));
        };
        size_t bytes = 0;
        for (const gl_wchar wc : whole) bytes += model.encoded_size(wc);
        for (size_t room = round % 7; room <= bytes + 2; room += 1 + below(9)) check(-1, room, static_cast<int>(room));
        if (model.wide_text(whole, -1, bytes).result >= 0) check(-1, bytes, INT_MAX);
        for (size_t len = 0; len <= plain.size(); len += 1 + below(5)) check(static_cast<int>(len), bytes, static_cast<int>(bytes));
    }
}

TEST_P(Room, SingleCharactersAreAsInTheModel) {
    const auto check = [&](const std::string &bytes) {
        const auto in = exactly<char>(bytes, 0);
        for (int n = 0; n <= static_cast<int>(bytes.size()); ++n) {
            const int length = n < 1 ? CUT : model.length(std::string_view(bytes).substr(0, n));
            const int error = length > 0 ? 0 : length == CUT ? GL_EINVAL : GL_EILSEQ;
            const gl_wchar value = length > 0 ? wide(std::string_view(bytes).substr(0, length)) : UNTOUCHED;
            const int result = length <= 0 ? -1 : value == 0 ? 0 : length;
            const auto decode = [&](auto function) {
                return call<gl_wchar>(1, UNTOUCHED, [&](gl_wchar *wc) { return function(&locale, wc, in.data(), n); });
            };
            EXPECT_EQ(decode(gl_full_mbtowc), (Outcome<gl_wchar>{result, error, {value}})) << hexadecimal(bytes) << n;
            EXPECT_EQ(decode(gl_mbtowc), (Outcome<gl_wchar>{result, error, {value}})) << hexadecimal(bytes) << n;
            EXPECT_EQ(decode(_qbx_gl_full_mbtowc), (Outcome<gl_wchar>{result, error, {value}})) << hexadecimal(bytes) << n;
            const auto measure = [&](auto function) {
                return call<char>(0, 0, [&](char *) { return function(&locale, in.data(), n); });
            };
            EXPECT_EQ(measure(gl_full_mblen), (Outcome<char>{result, error, {}})) << hexadecimal(bytes) << n;
            EXPECT_EQ(measure(_qbx_gl_full_mblen), (Outcome<char>{length > 0 ? length : -1, error, {}})) << hexadecimal(bytes) << n;
        }
    };
    for (const std::string &character : all) check(character);
    for (int i = 0; i < 65536; i += 7)
        check({static_cast<char>(i), static_cast<char>(i >> 8), static_cast<char>(below(256)), static_cast<char>(below(256))});

    std::vector<gl_wchar> values;
    for (gl_wchar wc = 0; wc < 0x18000; ++wc) values.push_back(wc);
    for (const std::string &character : all)
        values.insert(values.end(), {wide(character), wide(character) + 1, wide(character) | 0x80000000});
    for (const gl_wchar wc : values) {
        char bytes[4];
        locale.error = 0;
        const int length = gl_full_wctomb(&locale, bytes, wc);
        const auto expected = model.encoded(wc);
        ASSERT_EQ(length < 0 ? std::nullopt : std::optional(std::string(bytes, length)), expected) << wc;
        ASSERT_EQ(locale.error, expected ? 0 : GL_EILSEQ);
        ASSERT_EQ(gl_wclen(&locale, wc), locale.single_byte ? 1 : length);
        const auto *maps = qbgl::maps_of(&locale);
        if (maps == nullptr || length == 4) continue;
        ASSERT_EQ(maps->has(wc), expected.has_value()) << wc;
        if (!expected) continue;
        const auto &cell = maps->cells[maps->page_blocks[wc >> 8] * 256 + (wc & 255)];
        ASSERT_EQ((std::tuple{cell.classes, cell.case_pair}), std::tuple(classes[wc], classes[wc] % std::size(pairs))) << wc;
    }
}

TEST_P(Room, NullTextAndBadLengths) {
    gl_wchar wc = UNTOUCHED;
    EXPECT_EQ(gl_mbtowc(&locale, &wc, nullptr, 0), 0);
    EXPECT_EQ(_qbx_gl_full_mbtowc(&locale, &wc, nullptr, 0), 0);
    EXPECT_EQ(gl_full_mblen(&locale, nullptr, 0), 0);
    EXPECT_EQ(_qbx_gl_full_mblen(&locale, nullptr, 0), 0);
    EXPECT_EQ(gl_mbsbytes(&locale, nullptr), 0);
    EXPECT_EQ(locale.error, 0);

    const std::string letter = all['a'], word = letter + letter + std::string(model.shortest, '\0'), none(model.shortest, '\0');
    EXPECT_EQ(_qbx_gl_full_mbtowc(&locale, &wc, word.data(), -1), static_cast<int>(model.shortest));
    EXPECT_EQ(wc, wide(letter));
    EXPECT_EQ(locale.error, 0);
    EXPECT_EQ(_qbx_gl_full_mbtowc(&locale, &wc, none.data(), -1), -1);
    EXPECT_EQ(locale.error, GL_EINVAL);
    EXPECT_EQ(_qbx_gl_im_mbfslen(&locale, word.data(), -1), 2);
    EXPECT_EQ(_qbx_gl_im_mbfslen(&locale, word.data(), static_cast<int>(word.size())), 3);

    const std::vector<gl_wchar> text = {wide(letter), wide(letter), 0};
    EXPECT_EQ(gl_wcslen(text.data()), 2);
    EXPECT_EQ(gl_wcsbytes(text.data()), 12);
}

INSTANTIATE_TEST_SUITE_P(Mbwc, Room,
                         testing::Combine(testing::Values(single_byte_codeset, sjis_codeset, eucjp_codeset, utf8_codeset,
                                                          two_byte_codeset),
                                          testing::Bool()));

TEST(Mbwc, SingleByteFormsTakeLowBytes) {
    const Locale locale = load_locale(LocaleObject(single_byte_codeset()));
    const gl_wchar high[] = {'a', 0x141};
    char bytes[] = "??";
    EXPECT_EQ(_qbx_gl_full_wcstombs(locale.get(), bytes, high, 2, INT_MAX), 2);
    EXPECT_STREQ(bytes, "aA");
    EXPECT_EQ(_qbx_gl_is_wcstombs(locale.get(), bytes, high, 2, 2), -1);
    EXPECT_EQ(locale->error, GL_EILSEQ);
    EXPECT_EQ(bytes[0], 'a');
}

} // namespace
} // namespace qbgl_test
