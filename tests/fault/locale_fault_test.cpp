// Loading, selecting and sharing under every fault: allocations, opens, reads and closes that fail in turn, objects cut short at
// every byte. There is a clear error, nothing is left behind, and the next clean call succeeds.
#include "support/faults.h"
#include "support/locale_object.h"

#include "setlc/handle.h"

#include <gtest/gtest.h>

namespace {

using namespace qbgl_test;

LocaleObject object(const Codeset &codeset) {
    Collation rules = Collation::in_order(codeset, {1, 2});
    rules.rows[70] = rules.rows[80];
    rules.rows[90] = {1, 1};
    rules.rows[100] = {0x4000, 0x4000};
    rules.expansions = {{'s', 's'}};
    rules.elements = {{{'s', 'h'}, 3}};
    return LocaleObject(codeset, rules.text());
}

bool select(gl_locale *locale, const char *spec) {
    char *names = gl_setlocale_4(locale, GL_CAT_ALL, spec);
    EXPECT_EQ(names == nullptr, locale->error != 0);
    gl_destroystring(names);
    return names != nullptr;
}

// What a handle does, whatever came of loading it: it may fail, but has functions and tables.
void use(gl_locale *locale) {
    gl_wchar wide[4] = {'A'};
    char text[16];
    gl_mbstowcs(locale, wide, "Ash", 4), gl_mbfstowcfs(locale, wide, "Ash", 3, 4);
    gl_mbscoll(locale, "sh", "ss"), gl_mbfscoll(locale, "sh", 2, "ss", 2), gl_mbsxfrm(locale, text, "ash", 16);
    gl_tombsupper(locale, text, "ash"), gl_mbsbytes(locale, "ash"), gl_full_wcstombs(locale, text, wide, 16);
    gl_towupper(locale, 'a'), gl_iswalpha(locale, 'a'), gl_mbwidth(locale, "a"), gl_mbsnext(locale, "a");
    gl_mbstol(locale, "12", nullptr, 10, 1), gl_mbstod(locale, "1.2", nullptr, 1), gl_ltombs(locale, text, 16, 12, 10, 1);
}

class Loading : public testing::Test {
  protected:
    Loading() {
        write_file(first / "default.lco", object(single_byte_codeset()).text());
        write_file(second / "default.lco", object(sjis_codeset()).text());
        write_file(third / "default.lco", LocaleObject(single_byte_codeset(), "thai_smo\n").text());
    }

    int create() const { return create_in(first); }
    int create_thai() const { return create_in(third); }
    // Loads one locale, selects another in its place, and shares that.
    int load_select_share() const {
        gl_locale *locale = nullptr, *target = nullptr;
        gl_lc_load(&locale, "default.lco", nullptr, second.c_str());
        int error = locale->error;
        if (!qbgl::is_canned(locale)) use(locale);
        if (error == 0 && !select(locale, "")) error = locale->error;
        if (error == 0) {
            gl_create_null_locale_4(&target);
            gl_copy_cat(target, locale, GL_CAT_ALL);
            error = target->error;
            gl_free_nonshared_loc(target);
        }
        gl_lc_unload(locale);
        return error;
    }

    static int create_in(const std::filesystem::path &directory) {
        gl_locale *locale = nullptr;
        const int result = gl_createlocale2_4(&locale, (directory.string() + "/").c_str());
        const int error = locale->error;
        EXPECT_EQ(result, error == 0 ? 0 : -1);
        if (!qbgl::is_canned(locale)) use(locale);
        gl_lc_unload(locale);
        return error;
    }

    const TempDir tree;
    const std::filesystem::path first = tree.path() / "first", second = tree.path() / "second", third = tree.path() / "third";
    const ScopedEnv all{"GL_ALL", nullptr}, language{"GL_LANG", nullptr}, search{"GL_PATH", first.string()};
};

TEST_F(Loading, WithFailingOperations) {
    for (const auto door : {&Loading_WithFailingOperations_Test::create, &Loading_WithFailingOperations_Test::create_thai,
                            &Loading_WithFailingOperations_Test::load_select_share}) {
        for_each_fault(Operation::allocate, [&](const Faults &faults) {
            const int error = (this->*door)(); // lookup arrays are done without where there is no memory for them
            EXPECT_TRUE(error == GL_ENOMEM ? faults.hit() : error == 0) << error;
        });
        // The default object is also searched where it is not in the directory.
        for_each_fault(Operation::open, Lasting::on, [&](const Faults &faults) {
            const int error = (this->*door)();
            EXPECT_EQ(error, faults.hit() ? GL_ENOFILE : 0);
        });
        for_each_fault(Operation::close, [&](const Faults &) { EXPECT_EQ((this->*door)(), 0); });
    }
    for_each_fault(Operation::read, [&](const Faults &faults) {
        const int error = create();
        EXPECT_EQ(error != 0, faults.hit());
    });
}

TEST_F(Loading, AfterAFailureAsBefore) {
    Faults faults;
    gl_locale *locale = nullptr;
    ASSERT_EQ(gl_create_null_locale_4(&locale), 0);
    for (const Lasting lasting : {Lasting::once, Lasting::on}) {
        bool hit = true;
        for (unsigned nth = 1; hit; ++nth) {
            faults.arm(Operation::allocate, nth, lasting);
            select(locale, "");
            hit = faults.hit();
            use(locale);
            faults.arm(Operation::allocate, 0);
            gl_wchar wide[4];
            const ScopedEnv other("GL_PATH", second.string());
            EXPECT_TRUE(select(locale, "default.lco")) << nth;
            EXPECT_EQ(gl_mbstowcs(locale, wide, "\x82\xA0", 4), 1) << nth;
            EXPECT_EQ(wide[0], 0x82A0U) << nth;
        }
    }
    gl_lc_unload(locale);
    EXPECT_EQ(faults.blocks(), 0U);
}

TEST_F(Loading, CutAtEveryByte) {
    for (auto size = file_size(first / "default.lco"); size-- > 0;) {
        resize_file(first / "default.lco", size);
        EXPECT_NE(create(), 0) << size;
    }
}

} // namespace
