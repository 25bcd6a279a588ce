// Signs, symbols, groups and layouts of a locale, a format and an amount: what is written is a text, also when it is cut, and what
// is read is a decimal that can be written.
#include "family.h"

using namespace qbgl_test;

namespace {

constexpr const char *TOKENS[] = {"%n",
                                  "%i",
                                  "%",
                                  "%=",
                                  "%^",
                                  "%!",
                                  "%-",
                                  "%(",
                                  "%+",
                                  "%#5",
                                  ".",
                                  ",",
                                  "1",
                                  "99",
                                  "EUR ",
                                  "E",
                                  "-",
                                  "(",
                                  ")",
                                  " ",
                                  "%2147483647n",
                                  "%#2147483647n",
                                  "%.2147483647n",
                                  "000",
                                  ".5",
                                  "%=0#9.3n",
                                  "+",
                                  "$"};

std::string number(Input &in) {
    constexpr const char *EXTREMES[] = {"-1", "2147483647", "-2147483648", "2147483646", "99", "5"};
    const unsigned choice = in.byte();
    return choice < 200 ? std::to_string(choice % 6) : EXTREMES[choice % std::size(EXTREMES)];
}

void write_object(Family &f) {
    std::string &section = f.object.monetary;
    section.clear();
    for (int i = 0; i < 4; ++i) section += f.line();
    const unsigned groups = f.in.below(5);
    section += std::to_string(groups);
    for (unsigned i = 0; i < groups; ++i) section += " " + number(f.in);
    section += "\n" + f.line() + f.line();
    for (int i = 0; i < 8; ++i) section += number(f.in) + "\n";
    if (f.in.below(2) == 0) return;
    f.object.header = "FILE_TYPE=locale_object\nCOMPILER_VERSION=11\nHEADER_LINES=4\nMORE=int_money 6 ";
    for (int i = 0; i < 6; ++i) f.object.header += number(f.in) + " ";
    f.object.header += "\n";
}

std::string decimal(Input &in) {
    std::string text;
    for (unsigned count = in.below(32); count > 0; --count) {
        const unsigned choice = in.byte();
        text += choice < 240 ? "0123456789"[choice % 10] : ".-+9e"[choice % 5];
    }
    return text;
}

void check_decimal(Family &f, const char *decimal, int length) {
    require(std::strlen(decimal) == static_cast<size_t>(length));
    const char *at = decimal + (*decimal == '-');
    require(*at >= '0' && *at <= '9' && std::strspn(at, "0123456789.") == std::strlen(at));
    require(std::count(at, decimal + length, '.') <= 1 && decimal[length - 1] != '.');
    auto *const out = f.out<gl_wchar>(200);
    const gl_wchar format[] = {'%', '.', '0', 'n', 0};
    f.check(out, 200, f.without_memory([&] { return gl_wcsfmon_text(f.l, out, 200, format, decimal); }));
    require(gl_errno(f.l) != GL_ERANGE);
}

void run(Family &f) {
    Input &in = f.in;
    const std::string bytes = f.text(), other = f.text(), digits = decimal(in);
    const char *const format = f.guarded(bytes);
    const gl_wchar *const wide_format = f.guarded_wide(bytes);
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits = bits << 8 | in.byte();
    double amount;
    std::memcpy(&amount, &bits, sizeof amount);
    const int room = f.room();
    auto *const out = f.out<char>(room);
    f.check(out, room, f.without_memory([&] { return gl_mbsfmon(f.l, out, room, format, amount); }));
    auto *const wide_out = f.out<gl_wchar>(room);
    f.check(wide_out, room, f.without_memory([&] { return gl_wcsfmon(f.l, wide_out, room, wide_format, amount); }));
    f.check(wide_out, room, f.without_memory([&] { return gl_wcsfmon_text(f.l, wide_out, room, wide_format, digits.c_str()); }));
    f.check(out, room, f.without_memory([&] { return gl_mbsfmon_text(f.l, out, room, format, digits.c_str()); }));

    const auto read = [&](auto function, const auto *text, int size_of) {
        auto *const result = f.out<char>(size_of);
        const std::remove_reference_t<decltype(*text)> *end = text;
        const int length = f.without_memory([&] { return function(f.l, text, &end, result, size_of); });
        require(length >= -1 && length < std::max(size_of, 0));
        if (length < 0) require(gl_errno(f.l) != 0);
        if (length < 0) return;
        f.check_place(end, text);
        check_decimal(f, result, length);
    };
    read(gl_mbspmon, f.guarded(other), f.room());
    read(gl_wcspmon, f.guarded_wide(other), 100);
    if (room >= f.unit) read(gl_mbspmon, static_cast<const char *>(out), 300);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    return Family::run(Input(data, size), TOKENS, write_object, run);
}
