// Dates as text: what the platform has not got, what is refused, and what hostile formats cost.
#include "support/cost.h"
#include "support/every_codeset.h"
#include "support/guarded.h"
#include "support/tree_locale.h"

#include <climits>

namespace {

using namespace qbgl_test;

// Thursday, 3 October 2024, 15:07:05, an hour and a half west of Greenwich.
constexpr gl_tm DAY = {5, 7, 15, 0, 3, 9, 9, 124, 4, 276, 0, -5400, 1};

std::string written(gl_locale *locale, const std::string &format, const gl_tm &tm = DAY, int room = 200) {
    GuardedMemory memory(2);
    auto *out = static_cast<char *>(memory.take(static_cast<size_t>(room), Guard::behind));
    const auto *guarded = static_cast<const char *>(memory.take(format.size() + 1, Guard::behind, format.c_str()));
    if (room > 0) out[0] = '\0';
    gl_clear_errno(locale);
    const int length = gl_mbsftime(locale, out, room, guarded, &tm);
    std::string result = room > 0 ? out : "";
    if (length < 0)
        result += "!" + std::to_string(gl_errno(locale));
    else
        EXPECT_EQ(static_cast<size_t>(length), result.size()) << format;
    // The wide twin says the same.
    const auto widened = [](const std::string &text) { return std::basic_string<gl_wchar>(text.begin(), text.end()); };
    std::basic_string<gl_wchar> wide(200, 0);
    const bool ascii = std::all_of(result.begin(), result.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
    if (ascii && length >= 0 && room == 200) {
        EXPECT_EQ(gl_wcsftime(locale, wide.data(), 200, widened(format).c_str(), &tm), length) << format;
        EXPECT_EQ(wide.substr(0, result.size()), widened(result)) << format;
    }
    EXPECT_TRUE(memory.clear()) << format;
    return result;
}

TEST(DateText, HasWhatThePlatformLacks) {
    const struct {
        const char *locale, *format, *text;
    } CASES[] = {
        {"en_us.utf8", "%+4Y %+5Y %+6F %+C", "2024 +2024 2024-10-03 20"},
        {"en_us.utf8", "%+", "Thu Oct  3 03:07:05 PM EST 2024"},
        {"en_us.utf8", "[%Z|%z|%_7z|%-z|%s]", "[EST|-0130|   -130|-130|1727973425]"},
        {"ru_ru.utf8", "%d %B, %OB, %^B", "03 октября, Октябрь, ОКТЯБРЯ"},
        {"ja_jp.sjis", "%EY %Ey",
         "\x97\xDF\x98\x61"
         "06\x94\x4E 06"},
        {"he_il.utf8", "%d %B %Y, %Qd %QB %QY, %F", "01 תשרי 5785, 03 אוקטובר 2024, 2024-10-03"},
        {"ar_sa.utf8", "%Y-%m-%d %y", "1446-03-30 46"},
        {"en_us.utf8", "%Ed", "!7"},
        {"en_us.utf8", "%Q", "!7"},
        {"en_us.utf8", "ab%", "ab!7"},
        {"en_us.utf8", "%5", "!7"},
        {"en_us.utf8", "%E%", "!7"},
        {"en_us.utf8", "a\xC3", "a!1"},
        {"en_us.utf8", "%f", "!7"},
    };
    const char *const zones[] = {nullptr, "EST"};
    for (const auto &[spec, format, text] : CASES) {
        const Handle locale = load(spec);
        ASSERT_EQ(gl_set_zone_names(locale.get(), zones, 2), 0);
        EXPECT_EQ(written(locale.get(), format), text) << spec << " " << format;
    }
}

TEST(DateText, RefusesWhatIsOutOfRange) {
    const Handle locale = load("en_us.utf8");
    const struct {
        int32_t gl_tm::*field;
        int32_t value;
        const char *formats; // of one letter each
    } CASES[] = {{&gl_tm::sec, 61, "SsTcXr"},   {&gl_tm::min, -1, "MsTR"},    {&gl_tm::hour, 24, "HIklpP"},
                 {&gl_tm::mday, 0, "deDFs"},    {&gl_tm::mon, 12, "bBhmDFs"}, {&gl_tm::wday, 7, "aAuwUV"},
                 {&gl_tm::yday, 366, "jUWVgG"}, {&gl_tm::wday, -1, "aA"},     {&gl_tm::gmtoff, INT32_MIN, "zs"},
                 {&gl_tm::mon, INT32_MIN, "bB"}};
    for (const auto &[field, value, formats] : CASES)
        for (const char *letter = formats; *letter != '\0'; ++letter) {
            gl_tm tm = DAY;
            tm.*field = value;
            EXPECT_TRUE(written(locale.get(), std::string("%") + *letter, tm).ends_with("!7")) << *letter << value;
        }
    for (const int32_t year : {INT32_MIN, INT32_MAX, -1900, -1901}) { // any year can be written, and read behind a sign
        gl_tm tm = DAY, back{};
        tm.year = year;
        const std::string text = written(locale.get(), "%+Y-%m-%d", tm);
        const char *end = gl_mbsptime(locale.get(), text.c_str(), "%Y-%m-%d", &back);
        if (int64_t{year} + 1900 > INT32_MAX) continue; // the reader's years end there
        ASSERT_NE(end, nullptr) << text;
        EXPECT_EQ(back.year, year) << text;
    }
}

TEST(DateText, IsCutBetweenCharacters) {
    const Handle locale = load("ru_ru.utf8");
    const std::string whole = written(locale.get(), "%B%B ё");
    for (int room = 0; room <= static_cast<int>(whole.size()); ++room) {
        const std::string cut = written(locale.get(), "%B%B ё", DAY, room);
        ASSERT_TRUE(cut.ends_with("!14")) << room;
        const std::string text = cut.substr(0, cut.size() - 3);
        EXPECT_EQ(text, whole.substr(0, text.size()));
        EXPECT_GE(static_cast<int>(text.size()), room - 2);
        gl_wchar wide[64];
        EXPECT_GE(gl_mbstowcs(locale.get(), wide, text.c_str(), 64), 0) << room;
    }
    EXPECT_EQ(written(locale.get(), "%2147483648d", DAY, 4), "000!14");
    char out[20];
    gl_wchar wide_out[20];
    const gl_wchar format[] = {'%', 'F', 0};
    EXPECT_EQ(gl_mbsftime(locale.get(), out, INT_MAX, "%F ё", &DAY), 13);
    EXPECT_EQ(gl_wcsftime(locale.get(), wide_out, INT_MAX, format, &DAY), 10);
    EXPECT_EQ(written(locale.get(), "%99999999999a", DAY, 8), "       !14");
}

TEST(DateText, CostsTimeInProportion) {
    const Handle locale = load("ja_jp.utf8");
    expect_in_proportion(1 << 15, [l = locale.get()](size_t size) {
        std::string format, out(32 * size, '\0');
        for (size_t i = 0; i < size; ++i) format += "%EY%p";
        EXPECT_GT(gl_mbsftime(l, out.data(), static_cast<int>(out.size()), format.c_str(), &DAY), 0);
        gl_tm tm{};
        EXPECT_NE(gl_mbsptime(l, out.c_str(), format.c_str(), &tm), nullptr);
        EXPECT_EQ(gl_mbsptime(l, std::string(size, ' ').c_str(), format.c_str(), &tm), nullptr);
    });
}

TEST(DateText, IsInTheCodeset) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        const size_t unit = codeset.encode("a").size();
        const std::string end(unit, '\0');
        for (const auto &[format, expected] : {std::pair("%c|%r|%Ex %EX %Ec", "Thu 03 Oct 2024 15:07:05|03:07 PM|35 15 35 15"),
                                               std::pair("%+", "Thu 03 Oct 2024 15:07:05"), std::pair("%EY %OM", "Heisei 35 07"),
                                               std::pair("%p%F", "PM2024-10-03")}) {
            char out[400];
            gl_tm back{};
            const int length = gl_mbsftime(l, out, sizeof out, (codeset.encode(format) + end).c_str(), &DAY);
            ASSERT_EQ(std::string(out, static_cast<size_t>(std::max(length, 0))), codeset.encode(expected)) << format;
            const char *rest = gl_mbsptime(l, out, (codeset.encode(format) + end).c_str(), &back);
            EXPECT_EQ(rest, out + length) << format << gl_errno(l);
        }
        take_error(l);
    });
    // Of an object without a format for halves of the day.
    for (const Codeset &codeset : {utf8_codeset(), two_byte_codeset(), four_byte_codeset()}) {
        LocaleObject object(codeset);
        const std::string own = string_lines(codeset, {"%I:%M %p"}), none = string_lines(codeset, {""});
        object.time.replace(object.time.find(own), own.size(), none);
        const Locale locale = load_locale(object);
        const std::string end(codeset.encode("a").size(), '\0');
        char out[200];
        const int length = gl_mbsftime(locale.get(), out, sizeof out, (codeset.encode("%r") + end).c_str(), &DAY);
        EXPECT_EQ(std::string(out, static_cast<size_t>(std::max(length, 0))), codeset.encode("03:07:05 PM"));
        gl_tm tm{};
        EXPECT_EQ(gl_mbsptime(locale.get(), out, (codeset.encode("%r") + end).c_str(), &tm), out + length);
    }
}

// An object whose formats hold one another, and eras at the ends of the numbers.
TEST(DateText, OutlastsHostileObjects) {
    const Codeset codeset = utf8_codeset();
    const auto many = [](const char *format) {
        std::string result;
        for (int i = 0; i < 5000; ++i) result += format;
        return result;
    };
    LocaleObject object(codeset);
    object.time.erase(object.time.rfind(string_lines(codeset, {"%a %d %b %Y %H:%M:%S"})));
    object.time += string_lines(codeset, {many("%x"), many("%X"), many("%r"), "", "", many("%p")}) +
                   counted_lines(codeset, {"+:2147483647:-2147483647/01/01:+*:a:%Ey:", "-:-2147483647:2147483647/1/1:-*:b:%EY:",
                                           "+:0:1/1/1:2/1/1:c:%EC%Ey%EY:"}) +
                   string_lines(codeset, {many("%EY"), "%c", "%Ec"}) + counted_lines(codeset, {});
    const Locale locale = load_locale(object);
    ASSERT_EQ(gl_errno(locale.get()), 0);
    char out[100];
    for (const char *format : {"%c", "%x", "%Ec", "%Ex", "%EX", "%EY"}) {
        const auto use = [&] {
            for (const char *text : {"", "1", "999999999", "a-9"}) {
                gl_tm tm = DAY;
                gl_mbsftime(locale.get(), out, sizeof out, format, &tm);
                gl_mbsptime(locale.get(), text, format, &tm);
            }
        };
        EXPECT_LT(seconds_of(use), 5) << format; // some milliseconds
    }
    for (const char *text : {"a999999999", "b999999999", "a0", "b0", "c1", "a", "b"}) { // no year is beyond those of a gl_tm
        gl_tm tm{};
        gl_mbsptime(locale.get(), text, "%EC%Ey", &tm);
        gl_mbsptime(locale.get(), text, "%EC", &tm);
    }
}

TEST(DateReading, TellsTheDay) {
    const struct {
        const char *locale, *format, *text, *result; // what is left behind "|"
    } CASES[] = {
        {"ru_ru.utf8", "%d %B %Y", "3 Октябрь 2024", "2024-10-03|"},
        {"ru_ru.utf8", "%d %b %Y", "3 ОКТЯБРЯ 2024x", "2024-10-03|x"},
        {"en_us.utf8", "%y-%m-%d", "69-01-01", "1969-01-01|"},
        {"en_us.utf8", "%y-%m-%d", "68-12-31", "2068-12-31|"},
        {"en_us.utf8", "%Y%m%d", "20241003", "2024-10-03|"},
        {"he_il.utf8", "%d %B %y", "1 תשרי 85", "2024-10-03|"},
        {"he_il.utf8", "%Qd %QB %QY", "3 אוקטובר 2024", "2024-10-03|"},
        {"en_us.utf8", "%Y-%m-%d", "2023-02-29", "6"},
        {"en_us.utf8", "%Y-%m-%d", "2023-13-01", "1"},
        {"en_us.utf8", "%G-W%V-%u", "2025-W53-1", "6"},
        {"he_il.utf8", "%d %B", "1 תשרי", "6"},
        {"en_us.utf8", "%A", "Thorsday", "1"},
        {"en_us.utf8", "%Y-%N", "2023-1", "7"},
    };
    for (const auto &[spec, format, text, result] : CASES) {
        const Handle locale = load(spec);
        gl_tm tm{};
        const char *end = gl_mbsptime(locale.get(), text, format, &tm);
        std::string found;
        if (end == nullptr)
            found = std::to_string(gl_errno(locale.get()));
        else
            found = written(load("en_us.utf8").get(), "%F", tm) + "|" + end;
        EXPECT_EQ(found, result) << spec << " " << text;
    }
}

TEST(DateReading, KnowsZones) {
    const Handle locale = load("en_us.utf8");
    const char *const zones[] = {"CE", "CEST", nullptr};
    ASSERT_EQ(gl_set_zone_names(locale.get(), zones, 3), 0);
    const struct {
        const char *text;
        int32_t gmtoff, zone;
    } CASES[] = {{"+0130 cest", 5400, 1}, {"-01:30 CE", -5400, 0}, {"Z x", 0, -7}, {"+02CE", 7200, 0}, {"-130", -5400, -7}};
    for (const auto &[text, gmtoff, zone] : CASES) {
        gl_tm tm{};
        tm.zone = -7;
        ASSERT_NE(gl_mbsptime(locale.get(), text, "%z %Z", &tm), nullptr) << text;
        EXPECT_EQ(tm.gmtoff, gmtoff) << text;
        EXPECT_EQ(tm.zone, zone) << text;
    }
    EXPECT_EQ(gl_set_zone_names(locale.get(), zones, -1), -1);
}

TEST(DateText, IsTheSourcesInACopy) {
    const Handle source = load("ja_jp.utf8");
    gl_locale *copy = nullptr;
    ASSERT_EQ(gl_create_null_locale_4(&copy), 0);
    EXPECT_EQ(written(copy, "%Y"), "!15"); // no LC_TIME
    ASSERT_EQ(gl_copy_cat(copy, source.get(), GL_CAT_ALL), 0);
    EXPECT_EQ(written(copy, "%EY %B"), written(source.get(), "%EY %B"));
    gl_free_nonshared_loc(copy);
}

} // namespace
