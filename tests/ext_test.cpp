#include "support/locale_object.h"

#include <climits>
#include <ctime>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

// Values that no default would return; nobody looks behind the pointers.
template <class T> T unusual(int n) {
    static char somewhere[8];
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<T>(somewhere + n);
    else
        return static_cast<T>(12340 + n);
}

// Puts a function into a slot that keeps its arguments, and calls the slot's dispatcher.
template <class Result, class... Args> void expect_replaced(unsigned id, Result (*dispatcher)(Args...)) {
    SCOPED_TRACE(id);
    static std::tuple<Args...> seen;
    seen = {};
    Result (*const stand_in)(Args...) = [](Args... got) -> Result {
        seen = {got...};
        return unusual<Result>(0);
    };
    EXPECT_EQ(gl_setextfunc(nullptr, id, reinterpret_cast<gl_extfunc>(stand_in)), 0);
    auto next = [n = 0]() mutable { return ++n; };
    const std::tuple<Args...> args{unusual<Args>(next())...};
    if constexpr (std::is_void_v<Result>)
        std::apply(dispatcher, args);
    else
        EXPECT_EQ(std::apply(dispatcher, args), unusual<Result>(0));
    EXPECT_EQ(seen, args);
    EXPECT_EQ(gl_setextfunc(nullptr, id, nullptr), 0);
}

TEST(Ext, EverySlotServesItsDispatcherWithUnchangedArguments) {
    unsigned id = 0;
    const auto expect_in_order = [&](auto *...dispatchers) { (expect_replaced(id++, dispatchers), ...); };
    expect_in_order(_gl_ext_getenv, _gl_ext_errno, _gl_ext_fclose, _gl_ext_feof, _gl_ext_ferror, _gl_ext_fgetc, _gl_ext_fgets,
                    _gl_ext_fopen, _gl_ext_free, _gl_ext_fseek, _gl_ext_ftell, _gl_ext_fwrite, _gl_ext_getc, _gl_ext_malloc,
                    _gl_ext_ungetc, _gl_ext_putenv, _gl_ext_currdate, _gl_ext_currtime, _gl_ext_calloc, _gl_ext_realloc);
    EXPECT_EQ(id, unsigned{GL_EXT_SLOTS});
}

TEST(Ext, OtherIdsAreRejectedAndTheTableIsReadOnlyWhileTheFlagIsUp) {
    static int32_t elsewhere;
    int32_t error = 0;
    _gl_ext_func = 0;
    for (const unsigned id : {20U, static_cast<unsigned>(-1)}) {
        EXPECT_EQ(gl_setextfunc(&error, id, nullptr), -1);
        EXPECT_EQ(std::exchange(error, 0), GL_EBADARG);
    }
    EXPECT_EQ(_gl_ext_func, 0);
    EXPECT_EQ(gl_setextfunc(&error, GL_EXT_ERRNO, nullptr), 0);
    EXPECT_EQ(_gl_ext_func, 1); // an emptied slot raises it too
    _gl_set_ext_funcptr(GL_EXT_ERRNO, reinterpret_cast<gl_extfunc>(+[](void *) { return &elsewhere; }));
    EXPECT_EQ(gl_setextfunc(&error, 20, nullptr), -1);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(elsewhere, GL_EBADARG);
    _gl_ext_func = 0;
    EXPECT_EQ(_gl_ext_errno(&error), &error);
    _gl_set_ext_funcptr(GL_EXT_ERRNO, nullptr);
}

TEST(Errors, AreReadInOneWayFromEveryContext) {
    static int32_t of_host;
    int32_t own = 0;
    const std::pair<const void *, int> canned[] = {{&loc_nomem, GL_ENOMEM},   {&loc_filer, GL_ENOFILE}, {&cd_enomem, GL_ENOMEM},
                                                   {&cd_fileerr, GL_ENOFILE}, {&cd_einval, GL_EINVAL},  {&cm_nomem, GL_ENOMEM},
                                                   {&cm_filer, GL_ENOFILE}};
    for (const bool replaced : {false, true}) {
        const auto place = reinterpret_cast<gl_extfunc>(+[](void *) { return &of_host; });
        gl_setextfunc(nullptr, GL_EXT_ERRNO, replaced ? place : nullptr);
        (replaced ? of_host : own) = GL_E2BIG;
        for (const auto &[record, number] : canned) {
            auto *const ctx = const_cast<void *>(record);
            gl_clear_errno(ctx);
            EXPECT_EQ(gl_errno(ctx), number);
        }
        EXPECT_EQ(gl_errno(&own), GL_E2BIG);
        EXPECT_EQ(gl_errno(nullptr), replaced ? GL_E2BIG : 0);
        gl_clear_errno(&own);
        gl_clear_errno(nullptr);
        EXPECT_EQ(gl_errno(&own), 0);
    }
    gl_setextfunc(nullptr, GL_EXT_ERRNO, nullptr);
}

TEST(Errors, HaveTextsOfTheirOwn) {
    const std::set<int> unused = {10, 20, 47, 48, 52, 54};
    std::set<std::string> texts = {"unknown error"};
    for (int number = 0; number <= GL_ECTYPECS; ++number) {
        const bool known = !unused.contains(number) && (number <= GL_ETABLELEN || number >= GL_ENOCONV);
        EXPECT_EQ(std::string(gl_strerror(number)) == "unknown error", !known) << number;
        EXPECT_EQ(texts.insert(gl_strerror(number)).second, known) << number;
    }
    for (const int number : {-1, INT_MIN, GL_ECTYPECS + 1, INT_MAX}) EXPECT_STREQ(gl_strerror(number), "unknown error");
}

TEST(Ext, DefaultsTellLocalDateAndTime) {
    int16_t date[3];
    std::vector<int32_t> told(12, -1);
    std::time_t before;
    do { // not across a change of the second
        before = std::time(nullptr);
        EXPECT_EQ(_gl_ext_currdate(date) + _gl_ext_currtime(told.data()), 0);
    } while (before != std::time(nullptr));
    told.insert(told.end(), date, date + 3);
    const std::tm t = *std::localtime(&before);
    EXPECT_EQ(told, (std::vector<int32_t>{0, t.tm_sec, t.tm_min, t.tm_hour, t.tm_mday, t.tm_mon, t.tm_year, t.tm_wday, t.tm_yday,
                                          t.tm_isdst, 0, 0, t.tm_mon + 1, t.tm_mday, t.tm_year + 1900}));
}

} // namespace
