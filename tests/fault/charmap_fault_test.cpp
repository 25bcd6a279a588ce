// Loading charmaps under every fault. Whatever happens, there is a clear error, nothing is left behind, and what is loaded serves.
// The sanitizers watch the bounds.
#include "support/faults.h"
#include "support/files.h"

#include "qbgl.h"
#include "syms/charmap.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace qbgl_test;
using std::string;

const string SMALL = "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=5\nCODESET=test\nSOURCE_VERSION=7\n### CHARMAP\n"
                     "s 3 NUL 1 00\ns 3 a<b 1 41\ns 1 A 1 41\nr 5 j0101 101 5 2 81fe\nr 5 j0103 103 2 2 91ff\ns 1 B 4 a1a2a3a4\n";

// So many that every list grows.
string large() {
    string text = SMALL.substr(0, SMALL.find("s 3 NUL"));
    for (int i = 100; i < 400; ++i) {
        const string number = std::to_string(i);
        text += "s 4 n" + number + " 2 20" + number.substr(1) + "\nr 4 r" + number + " " + number + " 3 3 300" + number + "\n";
    }
    return text;
}

void use(gl_charmap *cm) {
    char out[64];
    const char *in = "A\x81\xFF";
    gl_mbstosyms(cm, out, sizeof out, &in, 3);
    in = "<A><j0104><B><n100><r300>";
    gl_symstombs(cm, out, sizeof out, &in);
}

int load(const string &path) { // the error number
    gl_charmap *cm = nullptr;
    const int result = gl_cm_load(&cm, path.c_str(), nullptr, nullptr), error = cm->error;
    EXPECT_EQ(result, error == 0 ? 0 : -1);
    if (result == 0) use(cm);
    gl_cm_unload(cm);
    return error;
}

bool is_load_error(int error) { return error == GL_ENOMEM || error == GL_ENOFILE || error == GL_EBADFILE || error == GL_EVERSION; }

TEST(LoadingCharmaps, WithFailingOperations) {
    const TempDir directory;
    const string path = directory / "object.cmo";
    for (const string &text : {SMALL, large()}) {
        write_file(path, text);
        for (const auto &[operation, expected] :
             {std::pair(Operation::allocate, GL_ENOMEM), std::pair(Operation::open, GL_ENOFILE)})
            for_each_fault(operation, [&, number = expected](const Faults &faults) {
                const int error = load(path);
                EXPECT_EQ(error, faults.hit() ? number : 0);
            });
        for_each_fault(Operation::close, [&](const Faults &) { EXPECT_EQ(load(path), 0); });
    }
}

TEST(LoadingCharmaps, CutAtEveryByte) {
    const TempDir directory;
    const string path = directory / "object.cmo";
    const Faults faults; // counts what is left behind
    const size_t body = SMALL.find("s 3 NUL");
    for (size_t size = 0; size < SMALL.size(); ++size) {
        write_file(path, SMALL.substr(0, size));
        const bool whole_records = size >= body && SMALL[size - 1] == '\n';
        EXPECT_TRUE(whole_records ? load(path) == 0 : is_load_error(load(path))) << size;
    }
    EXPECT_EQ(faults.blocks() + faults.streams(), 0U);
}

} // namespace
