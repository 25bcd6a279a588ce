// The main program of the tests.
#include "served.h"

#include "qbgl.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// Every test has to have something served, or it proves nothing of the extension.
class Served : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo &) override { before_ = qbgl_test::opened_by_extension(); }
    void OnTestEnd(const testing::TestInfo &) override {
        EXPECT_NE(qbgl_test::opened_by_extension(), before_) << "nothing was served";
    }
    unsigned before_ = 0;
};

} // namespace

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    for (const char *name : {"QUORBANEDIR", "GL_PATH", "GL_ALL", "GL_LANG", "GL_CTYPE", "GL_TIME", "GL_USEGLU", "VRNLOG",
                             "VRNDEBUG", "LC_ALL", "LC_CTYPE", "LANG"})
        unsetenv(name); // what the user has set is not the tests'
    if (qbgl_test::runs_served()) {
        qbgl_test::load_extension();
        testing::UnitTest::GetInstance()->listeners().Append(new Served);
    }
    const int result = RUN_ALL_TESTS();
    return gl_unload_glu() == 0 ? result : 1;
}
