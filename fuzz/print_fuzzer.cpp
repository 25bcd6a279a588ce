// Any bytes as a format of printing, and of scanning with the rest as a text: what is written fits its room, is text of the codeset
// and has its terminator. All arguments are the address of one block, which serves as a text, as wide text, as a place to write to,
// and by its bits as a number.
#include "support.h"
#include "support/input.h"
#include "support/locale_object.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using qbgl_test::Input;

constexpr size_t MOST_FORMAT = 400, BLOCK = 16 * MOST_FORMAT;
constexpr int MOST_CONVERSIONS = 8; // each of which takes three arguments of at most four words

// As many as the conversions of a format can take from the stack.
template <class Call> int with_arguments(void *p, Call call) {
    return call(p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p,
                p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p,
                p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p, p);
}

gl_locale *locale_of(unsigned shape) {
    static const qbgl_test::Locale LOCALES[] = {qbgl_test::load_locale(qbgl_test::LocaleObject(qbgl_test::single_byte_codeset())),
                                                qbgl_test::load_locale(qbgl_test::LocaleObject(qbgl_test::sjis_codeset())),
                                                qbgl_test::load_locale(qbgl_test::LocaleObject(qbgl_test::utf8_codeset())),
                                                qbgl_test::load_locale(qbgl_test::LocaleObject(qbgl_test::two_byte_codeset())),
                                                qbgl_test::load_locale(qbgl_test::LocaleObject(qbgl_test::gb18030_codeset()))};
    return LOCALES[shape % std::size(LOCALES)].get();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    gl_locale *const l = locale_of(in.byte());
    const int shortest = gl_mb_loc_min(l), room = static_cast<int>(in.byte());
    std::string format;
    while (!in.at_end() && format.size() < MOST_FORMAT) format += static_cast<char>(in.byte());
    if (std::count(format.begin(), format.end(), '%') > MOST_CONVERSIONS) return 0;
    std::vector<gl_wchar> wide_format(format.begin(), format.end());
    for (gl_wchar &wc : wide_format) wc &= 0xFF;
    wide_format.push_back(0);
    format.append(static_cast<size_t>(shortest) + 3, '\0');
    alignas(16) char block[BLOCK] = "abc\0";
    const auto reset = [&] { std::fill(std::copy_n("abc", 3, block), block + BLOCK, '\0'); };

    std::vector<char> out(static_cast<size_t>(room));
    const int length = with_arguments(block, [&](auto... p) { return gl_mbsprintf(l, out.data(), room, format.c_str(), p...); });
    require(length + shortest <= room || length == -1);
    if (room >= shortest && length >= 0) {
        require(_qbx_gl_im_mbfslen(l, out.data(), length) >= 0 || l->single_byte != 0);
        require(gl_ismbsterm(l, out.data() + length) != 0);
    }
    std::vector<gl_wchar> wide_out(static_cast<size_t>(room));
    const int count =
        with_arguments(block, [&](auto... p) { return gl_wcsprintf(l, wide_out.data(), room, wide_format.data(), p...); });
    require(count < room || count == -1);
    require(count < 0 || wide_out[static_cast<size_t>(count)] == 0);

    std::string numbers;
    for (const char c : std::string("12 abc 0x1f -1,234.5e3 inf"))
        numbers += std::string(static_cast<size_t>(shortest) - 1, '\0') + c;
    numbers.append(static_cast<size_t>(shortest), '\0');
    for (const std::string &source : {format, numbers}) {
        reset();
        with_arguments(block, [&](auto... p) { return gl_mbsscanf(l, source.c_str(), format.c_str(), p...); });
    }
    reset();
    with_arguments(block, [&](auto... p) { return gl_wcsscanf(l, wide_format.data(), wide_format.data(), p...); });
    return 0;
}
