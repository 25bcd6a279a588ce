// Handles that the extension of examples/ serves, loaded as a host loads them.
#include "qbgl.h"
#include "qbnxdl/entry_points.h"
#include "support/faults.h"
#include "support/files.h"

#include <gtest/gtest.h>

namespace {

using qbgl_test::ScopedEnv;

class Served : public testing::Test {
  protected:
    Served() {
        gl_useglu(1);
        EXPECT_EQ(gl_lc_load(&locale, "cs_CZ.utf8", nullptr, nullptr), 0) << gl_strerror(gl_errno(locale));
    }
    ~Served() override {
        gl_lc_unload(locale);
        EXPECT_EQ(gl_unload_glu(), 0);
        gl_useglu(0);
    }
    ScopedEnv tree{"QUORBANEDIR", QBGL_BINARY_DIR "/extension/example_tree"}, wish{"GL_USEGLU", "1"}, path{"GL_PATH", nullptr};
    gl_locale *locale = nullptr;
};

void expect_calls_to_fail(gl_locale *locale) {
    const auto fails = [locale](auto result) {
        EXPECT_EQ(std::exchange(locale->error, 0), GL_ENODATA);
        return result;
    };
    gl_wchar wide = 'a';
    EXPECT_EQ(fails(gl_order_compare(locale, "a", 1, "b", 1, 0)), 0);
    EXPECT_EQ(fails(gl_order_key(locale, "a", 1, 0, nullptr, 0)), -1);
    EXPECT_EQ(fails(gl_mbscoll(locale, "a", "b")), 0);
    EXPECT_EQ(fails(gl_full_mblen(locale, "a", 1)), -1);
    EXPECT_EQ(fails(gl_mb_loc_max(locale)), -1);
    EXPECT_EQ(fails(gl_case_conv_outbuflen(locale, 1)), -1);
    EXPECT_EQ(fails(_gl_im_iswctype(locale, 'a', ~0U)), 0U);
    EXPECT_EQ(fails(gl_towcfsupper(locale, &wide, 1, &wide, 1)), -1);
}

TEST_F(Served, FingerprintIsThatOfTheExtensionAndNeverAnotherOrders) {
    const std::string served = gl_order_fingerprint(locale);
    EXPECT_EQ(served.size(), 16U);
    gl_locale *copy = nullptr, *own = nullptr;
    ASSERT_EQ(gl_create_null_locale_4(&copy), 0);
    ASSERT_EQ(gl_copy_cat(copy, locale, GL_CAT_ALL), 0);
    EXPECT_EQ(gl_order_fingerprint(copy), served);
    EXPECT_EQ(gl_order_compare(copy, "ch", 2, "d", 1, 0), -1);
    gl_free_nonshared_loc(copy);
    void *const handle = locale->glu_handle[GL_CAT_COLLATE];
    gl_unload_glu();
    _gl_free_ptr(handle); // the example's handles are memory, which stays
    expect_calls_to_fail(locale);
    gl_useglu(0);
    ASSERT_EQ(gl_lc_load(&own, "cs_CZ.utf8", nullptr, nullptr), 0);
    EXPECT_NE(gl_order_fingerprint(own), served);
    EXPECT_EQ(gl_order_compare(own, "ch", 2, "d", 1, 0), 1);
    gl_lc_unload(own);
}

TEST_F(Served, OrderThatDoesNotTellItselfIsNotLoaded) {
    gl_locale *other = nullptr;
    for (const auto refuse : {+[](void *, char *, int) { return -1; }, +[](void *, char *, int room) { return room; }}) {
        qbgl::fn_glu_order_version = refuse;
        EXPECT_EQ(gl_lc_load(&other, "cs_CZ.utf8", nullptr, nullptr), -1);
        EXPECT_EQ(gl_errno(other), GL_ELOADCAT);
        gl_lc_unload(other);
    }
    qbgl_test::Faults faults;
    static qbgl_test::Faults *armed;
    armed = &faults;
    qbgl::fn_glu_order_version = [](void *, char *, int) {
        armed->arm(qbgl_test::Operation::allocate, 1);
        return 5000; // more than has room without memory
    };
    EXPECT_EQ(gl_lc_load(&other, "cs_CZ.utf8", nullptr, nullptr), -1);
    EXPECT_EQ(gl_errno(other), GL_ENOMEM);
    gl_lc_unload(other);
}

TEST_F(Served, HandlesAreNoneOfALaterLoad) {
    gl_cv *cd = nullptr;
    ASSERT_EQ(gl_cv_load(&cd, "57372", "819", nullptr, nullptr), 1);
    void *const handle = locale->glu_handle[GL_CAT_COLLATE], *const converter = cd->glu_handle;
    ASSERT_EQ(gl_unload_glu(), 0);
    ASSERT_EQ(gl_init_glu(nullptr), 0);
    static int closed;
    closed = 0;
    const auto close = std::exchange(qbgl::fn_glu_lc_close, [](void *) -> void * { return ++closed, nullptr; });
    const auto close_converter = std::exchange(qbgl::fn_glu_cv_close, [](void *) { return ++closed; });

    expect_calls_to_fail(locale);
    const char *in = "a";
    char room[4], *out = room;
    int inleft = 1, outleft = 4;
    EXPECT_EQ(gl_miconv(cd, &in, &inleft, &out, &outleft, nullptr), -1);
    EXPECT_EQ(std::exchange(cd->error, 0), GL_ENODATA);
    EXPECT_EQ(gl_iconv_expansion(cd), 0);
    EXPECT_EQ(cd->error, GL_ENODATA);
    gl_cv_unload(cd);
    char *const name = gl_setlocale_4(locale, GL_CAT_COLLATE, "de_de/e01c.lco");
    ASSERT_NE(name, nullptr) << gl_strerror(gl_errno(locale));
    gl_destroystring(name);
    EXPECT_EQ(gl_order_compare(locale, "a", 1, "b", 1, 0), -1); // by a handle of its own, beside the older one of LC_CTYPE
    EXPECT_EQ(gl_full_mblen(locale, "a", 1), -1);

    EXPECT_EQ(closed, 0);
    qbgl::fn_glu_lc_close = close;
    qbgl::fn_glu_cv_close = close_converter;
    _gl_free_ptr(handle);
    _gl_free_ptr(converter);
}

} // namespace
