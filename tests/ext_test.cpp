#include "support/files.h"

#include "qbgl.h"

#include <ctime>
#include <gtest/gtest.h>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

template <class Result> Result unusual() {
    static char somewhere[8];
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(somewhere);
    else
        return static_cast<Result>(12345);
}

class Ext : public testing::Test {
  protected:
    Ext() { _gl_ext_func = 0; }
    ~Ext() override {
        for (unsigned id = 0; id < GL_EXT_SLOTS; ++id) _gl_set_ext_funcptr(id, nullptr);
        _gl_ext_func = 0;
    }
    template <class Function> int put(unsigned id, Function *function) {
        return gl_setextfunc(&error, id, reinterpret_cast<gl_extfunc>(function));
    }

    // Puts a function into a slot that keeps its arguments and returns what no default would, and calls the slot's dispatcher.
    template <class Result, class... Args>
    void expect_replaced(unsigned id, Result (*dispatcher)(Args...), std::type_identity_t<Args>... args) {
        SCOPED_TRACE(id);
        static std::tuple<Args...> seen;
        seen = {};
        Result (*const stand_in)(Args...) = [](Args... got) -> Result {
            seen = {got...};
            return unusual<Result>();
        };
        EXPECT_EQ(put(id, stand_in), 0);
        if constexpr (std::is_void_v<Result>)
            dispatcher(args...);
        else
            EXPECT_EQ(dispatcher(args...), unusual<Result>());
        EXPECT_EQ(seen, std::tuple<Args...>(args...));
        put<void()>(id, nullptr);
    }

    int32_t error = 0;
};

TEST_F(Ext, EverySlotServesItsDispatcherWithUnchangedArguments) {
    const auto file = qbgl_test::stream_of("text");
    FILE *stream = file.get();
    char text[] = "QBGL_TEST=1";
    int16_t date[3];
    int32_t time[12];
    expect_replaced(0, _gl_ext_getenv, text);
    expect_replaced(1, _gl_ext_errno, &error);
    expect_replaced(2, _gl_ext_fclose, stream);
    expect_replaced(3, _gl_ext_feof, stream);
    expect_replaced(4, _gl_ext_ferror, stream);
    expect_replaced(5, _gl_ext_fgetc, stream);
    expect_replaced(6, _gl_ext_fgets, text, 4U, stream);
    expect_replaced(7, _gl_ext_fopen, text, "r");
    expect_replaced(8, _gl_ext_free, nullptr);
    expect_replaced(9, _gl_ext_fseek, stream, -2, SEEK_END);
    expect_replaced(10, _gl_ext_ftell, stream);
    expect_replaced(11, _gl_ext_fwrite, text, 1U, 2U, stream);
    expect_replaced(12, _gl_ext_getc, stream);
    expect_replaced(13, _gl_ext_malloc, 7U);
    expect_replaced(14, _gl_ext_ungetc, 'x', stream);
    expect_replaced(15, _gl_ext_putenv, text);
    expect_replaced(16, _gl_ext_currdate, date);
    expect_replaced(17, _gl_ext_currtime, time);
    expect_replaced(18, _gl_ext_calloc, 3U, 4U);
    expect_replaced(19, _gl_ext_realloc, nullptr, 5U);
}

TEST_F(Ext, RejectsOtherIdsThroughTheReplacedErrno) {
    static int elsewhere;
    for (const unsigned id : {20U, static_cast<unsigned>(-1)}) {
        error = 0;
        EXPECT_EQ(put<void()>(id, nullptr), -1);
        EXPECT_EQ(error, GL_EBADARG);
    }
    EXPECT_EQ(_gl_ext_func, 0);
    error = 0;
    put(
        GL_EXT_ERRNO, +[](void *) { return &elsewhere; });
    EXPECT_EQ(put<void()>(20, nullptr), -1);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(gl_errno(&error), GL_EBADARG);
}

TEST_F(Ext, TheTableIsReadOnlyWhileTheFlagIsUp) {
    EXPECT_EQ(put<void()>(GL_EXT_MALLOC, nullptr), 0);
    EXPECT_EQ(_gl_ext_func, 1); // an emptied slot raises it too
    put(
        GL_EXT_ERRNO, +[](void *) -> int * { return nullptr; });
    EXPECT_EQ(_gl_ext_errno(&error), nullptr);
    _gl_ext_func = 0;
    EXPECT_EQ(_gl_ext_errno(&error), &error);
}

TEST_F(Ext, DefaultsTellLocalDateAndTime) {
    int16_t date[3];
    std::vector<int32_t> time(12, -1);
    std::time_t before;
    do { // not across a change of the second
        before = std::time(nullptr);
        EXPECT_EQ(_gl_ext_currdate(date) + _gl_ext_currtime(time.data()), 0);
    } while (before != std::time(nullptr));
    const std::tm t = *std::localtime(&before);
    EXPECT_EQ(std::tuple(date[0], date[1], date[2]), std::tuple(t.tm_mon + 1, t.tm_mday, t.tm_year + 1900));
    EXPECT_EQ(time, (std::vector<int32_t>{0, t.tm_sec, t.tm_min, t.tm_hour, t.tm_mday, t.tm_mon, t.tm_year, t.tm_wday, t.tm_yday,
                                          t.tm_isdst, 0, 0}));
}

} // namespace
