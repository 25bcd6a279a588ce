// Formats, eras and names of a locale, a format and a date: what is written is a text, also when it is cut, and what is read is a
// date of the calendar or leaves the record as it was.
#include "family.h"

using namespace qbgl_test;

namespace {

constexpr const char *TOKENS[] = {"%",  "%E", "%O", "%Q",   "%Ec",          "%EY", "%Ey", "%EC", "%Od", "%QB", "%c", "%x",
                                  "%X", "%r", "%+", "%+4Y", "%_",           "%-",  "%0",  "%^",  "%#",  "%s",  "%z", "%Z",
                                  "%F", "%G", "%V", "%j",   "%2147483647d", "%40", "%p",  "%B",  "%b",  "%A",  "%Y", "%m",
                                  "%d", "%H", "%I", "%y",   "2147483647",   "-1",  "+",   "AM",  "May", "Sun", "19", "70",
                                  "x",  "%U", "%W", "%w",   "%u",           "%g",  "%C",  "+01", ":",   "%n",  "%k", "%l"};

std::string era(Input &in) {
    constexpr const char *NUMBERS[] = {"0", "1", "-1", "2", "1989", "2147483647", "-2147483648", "12", "31", "99", "a", ""};
    const auto number = [&] { return std::string(NUMBERS[in.below(std::size(NUMBERS))]); };
    const auto date = [&] { return number() + "/" + number() + "/" + number(); };
    std::string text = in.below(2) == 0 ? "+:" : "-:";
    text += number() + ":" + date() + ":";
    text += in.below(2) == 0 ? "+*" : in.below(2) == 0 ? "-*" : date();
    return text + ":";
}

std::string list(Family &f, unsigned most) {
    const unsigned count = f.in.below(most);
    std::string lines = std::to_string(count) + "\n";
    for (unsigned i = 0; i < count; ++i) lines += f.line();
    return lines;
}

std::string lines(Family &f, int count) {
    std::string result;
    for (; count > 0; --count) result += f.line();
    return result;
}

// The section with formats of the input's, and header lines of its items.
void write_object(Family &f) {
    constexpr const char *CALENDARS[] = {"gregorian\n", "hebrew\n", "islamic\n", "arabic\n"};
    const Codeset &codeset = f.shape.codeset;
    std::string &time = f.object.time;
    const std::string first = string_lines(codeset, {"%a %d %b %Y %H:%M:%S"});
    const size_t calendar = time.find('\n') + 1, formats = time.find(first);
    time = CALENDARS[f.in.below(std::size(CALENDARS))] + time.substr(calendar, formats - calendar) + lines(f, 6);
    const unsigned eras = f.in.below(4);
    time += std::to_string(eras) + "\n";
    for (unsigned i = 0; i < eras; ++i)
        time += string_line(codeset.encode(era(f.in)) + f.own_text(4) + codeset.encode(":") + f.own_text(6) + codeset.encode(":"));
    time += lines(f, 3) + list(f, 4);
    std::string items;
    const auto hexadecimals = [&](int count) {
        for (; count > 0; --count) {
            const std::string text = hexadecimal(f.own_text(3));
            items += (text.empty() ? "." : text) + " ";
        }
    };
    for (const auto &[keyword, count] : {std::pair("alt_mon", 12), std::pair("ab_alt_mon", 12), std::pair("gregorian_mon", 12),
                                         std::pair("gregorian_abmon", 12), std::pair("date_fmt", 1)})
        if (f.in.below(4) == 0) {
            items += std::string(keyword) + " " + std::to_string(count) + " ";
            hexadecimals(count);
        }
    if (items.empty()) return;
    f.object.header = "FILE_TYPE=locale_object\nCOMPILER_VERSION=11\nHEADER_LINES=4\nMORE=" + items + "\n";
}

bool is_date(const gl_tm &tm) {
    const auto within = [](int32_t value, int32_t least, int32_t most) { return least <= value && value <= most; };
    return within(tm.sec, 0, 60) && within(tm.min, 0, 59) && within(tm.hour, 0, 23) && within(tm.mday, 1, 31) &&
           within(tm.mon, 0, 11) && within(tm.wday, 0, 6) && within(tm.yday, 0, 365);
}

int32_t field(Input &in) {
    const unsigned choice = in.byte();
    return choice < 200 ? static_cast<int32_t>(choice % 32) : static_cast<int32_t>(in.word() << 16 | in.word());
}

void run(Family &f) {
    Input &in = f.in;
    const char *const names[] = {f.guarded(f.text(4)), nullptr, f.guarded(f.text(4))};
    gl_set_zone_names(f.l, names, static_cast<int>(in.below(4)));
    const gl_tm tm = {field(in), field(in), field(in), field(in), field(in), field(in), field(in),
                      field(in), field(in), field(in), field(in), field(in), field(in)};
    const std::string bytes = f.text(), other = f.text();
    const char *const format = f.guarded(bytes), *const text = f.guarded(other);
    const gl_wchar *const wide_format = f.guarded_wide(bytes), *const wide_text = f.guarded_wide(other);
    const int room = f.room();
    auto *const out = f.out<char>(room);
    f.check(out, room, f.without_memory([&] { return gl_mbsftime(f.l, out, room, format, &tm); }));
    auto *const wide_out = f.out<gl_wchar>(room);
    f.check(wide_out, room, f.without_memory([&] { return gl_wcsftime(f.l, wide_out, room, wide_format, &tm); }));

    const auto read = [&](auto function, const auto *s, const auto *by) {
        const gl_tm before = {5, 7, 15, 0, 3, 9, 9, 124, 4, 276, 0, -5400, 1};
        gl_tm result = before;
        const auto *const end = f.without_memory([&] { return function(f.l, s, by, &result); });
        if (end != nullptr)
            f.check_place(end, s);
        else
            require(gl_errno(f.l) != 0 && std::memcmp(&before, &result, sizeof before) == 0);
        require(is_date(result));
    };
    read(gl_mbsptime, text, format);
    read(gl_wcsptime, wide_text, wide_format);
    if (room >= f.unit) read(gl_mbsptime, static_cast<const char *>(out), format);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return Family::run(Input(data, size), TOKENS, write_object, run);
}
