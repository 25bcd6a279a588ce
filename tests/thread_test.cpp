// Many threads under one handle, each with its own error number.
#include "support/conversion.h"
#include "support/conversion_shapes.h"
#include "support/locale_object.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace {

using namespace qbgl_test;

thread_local int own_error = 0;
int *error_of_thread(void *) { return &own_error; }

// What a thread does over and over, with the error that it makes before; 0, or the number of the step that went wrong.
int use(gl_locale *l, int error, const std::string &text, const std::string &upper) {
    gl_wchar wc, wides[32], capitals[32];
    char bytes[64];
    own_error = 0;
    const int failed = error == GL_EINVAL ? gl_full_mbtowc(l, &wc, "a", 0) : gl_full_wctomb(l, bytes, 0xFFFFFFFF);
    std::this_thread::yield();
    if (failed != -1 || std::exchange(own_error, 0) != error) return 1;

    const int count = gl_mbstowcs(l, wides, text.c_str(), 32), length = static_cast<int>(text.size());
    if (count <= 0 || gl_full_wcstombs(l, bytes, wides, 64) != length || bytes != text) return 2;
    if (gl_tombsupper(l, bytes, text.c_str()) != static_cast<int>(upper.size()) || bytes != upper) return 3;
    if (gl_towcsupper(l, capitals, wides) != 0) return 4;
    for (int i = 0; i < count; ++i)
        if (gl_towlower(l, capitals[i]) != wides[i] || (gl_iswupper(l, capitals[i]) != 0) != (gl_iswlower(l, wides[i]) != 0))
            return 5;
    const bool served = l->glu_flag[GL_CAT_COLLATE] != 0; // by an extension, which has capitals behind small letters
    if (gl_mbscoll(l, text.c_str(), text.c_str()) != 0 || (gl_mbscoll(l, upper.c_str(), text.c_str()) < 0) == served) return 6;
    const int key = gl_mbsxfrm(l, bytes, text.c_str(), 64);
    if (served ? key <= count : key != count * (l->collate.fifth_count < 254 ? 1 : 2)) return 7;
    return own_error == 0 ? 0 : 8;
}

TEST(Threads, ShareAHandle) {
    for (const auto &[codeset, text, upper] :
         {std::tuple(single_byte_codeset(), "na\xEFve word", "NA\xCFVE WORD"),
          {sjis_codeset(), "word \x82\x81\x82\xA0", "WORD \x82\x60\x82\xA0"},
          {utf8_codeset(), "na\xC3\xAFve \xF0\x90\x90\xA8", "NA\xC3\x8FVE \xF0\x90\x90\x80"}}) {
        SCOPED_TRACE(codeset.name);
        const Locale locale = load_locale(LocaleObject(codeset));
        ASSERT_EQ(locale->error, 0);
        gl_setextfunc(nullptr, GL_EXT_ERRNO, reinterpret_cast<gl_extfunc>(error_of_thread));
        int results[8] = {};
        std::latch start(std::ssize(results));
        std::vector<std::jthread> threads;
        for (int &result : results) {
            threads.emplace_back([&start, &result, l = locale.get(), &text = text, &upper = upper] {
                start.arrive_and_wait();
                for (int round = 0; round < 300 && result == 0; ++round)
                    result = use(l, round % 3 == 0 ? GL_EINVAL : GL_EILSEQ, text, upper);
            });
        }
        threads.clear(); // joins them
        gl_setextfunc(nullptr, GL_EXT_ERRNO, nullptr);
        for (const int result : results) EXPECT_EQ(result, 0);
        EXPECT_EQ(locale->error, 0); // all errors went to the threads
    }
}

// A conversion's record as a thread uses it: a text that stops at what has no room, and as a whole. Nothing where that went wrong.
std::string converted(gl_cv &cd, const std::string &text) {
    gl_cv_state cut = {}, whole = {};
    const Outcome first = convert(cd, text, 1, &cut), all = convert(cd, text, 64, &whole);
    return first.result == -1 && first.error == GL_E2BIG && all.result == 0 && all.error == 0 ? all.output : "";
}

TEST(Threads, ShareAConversion) {
    gl_setextfunc(nullptr, GL_EXT_ERRNO, reinterpret_cast<gl_extfunc>(error_of_thread));
    for (const auto &[shape, text] : shapes_with_texts(12)) {
        const TempDir directory;
        write_file(directory.path() / "object", shape.text());
        gl_cv *cd = nullptr;
        ASSERT_EQ(gl_iconv_open1(&cd, (directory / "object").c_str()), 0);
        const std::string expected = converted(*cd, text);
        EXPECT_NE(expected, "");
        int same[4] = {};
        std::vector<std::jthread> threads;
        for (int &count : same)
            threads.emplace_back([&, cd, &text = text] { // clang 14 captures no structured binding by itself
                for (int round = 0; round < 200; ++round) count += converted(*cd, text) == expected;
            });
        threads.clear();
        for (const int count : same) EXPECT_EQ(count, 200);
        EXPECT_EQ(cd->error, 0);
        gl_cv_unload(cd);
    }
    gl_setextfunc(nullptr, GL_EXT_ERRNO, nullptr);
}

void in_two_threads(const std::function<void()> &work) { std::jthread one(work), another(work); }

TEST(Threads, DoNotSplitCharactersOfAStream) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer does not see the lock of a stream";
#endif
    constexpr int CHARACTERS = 20000;
    const Locale locale = load_locale(LocaleObject(sjis_codeset()));
    gl_setextfunc(nullptr, GL_EXT_ERRNO, reinterpret_cast<gl_extfunc>(error_of_thread));
    const std::unique_ptr<FILE, int (*)(FILE *)> file(tmpfile(), fclose);
    in_two_threads([&] {
        for (int i = 0; i < CHARACTERS; ++i) gl_fputmb(locale.get(), i % 3 == 0 ? "a" : "\x82\xA0", file.get());
    });
    rewind(file.get());
    std::atomic<int> read = 0, split = 0;
    in_two_threads([&] {
        char bytes[4];
        for (int length; (length = gl_full_fgetmb(locale.get(), bytes, file.get())) > 0; ++read)
            split += std::string_view(bytes, static_cast<size_t>(length)) != (length == 1 ? "a" : "\x82\xA0");
    });
    gl_setextfunc(nullptr, GL_EXT_ERRNO, nullptr);
    EXPECT_EQ(read, 2 * CHARACTERS);
    EXPECT_EQ(split, 0);
}

} // namespace
