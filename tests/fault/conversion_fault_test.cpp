// Loading conversions under every fault: allocations, opens, reads and closes that fail in turn, files that are cut short. Whatever
// happens, there is a clear error, nothing is left behind, and what is loaded serves.
#include "support/faults.h"
#include "support/files.h"

#include "cvlib/object.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace qbgl_test;
using std::string;

// The seeds of the fuzzer: compiled objects, and hand-made ones of other shapes with their tables uncompressed.
std::vector<string> objects() {
    std::vector<string> texts;
    for (const auto &entry : std::filesystem::directory_iterator(QBGL_SOURCE_DIR "/fuzz/corpus/conversion_object_fuzzer"))
        if (entry.path().extension() == ".cvo" && entry.file_size() < 4096) texts.push_back(read_file(entry.path()));
    EXPECT_GE(texts.size(), 10U);
    return texts;
}

void use(gl_cv *cd) {
    const char text[] = "\0a\x0EKA\x0F\xFFz\x80 0a", *in = text;
    char room[64], *out = room;
    int inleft = sizeof text, outleft = sizeof room, subst = 0;
    gl_miconv(cd, &in, &inleft, &out, &outleft, &subst);
    EXPECT_EQ(in + inleft, text + sizeof text);
}

struct Loaded {
    int result, error;
    bool lane;
};
Loaded released(int result, gl_cv *cd) {
    const Loaded loaded{result, cd->error, cd->lane != nullptr};
    if (result == 0) use(cd);
    EXPECT_EQ(gl_cv_unload(cd), 0);
    return loaded;
}
Loaded load_file(const string &path) {
    gl_cv *cd = nullptr;
    const int result = gl_iconv_open1(&cd, path.c_str());
    return released(result, cd);
}
Loaded load_text(string text) {
    auto *cd = static_cast<gl_cv *>(_gl_alloc_ptr(sizeof(gl_cv)));
    *cd = {};
    const int result = qbgl::read_cv_file(fmemopen(text.data(), text.size(), "r"), cd);
    return released(result, cd);
}

bool is_load_error(const Loaded &loaded) {
    return loaded.result == -1 &&
           (loaded.error == GL_ENOMEM || loaded.error == GL_ENOFILE || loaded.error == GL_EBADFILE || loaded.error == GL_ETABLELEN);
}

TEST(LoadingConversions, WithFailingOperations) {
    const TempDir directory;
    const string path = directory / "object.cvo";
    for (const string &text : objects()) {
        write_file(path, text);
        const bool lane = load_file(path).lane;
        for_each_fault(Operation::allocate, [&](const Faults &faults) {
            const Loaded loaded = load_file(path);
            // Conversion does without the lane where there is no memory for it.
            EXPECT_TRUE(loaded.result == 0 ? loaded.lane == (lane && !faults.hit()) : loaded.error == GL_ENOMEM && faults.hit());
        });
        for_each_fault(Operation::open, [&](const Faults &faults) {
            const int error = load_file(path).error;
            EXPECT_EQ(error, faults.hit() ? GL_ENOFILE : 0);
        });
        for_each_fault(Operation::close, [&](const Faults &) { EXPECT_EQ(load_file(path).result, 0); });
        if (text.size() > 2000) continue;
        for_each_fault(Operation::read, [&](const Faults &faults) {
            const Loaded loaded = load_file(path);
            EXPECT_TRUE(faults.hit() ? is_load_error(loaded) : loaded.result == 0) << loaded.error;
        });
    }
}

TEST(LoadingConversions, CutAtEveryByte) {
    const Faults faults; // counts what is left behind
    for (const string &text : objects()) {
        for (size_t size = 0; size < text.size(); ++size) {
            EXPECT_TRUE(is_load_error(load_text(text.substr(0, size)))) << size << " of " << text.size();
        }
        EXPECT_EQ(load_text(text).result, 0);
        EXPECT_EQ(faults.blocks() + faults.streams(), 0U);
    }
}

} // namespace
