// Locales of the tree that the build compiles.
#pragma once

#include <gtest/gtest.h>

#include <qbgl.h>

#include <cstdlib>
#include <memory>

namespace qbgl_test {

using Handle = std::unique_ptr<gl_locale, void (*)(gl_locale *)>;

inline Handle load(const char *spec) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    gl_locale *locale = nullptr;
    EXPECT_EQ(gl_lc_load(&locale, spec, nullptr, nullptr), 0) << spec;
    return {locale, gl_lc_unload};
}

} // namespace qbgl_test
