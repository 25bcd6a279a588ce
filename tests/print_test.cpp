// Printing and scanning in codesets of every shape and of wide characters: what the locale has in it, what is cut, what is refused.
// The digits of numbers are compared with the platform's in the oracle.
#include "support/every_codeset.h"
#include "support/faults.h"
#include "support/guarded.h"

#include <climits>

namespace {

using namespace qbgl_test;

// ASCII text in both forms.
class Form {
  public:
    Form(const Codeset &codeset, gl_locale *locale)
        : l(locale), unit(static_cast<int>(codeset.encode("a").size())), codeset_(codeset) {}

    std::string bytes(std::string_view ascii) const {
        return codeset_.encode(ascii) + std::string(static_cast<size_t>(unit), '\0');
    }
    static std::vector<gl_wchar> wide(std::string_view ascii) {
        std::vector<gl_wchar> text(ascii.begin(), ascii.end());
        text.push_back(0);
        return text;
    }
    std::string ascii(const std::string &text) const {
        std::string result;
        for (size_t at = static_cast<size_t>(unit) - 1; at < text.size(); at += static_cast<size_t>(unit)) result += text[at];
        return result;
    }

    // The text of both forms, or "-N" for the error that both tell.
    template <class... Arguments> std::string print(const std::string &format, Arguments... arguments) {
        char out[2400];
        gl_wchar wide_out[600];
        const auto told_of = told(l, gl_mbsprintf(l, out, sizeof out, bytes(format).c_str(), arguments...));
        const auto wide_told = told(l, gl_wcsprintf(l, wide_out, 600, wide(format).data(), arguments...));
        EXPECT_EQ(told_of.second, wide_told.second) << format;
        if (told_of.first < 0) return "-" + std::to_string(told_of.second);
        EXPECT_EQ(told_of.first, wide_told.first * unit) << format;
        const std::string text = ascii(std::string(out, static_cast<size_t>(told_of.first)));
        EXPECT_EQ(std::string(wide_out, wide_out + std::max(wide_told.first, 0)), text) << format;
        return text;
    }
    template <class... Arguments> int scan(const std::string &text, const std::string &format, Arguments... arguments) {
        return gl_mbsscanf(l, bytes(text).c_str(), bytes(format).c_str(), arguments...);
    }
    template <class... Arguments> int scan_wide(const std::string &text, const std::string &format, Arguments... arguments) {
        return gl_wcsscanf(l, wide(text).data(), wide(format).data(), arguments...);
    }

    gl_locale *const l;
    const int unit;

  private:
    const Codeset &codeset_;
};

void everywhere_with_form(auto check) {
    everywhere(std::identity(), [&](const Codeset &codeset, gl_locale *l) {
        Form form(codeset, l);
        check(codeset, form);
    });
}

TEST(Printing, FollowsTheLocale) {
    everywhere_with_form([](const Codeset &, Form &f) {
        const std::string text = f.bytes("text");
        const std::vector<gl_wchar> wide_text = Form::wide("wide");
        EXPECT_EQ(f.print("%d|%'d|%'.2f|%+i|%#x|%.3o", 1234567, 1234567, -1234567.891, 5, 255U, 8U),
                  "1234567|1,234,567|-1,234,567.89|+5|0xff|010");
        EXPECT_EQ(
            f.print("%s|%ls|%S|%c%lc%C|%%", text.c_str(), wide_text.data(), wide_text.data(), 'a', gl_wchar{'b'}, gl_wchar{'c'}),
            "text|wide|wide|abc|%");
        EXPECT_EQ(f.print("%2$s %1$d %1$d %2$s", 7, text.c_str()), "text 7 7 text");
        EXPECT_EQ(f.print("%3$.*2$f %1$d %4$lld %5$Lg", 1, 2, 2.5, 4LL, 5.0L), "2.50 1 4 5");
        EXPECT_EQ(f.print("%w8s|%-w6d|%w*d", text.c_str(), 42, -4, 1), "    text|42    |1   ");
        EXPECT_EQ(f.print("%s|%.3s|%p", static_cast<char *>(nullptr), static_cast<char *>(nullptr), static_cast<void *>(nullptr)),
                  "(null)||(nil)");
        EXPECT_EQ(f.print("%.400f", 0.5).size(), 402U);
    });
}

TEST(Printing, KeepsCharactersWhole) {
    everywhere_with_form([](const Codeset &codeset, Form &f) {
        const std::string longest = codeset.characters.back().bytes, end(static_cast<size_t>(f.unit), '\0');
        const auto size = static_cast<int>(longest.size());
        const std::string text = longest + longest + end, format = codeset.encode("%.*s") + end;
        GuardedMemory memory;
        for (int room = 0; room <= 2 * size + f.unit; ++room) {
            for (int precision = 0; precision <= 2 * size; ++precision) {
                char *const out = static_cast<char *>(memory.take(static_cast<size_t>(room), Guard::behind));
                // Not more is read than the precision says.
                const auto *s = static_cast<char *>(memory.take(static_cast<size_t>(precision), Guard::behind, text.data()));
                const int wanted = precision / size * size, kept = std::min(wanted, (room - f.unit) / size * size);
                const auto result = told(f.l, gl_mbsprintf(f.l, out, room, format.c_str(), precision, s));
                ASSERT_EQ(result, wanted + f.unit <= room ? std::pair(wanted, UNTOUCHED) : std::pair(-1, int{GL_E2BIG}));
                if (room >= f.unit) {
                    ASSERT_EQ(std::string(out, static_cast<size_t>(kept + f.unit)),
                              text.substr(0, static_cast<size_t>(kept)) + end);
                }
                ASSERT_TRUE(memory.clear());
            }
        }
        // Columns, of a character that may have two.
        char out[64];
        const int width = gl_mbswidth(f.l, (longest + end).c_str(), 1);
        const int result = gl_mbsprintf(f.l, out, sizeof out, (codeset.encode("%w5s") + end).c_str(), (longest + end).c_str());
        EXPECT_EQ(result, size + (5 - std::max(width, 0)) * f.unit);
        take_error(f.l);
    });
}

// Each is refused or cut, in time that follows its length and the room.
TEST(Printing, OutlastsHostileFormats) {
    everywhere_with_form([](const Codeset &codeset, Form &f) {
        constexpr const char *INVALID[] = {
            "%",         "%5",   "%-+ #0'w12.3ll", "%n",      "%k",      "%2147483648d", "%99999999999999999999d",
            "%1$d %3$d", "%2$d", "%1$d %1$s",      "%1$d %d", "%d %2$d", "%1$*d",        "%0$d",
            "%4097$d"};
        constexpr const char *TOO_LARGE[] = {"%2147483647d", "%.2147483647d", "%-2147483647d", "%.2147483647f", "%'2147483647d"};
        for (const char *format : INVALID) EXPECT_EQ(f.print(format, 1, 2, 3, 4), "-" + std::to_string(GL_EINVAL)) << format;
        for (const char *format : TOO_LARGE) EXPECT_EQ(f.print(format, 1, 2, 3, 4), "-" + std::to_string(GL_E2BIG)) << format;
        EXPECT_EQ(f.print("%*d", INT_MIN, 1), "-" + std::to_string(GL_EINVAL));
        std::string many;
        for (int i = 0; i < (codeset.name == "utf8" ? 1'000'000 : 1000); ++i) many += "%1$.0s";
        const std::string text = f.bytes("x");
        EXPECT_EQ(f.print(many + "%1$s", text.c_str()), "x");
        for_each_fault(Operation::allocate, Lasting::once, [&](const Faults &faults) {
            std::string positions;
            for (int i = 0; i < 40; ++i) positions += "%" + std::to_string(i % 2 + 1) + "$d";
            EXPECT_EQ(f.print(positions + "%3$d", 1, 2, 3).back(), '3'); // no memory
            static_cast<void>(faults);
        });
        if (f.unit > 1 || f.l->single_byte != 0) return;
        char out[8];
        EXPECT_TRUE(fails(f.l, gl_mbsprintf(f.l, out, 8, "ab\xFF"), GL_EILSEQ));
        EXPECT_STREQ(out, "ab");
        EXPECT_TRUE(fails(f.l, gl_mbsprintf(f.l, out, 8, "a%s", "c\xFF"), GL_EILSEQ));
        EXPECT_STREQ(out, "ac");
        EXPECT_TRUE(fails(f.l, gl_mbsprintf(f.l, out, 8, "a%lc", gl_wchar{0xFFFFFFFF}), GL_EILSEQ));
        EXPECT_TRUE(fails(f.l, gl_mbsprintf(f.l, nullptr, 8, "a"), GL_ENULLPTR));
    });
}

TEST(Scanning, ReadsByPositionSetAndSize) {
    everywhere_with_form([](const Codeset &, Form &f) {
        int a = 0, b = 0;
        char word[64];
        gl_wchar wide_word[16];
        EXPECT_EQ(f.scan(" 12:0x1f,xyz", "%*d:%*i,%*c%1$ls", wide_word), 1);
        EXPECT_EQ(f.scan(" 12:0x1f,xyz", "%2$d:%1$i,%*c%3$ls", &a, &b, wide_word), 3);
        EXPECT_EQ(std::tuple(a, b, wide_word[0], wide_word[2]), std::tuple(31, 12, gl_wchar{'y'}, gl_wchar{0}));
        EXPECT_EQ(f.scan("abc-]z", "%[]a-c-]%c", word, word + 40), 2);
        EXPECT_EQ(f.ascii(std::string(word, static_cast<size_t>(5 * f.unit))), "abc-]");
        signed char small = 0;
        EXPECT_EQ(f.scan("-1000 99999999999999999999", "%hhd%d", &small, &a), 2);
        EXPECT_EQ(std::pair(int{small}, a), std::pair(-128, INT_MAX));
    });
}

// A set that was read again for each character would take minutes.
TEST(Scanning, GoesByLargeSets) {
    everywhere_with_form([](const Codeset &codeset, Form &f) {
        constexpr int LENGTH = 100'000;
        std::vector<gl_wchar> known, text, got(LENGTH + 1);
        for (const auto &character : codeset.characters)
            if (const gl_wchar wc = wide(character.bytes); wc != 0 && wc != ']' && wc != '-' && wc != '^') known.push_back(wc);
        while (text.size() < LENGTH) text.push_back(known[text.size() % known.size()]);
        const auto scanned = [&](const char *begin, const std::vector<gl_wchar> &set) {
            std::vector<gl_wchar> format(begin, begin + strlen(begin));
            format.insert(format.end(), set.rbegin(), set.rend());
            format.insert(format.end(), {']', 0});
            const int result = gl_wcsscanf(f.l, text.data(), format.data(), got.data());
            return result == 1 ? std::find(got.begin(), got.end(), 0U) - got.begin() : -result;
        };
        const std::vector<gl_wchar> set = text;
        text.insert(text.end(), {']', 0});
        EXPECT_EQ(scanned("%l[", set), LENGTH);
        EXPECT_EQ(scanned("%l[^", set), 0);
        std::sort(known.begin(), known.end());
        const gl_wchar last = known.back(), middle = known[known.size() / 2];
        text = {'^', ']', middle, last, known.front(), 0};
        EXPECT_EQ(scanned("%l[^", set), 2);
        EXPECT_EQ(scanned("%l[]^", {last, '-', middle, middle, '-', middle, '-', last}), 4);
    });
}

TEST(Scanning, EndsWhereNothingFits) {
    everywhere_with_form([](const Codeset &, Form &f) {
        const auto expect = [&f](const char *text, const char *format, int result, int error) {
            double room[4];
            EXPECT_EQ(told(f.l, f.scan(text, format, &room[0], &room[1])), std::pair(result, error)) << text << format;
            EXPECT_EQ(told(f.l, f.scan_wide(text, format, &room[0], &room[1])), std::pair(result, error)) << text << format;
        };
        for (const char *nothing : {"", "  "}) expect(nothing, "%d", -1, GL_EEOF);
        for (const char *no_integer : {"x", "-"}) expect(no_integer, "%d", 0, UNTOUCHED);
        for (const char *no_real : {"1e", "1e+x", ".", "infi"}) expect(no_real, "%f", 0, UNTOUCHED);
        for (const char *one_of_two : {"1 x", "1"}) expect(one_of_two, "%d%d", 1, UNTOUCHED);
        expect("1,23", "%'d", 0, UNTOUCHED);
        expect("12,345,", "%'d,", 1, UNTOUCHED);
        for (const char *format : {"%n", "%0d", "%[a", "%2$d", "%99999999999d", "%", "%1$d%d"}) expect("1", format, -1, GL_EINVAL);
        EXPECT_TRUE(fails(f.l, gl_mbsscanf(f.l, nullptr, ""), GL_ENULLPTR));
        std::string digits(1'000'000, '9');
        double value = 0;
        EXPECT_EQ(f.scan("0." + digits, "%lf", &value), 1);
        EXPECT_EQ(value, 1.0);
    });
}

} // namespace
