// A check under locales in codesets of every shape, with the look-up arrays and by the tables alone.
#pragma once

#include "locale_object.h"

#include <gtest/gtest.h>

namespace qbgl_test {

inline constexpr int UNTOUCHED = 99;
inline int take_error(gl_locale *l) { return std::exchange(l->error, UNTOUCHED); }

// What a call gave and the error that it told.
template <class Result> std::pair<Result, int> told(gl_locale *l, Result result) { return {result, take_error(l)}; }

// Whether a call failed, with -1 or null, and told this error.
template <class Result> testing::AssertionResult fails(gl_locale *l, Result result, int error) {
    const auto got = told(l, result), expected = std::pair(std::is_pointer_v<Result> ? Result(0) : Result(-1), error);
    return got == expected ? testing::AssertionSuccess() : testing::AssertionFailure() << testing::PrintToString(got);
}

// `prepare` makes of a codeset what the locale is loaded from. `check` has to take the errors that it causes.
template <class Prepare, class Check> void everywhere(Prepare prepare, Check check) {
    for (const Codeset &shape : {single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset(), two_byte_codeset(),
                                 euctw_codeset(), gb18030_codeset()}) {
        const Codeset codeset = prepare(shape);
        const LocaleObject object(codeset);
        if (runs_served() && served_name(object.text()).empty()) continue;
        const Locale locale = load_locale(object);
        ASSERT_EQ(take_error(locale.get()), 0);
        for (const bool arrays : {true, false}) {
            SCOPED_TRACE(codeset.name + (arrays ? ", arrays" : ", tables"));
            const gl_codeset_maps *const kept = std::exchange(locale->ctype.maps, arrays ? locale->ctype.maps : nullptr);
            check(codeset, locale.get());
            EXPECT_EQ(take_error(locale.get()), UNTOUCHED);
            locale->ctype.maps = kept;
        }
    }
}

} // namespace qbgl_test
