// Multibyte and wide characters, in codesets of every shape, against a model that knows a codeset as the set of its characters.
#include "support/every_codeset.h"

#include <algorithm>
#include <climits>
#include <numeric>
#include <optional>
#include <random>
#include <set>

namespace qbgl_test {
namespace {

constexpr gl_wchar NO_VALUE = 0x5A5A5A5A;
constexpr char NO_BYTE = 0x5A;
enum { INVALID = 0, CUT = -1 };

// What a call returned, stored and reported.
template <class T> struct Outcome {
    int result, error;
    std::vector<T> stored;
    bool operator==(const Outcome &) const = default;
};

// No characters anywhere: continuation bytes alone, forms that are longer than need be, surrogates, leads that nothing or too much
// follows.
const char *const BAD[] = {"\x80",     "\xC0\x80", "\xC1\xBF",     "\xE0\x81\xA1", "\xED\xA0\x80", "\xE3\x81", "\xF3\x81\x81",
                           "\xF0\x90", "\xFF",     "\x8F\xB0\xFF", "\x82",         "\xC3\x81\x81", "\xC3",     "\xE2"};

struct Model {
    std::vector<std::string> all;
    std::set<std::string> characters;
    size_t shortest;
    std::mt19937 random{20};

    explicit Model(const Codeset &codeset) : shortest(codeset.encode("a").size()) {
        for (const Character &character : codeset.characters) all.push_back(character.bytes);
        characters.insert(all.begin(), all.end());
        const auto is_single = [](const std::string &bytes) { return bytes.size() == 1; };
        for (int byte = 0; std::ranges::all_of(all, is_single) && byte < 256; ++byte)
            characters.emplace(1, static_cast<char>(byte)); // a single-byte table has all
    }

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
    // The values, until `room` are stored, a NUL character is (a len of -1), or `len` bytes are read.
    Outcome<gl_wchar> decoded(std::string_view text, int len, size_t room) const {
        std::vector<gl_wchar> stored;
        for (size_t at = 0; stored.size() < room;) {
            const int taken = length(len == -1 ? text.substr(at) : text.substr(at, static_cast<size_t>(std::max(len, 1)) - at));
            if (taken <= 0) return {-1, GL_EILSEQ, stored};
            stored.push_back(wide(text.substr(at, taken)));
            at += taken;
            const auto count = static_cast<int>(stored.size());
            if (len == -1 ? stored.back() == 0 : at >= static_cast<size_t>(len)) return {count - (len == -1), 0, stored};
        }
        return {static_cast<int>(room) + (len != -1), 0, stored};
    }
    size_t encoded_size(gl_wchar wc) const {
        return std::max<size_t>(shortest, wc > 0xFFFFFF ? 4 : wc > 0xFFFF ? 3 : wc > 0xFF ? 2 : 1);
    }
    std::optional<std::string> encoded(gl_wchar wc) const {
        std::string bytes;
        for (size_t i = encoded_size(wc); i-- > 0;) bytes += static_cast<char>(wc >> (8 * i));
        return characters.contains(bytes) ? std::optional(bytes) : std::nullopt;
    }
    // A len of -1: a zero ends the text.
    Outcome<char> encoded(const std::vector<gl_wchar> &text, int len, size_t room) const {
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

    unsigned below(size_t n) { return std::uniform_int_distribution<unsigned>(0, static_cast<unsigned>(n) - 1)(random); }
    // Runs of neighbours, which often have one length, with others among them.
    std::vector<std::string> some_characters() {
        std::vector<std::string> text;
        for (unsigned runs = below(5); runs > 0; --runs) {
            const size_t first = below(4) == 0 ? 'a' : below(all.size() - 30) + 1;
            for (unsigned i = below(60); i > 0; --i)
                text.push_back(all[below(20) == 0 ? below(all.size() - 1) + 1 : first + below(26)]);
        }
        return text;
    }
};

template <class T, class Call> Outcome<T> call(gl_locale *l, size_t room, T untouched, Call function) {
    std::vector<T> out(room, untouched);
    l->error = 0;
    const int result = function(out.data());
    return {result, take_error(l), out};
}

// Stored values first, and behind them nothing else, where the call succeeded.
template <class T> void expect_same(Outcome<T> expected, Outcome<T> actual, T untouched, const std::string &what) {
    if (expected.result < 0)
        actual.stored.resize(expected.stored.size());
    else
        expected.stored.resize(actual.stored.size(), untouched);
    EXPECT_TRUE(expected == actual) << what << ": " << actual.result << " instead of " << expected.result << ", error "
                                    << actual.error;
}

// A block of memory that ends with the text.
template <class T, class Text> std::vector<T> exactly(const Text &text, size_t offset = 0) {
    std::vector<T> block(offset);
    block.insert(block.end(), text.begin(), text.end());
    block.shrink_to_fit();
    return block;
}

TEST(Mbwc, TextIsDecodedLikeByTheModel) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        Model model(codeset);
        const auto below = [&](size_t n) { return model.below(n); };
        for (int round = 0; round < 120; ++round) {
            std::string plain;
            for (const std::string &character : model.some_characters())
                plain += below(100) == 0 ? BAD[below(std::size(BAD))] : character;
            if (!plain.empty() && below(4) == 0) plain[below(plain.size())] = static_cast<char>(below(256));
            const std::string whole = plain + std::string(model.shortest, '\0');
            // Of the text with its terminator, `len` bytes count unless that is -1.
            const auto check = [&](int len, size_t room, int told_room) {
                const size_t offset = below(17);
                const auto in =
                    exactly<char>(std::string_view(whole).substr(0, len == -1 ? whole.size() : std::max(len, 1)), offset);
                const auto expected = model.decoded(whole, len, static_cast<size_t>(told_room));
                const bool fits = expected.result >= 0 && expected.result <= told_room;
                const bool own_form = l->single_byte != 0 && fits && len != 0 && below(2) == 0; // by which bytes are values
                expect_same(expected,
                            call(l, room, NO_VALUE,
                                 [&](gl_wchar *dst) {
                                     const auto decode = own_form ? _qbx_gl_is_mbfstowcfs : _qbx_gl_im_mbfstowcfs;
                                     return decode(l, dst, in.data() + offset, len, told_room);
                                 }),
                            NO_VALUE, hexadecimal(whole) + " len " + std::to_string(len));
            };
            const auto all = model.decoded(whole, -1, whole.size());
            const size_t values = all.stored.size();
            for (size_t room = round % 7; room <= values + 2; room += 1 + below(9)) check(-1, room, static_cast<int>(room));
            if (all.result >= 0) check(-1, values, INT_MAX);
            for (size_t len = round % 5; len <= plain.size(); len += 1 + below(5))
                for (const size_t room : {plain.size() + 1, len / 2}) check(static_cast<int>(len), room, static_cast<int>(room));
        }
    });
}

TEST(Mbwc, TextIsEncodedLikeByTheModel) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        Model model(codeset);
        const auto below = [&](size_t n) { return model.below(n); };
        for (int round = 0; round < 120; ++round) {
            std::vector<gl_wchar> whole;
            for (const std::string &character : model.some_characters()) whole.push_back(wide(character));
            if (l->single_byte == 0 && !whole.empty() && below(3) == 0)
                whole[below(whole.size())] = below(2) == 0 ? model.random() : below(0x20000);
            const size_t count = whole.size();
            whole.push_back(0);
            const auto check = [&](int len, size_t room, int told_room) {
                const size_t offset = below(5);
                const std::vector text(whole.begin(), len == -1 ? whole.end() : whole.begin() + std::max(len, 1));
                const auto in = exactly<gl_wchar>(text, offset);
                const auto encode = l->single_byte != 0 && below(2) == 0 ? _qbx_gl_is_wcstombs : _qbx_gl_full_wcstombs;
                expect_same(model.encoded(whole, len, static_cast<size_t>(told_room)),
                            call(l, room, NO_BYTE, [&](char *dst) { return encode(l, dst, in.data() + offset, len, told_room); }),
                            NO_BYTE, "room " + std::to_string(room));
            };
            size_t bytes = 0;
            for (const gl_wchar wc : whole) bytes += model.encoded_size(wc);
            for (size_t room = round % 7; room <= bytes + 2; room += 1 + below(9)) check(-1, room, static_cast<int>(room));
            if (model.encoded(whole, -1, bytes).result >= 0) check(-1, bytes, INT_MAX);
            for (size_t len = 0; len <= count; len += 1 + below(5)) check(static_cast<int>(len), bytes, static_cast<int>(bytes));
        }
    });
}

TEST(Mbwc, SingleCharactersAreAsInTheModel) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        Model model(codeset);
        std::vector<std::string> texts = model.all;
        for (int i = 0; i < 65536; i += 7) texts.push_back({char(i), char(i >> 8), char(model.below(256)), char(model.below(256))});
        for (const std::string &bytes : texts) {
            const auto in = exactly<char>(bytes);
            for (int n = 0; n <= static_cast<int>(bytes.size()); ++n) {
                const int length = n < 1 ? CUT : model.length(std::string_view(bytes).substr(0, n));
                const int error = length > 0 ? 0 : length == CUT ? GL_EINVAL : GL_EILSEQ;
                const gl_wchar value = length > 0 ? wide(std::string_view(bytes).substr(0, length)) : NO_VALUE;
                const int result = length <= 0 ? -1 : value == 0 ? 0 : length;
                for (const auto decode : {gl_full_mbtowc, gl_mbtowc, _qbx_gl_full_mbtowc})
                    ASSERT_EQ(call(l, 1, NO_VALUE, [&](gl_wchar *wc) { return decode(l, wc, in.data(), n); }),
                              (Outcome<gl_wchar>{result, error, {value}}))
                        << hexadecimal(bytes) << n;
                for (const auto &[measure, measured] :
                     {std::pair(&gl_full_mblen, result), {&_qbx_gl_full_mblen, length > 0 ? length : -1}})
                    ASSERT_EQ(call(l, 0, char{}, [&, measure = measure](char *) { return measure(l, in.data(), n); }),
                              (Outcome<char>{measured, error, {}}))
                        << hexadecimal(bytes) << n;
            }
        }
        std::vector<gl_wchar> values(0x18000);
        std::iota(values.begin(), values.end(), 0);
        for (const std::string &character : model.all)
            values.insert(values.end(), {wide(character), wide(character) + 1, wide(character) | 0x80000000});
        for (const gl_wchar wc : values) {
            char bytes[4];
            const auto [length, error] = told(l, gl_full_wctomb(l, bytes, wc));
            const auto expected = model.encoded(wc);
            ASSERT_EQ(length < 0 ? std::nullopt : std::optional(std::string(bytes, length)), expected) << wc;
            ASSERT_EQ(error, expected ? UNTOUCHED : GL_EILSEQ);
            ASSERT_EQ(told(l, gl_wclen(l, wc)).first, l->single_byte ? 1 : length);
        }
    });
}

TEST(Mbwc, NullTextAndBadLengths) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        gl_wchar wc = NO_VALUE;
        for (const int length : {gl_mbtowc(l, &wc, nullptr, 0), _qbx_gl_full_mbtowc(l, &wc, nullptr, 0),
                                 gl_full_mblen(l, nullptr, 0), _qbx_gl_full_mblen(l, nullptr, 0), gl_mbsbytes(l, nullptr)})
            EXPECT_EQ(length, 0);
        const std::string letter = codeset.encode("a"), none(letter.size(), '\0'), word = letter + letter + none;
        EXPECT_EQ(_qbx_gl_full_mbtowc(l, &wc, word.data(), -1), static_cast<int>(letter.size()));
        EXPECT_EQ(std::pair(wc, take_error(l)), std::pair(wide(letter), UNTOUCHED));
        EXPECT_TRUE(fails(l, _qbx_gl_full_mbtowc(l, &wc, none.data(), -1), GL_EINVAL));
        EXPECT_EQ(_qbx_gl_im_mbfslen(l, word.data(), -1), 2);
        EXPECT_EQ(_qbx_gl_im_mbfslen(l, word.data(), static_cast<int>(word.size())), 3);
        const gl_wchar text[] = {wide(letter), wide(letter), 0};
        EXPECT_EQ(std::pair(gl_wcslen(text), gl_wcsbytes(text)), std::pair(2, 12));
        if (l->single_byte == 0) return; // where values above 255 are cut to their low bytes, or refused
        const gl_wchar high[] = {'a', 0x141};
        char bytes[] = "??";
        EXPECT_EQ(_qbx_gl_full_wcstombs(l, bytes, high, 2, INT_MAX), 2);
        EXPECT_STREQ(bytes, "aA");
        EXPECT_TRUE(fails(l, _qbx_gl_is_wcstombs(l, bytes, high, 2, 2), GL_EILSEQ));
        EXPECT_EQ(bytes[0], 'a');
    });
}

} // namespace
} // namespace qbgl_test
