// Calls of a locale that the extension library serves, to the argument. The others have their results compared where the library's
// tests of texts run on such locales (CMakeLists.txt).
#include "multi/table.h"
#include "qbgl.h"
#include "qbnxdl/entry_points.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

constexpr int UNTOUCHED = 99;

char *bytes(intptr_t address) { return reinterpret_cast<char *>(address); }
gl_wchar *wides(intptr_t address) { return reinterpret_cast<gl_wchar *>(address); }
intptr_t number(const void *address) { return reinterpret_cast<intptr_t>(address); }

int16_t error_cell; // what entry points store in the one that a call hands over

// Puts a function in an entry point's place that answers with a digit of its own and those of its arguments, and gives what was
// there.
template <int OWN, class Result, class... Arguments> void *replace(Result (*&entry_point)(Arguments...)) {
    return reinterpret_cast<void *>(std::exchange(entry_point, [](Arguments... arguments) -> Result {
        intptr_t digits = OWN;
        const auto take = [&](auto argument) {
            const auto value = (intptr_t)argument;
            if (std::is_pointer_v<decltype(argument)> && static_cast<uintptr_t>(value) > 99999) {
                EXPECT_EQ(std::exchange(*reinterpret_cast<int16_t *>(value), error_cell), 0);
            } else {
                digits = digits * 10 + value;
            }
        };
        (take(arguments), ...);
        return (Result)digits;
    }));
}
#define AS(own, name) std::pair(#name, replace<own>(qbgl::fn_##name))

// Makes the calls. An answer is the entry point's own digit and its arguments', 7 and 8 being the handles of the two categories;
// or the last number while no extension is loaded.
void call_all(gl_locale *l, auto expect) {
    expect(_qbx_gl_full_mbtowc(l, wides(1), bytes(2), -1), 17119, -1);
    expect(_qbx_gl_is_wcstombs(l, bytes(1), wides(2), 3, 4), 571423, -1);
    expect(_gl_im_ismctype(l, bytes(1), 2), 77142, 0);
    expect(_qbx_gl_im_ismctype(l, bytes(1), 3, 2), 77132, 0);
    expect(_gl_im_tomupper(l, bytes(1), bytes(2)), 17124, 0);
    expect(_gl_im_tomlower(l, bytes(9), bytes(9999)), 127894 & 0xFFFF, 0);
    expect(gl_towcsupper(l, wides(1), wides(2)), 5712, -1);
    expect(gl_towcslower(l, wides(1), wides(2)), 6712, -1);
    expect(gl_mbspwidth(l, bytes(1), bytes(2)), 6712, -1);
    expect(gl_wcspwidth(l, wides(1), wides(2)), 712, -1);
    expect(gl_full_wcscoll(l, wides(1), wides(2)), 180919, 0);
    expect(_qbx_gl_full_wcscoll(l, wides(1), 3, wides(2), 4), 181324, 0);
    expect(gl_wcsxfrm(l, bytes(1), wides(2), 3), 28123, -1);
}

// Those without a locale.
void call_plain(auto expect) {
    expect(number(glx_lc_open(bytes(1), bytes(2), bytes(3))), 3123, 0);
    expect(number(glx_lc_close(bytes(4))), 44, 0);
    expect(glx_ucs32tombs(bytes(1), bytes(2), 3, bytes(4), 5, bytes(6)), 5123456, -1);
    expect(glx_ucs32toucs(bytes(5), bytes(4), 3, bytes(2), 1), 654321, -1);
    expect(number(glx_icuErrorName(7)), 77, 0);
    expect(number(glx_getICULocName(bytes(5))), 15, 0);
    expect(number(glx_getICUCvtName(bytes(5))), 25, 0);
    for (const auto name_of : {glx_getICULocName, glx_getICUCvtName}) EXPECT_EQ(name_of(nullptr), nullptr);
}

TEST(Forwarding, HandsOverArgumentsAnswersAndErrors) {
    gl_locale locale = {};
    locale.glu_flag[GL_CAT_CTYPE] = locale.glu_flag[GL_CAT_COLLATE] = 1;
    locale.glu_handle[GL_CAT_CTYPE] = bytes(7);
    locale.glu_handle[GL_CAT_COLLATE] = bytes(8);
    qbnx_library library = {};
    ASSERT_EQ(qbnx_dlopen(&library, QBGL_BINARY_DIR "/extension/complete.so", -99), 0);
    ASSERT_EQ(qbgl::resolve_entry_points(&library), 0);
    for (const auto &[name, resolved] : {AS(1, glu_mbtouc32),     AS(5, glu_ucs32tombs),    AS(6, glu_isuc32type),
                                         AS(7, glu_ismctype),     AS(1, glu_mbtoupper),     AS(2, glu_mbtolower),
                                         AS(5, glu_ucs32toupper), AS(6, glu_ucs32tolower),  AS(7, glu_case_conv_outbuflen),
                                         AS(2, glu_mb_loc_max),   AS(3, glu_mb_loc_min),    AS(6, glu_mbspwidth),
                                         AS(7, glu_ucs32pwidth),  AS(9, glu_uc32width),     AS(1, glu_mbwidth),
                                         AS(1, glu_ucs32coll),    AS(2, glu_ucs32xfrm),     AS(6, glu_ucs32toucs),
                                         AS(7, glu_icuErrorName), AS(1, glu_getICULocName), AS(2, glu_getICUCvtName),
                                         AS(3, glu_lc_open),      AS(4, glu_lc_close)})
        EXPECT_EQ(resolved, dlsym(library.handle, name)) << name;
    for (const int16_t cell : {0, -3, 57}) {
        locale.error = UNTOUCHED;
        error_cell = cell;
        call_all(&locale, [&](int64_t result, int answer, int) {
            EXPECT_EQ(result, answer);
            EXPECT_EQ(std::exchange(locale.error, UNTOUCHED), cell > 0 ? cell : UNTOUCHED) << answer;
        });
    }
    call_plain([](int64_t result, int answer, int) { EXPECT_EQ(result, answer); });
    EXPECT_EQ(_gl_im_iswctype(&locale, 1, 2), 612U); // these two have neither cell nor, the first one, handle
    EXPECT_EQ(gl_case_conv_outbuflen(&locale, 9), 779);
    EXPECT_EQ(gl_mb_loc_max(&locale), 27);
    EXPECT_EQ(gl_mb_loc_min(&locale), 37);
    gl_multi table = {};
    locale.ctype.codeset_table = &table;   // of the codeset, which has the terminator
    EXPECT_EQ(gl_wcwidth(&locale, 5), 95); // behind a question for class print
    EXPECT_EQ(gl_mbwidth(&locale, bytes(1)), 171);
    locale.error = UNTOUCHED;
    qbgl::clear_entry_points(); // what is left of a locale when the extension is unloaded under it
    const auto expect_failure = [&](int64_t result, int, int without) {
        EXPECT_EQ(result, without);
        EXPECT_EQ(std::exchange(locale.error, UNTOUCHED), GL_ENODATA);
    };
    call_all(&locale, expect_failure);
    call_plain([](int64_t result, int, int without) { EXPECT_EQ(result, without); });
    expect_failure(_gl_im_iswctype(&locale, 1, 2), 0, 0);
    expect_failure(gl_case_conv_outbuflen(&locale, 9), 0, -1);
    expect_failure(gl_mb_loc_max(&locale), 0, -1);
    expect_failure(gl_mb_loc_min(&locale), 0, -1);
    EXPECT_EQ(qbnx_dlclose(&library), 0);
}

} // namespace
