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

// Through blocks of exactly the sizes announced.
void use(gl_charmap *cm) {
    const std::vector<char> bytes{'A', '\x81', '\xFF', '\xA1', '\xA2', '\xA3', '\xA4', '\x20', '\x10', '\0'};
    for (int size = 0; size < 40; size += 3) {
        std::vector<char> out(static_cast<size_t>(size));
        const char *in = bytes.data();
        gl_mbstosyms(cm, out.data(), size, &in, static_cast<int>(bytes.size()));
        in = "<A><j0104><B><n100><r300>";
        gl_symstombs(cm, out.data(), size, &in);
    }
    std::vector<char> list(2 * GL_SYMBOL_SLOT);
    for (const char &byte : bytes) gl_mbtosymlist(cm, list.data(), 2, &byte, 1);
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

TEST(LoadingCharmaps, CutAtEveryByteOrWithHostileNumbers) {
    const TempDir directory;
    const string path = directory / "object.cmo";
    const Faults faults; // counts what is left behind
    const size_t body = SMALL.find("s 3 NUL");
    for (size_t size = 0; size < SMALL.size(); ++size) {
        write_file(path, SMALL.substr(0, size));
        const bool whole_records = size >= body && SMALL[size - 1] == '\n';
        EXPECT_TRUE(whole_records ? load(path) == 0 : is_load_error(load(path))) << size;
    }
    unsigned serve = 0;
    for (size_t at = SMALL.find_first_of("0123456789"); at != string::npos;) {
        const size_t end = SMALL.find_first_not_of("0123456789", at);
        for (const char *number : {"", "-1", "0", "1", "4", "5", "127", "128", "2147483647", "2147483648", "4294967295",
                                   "99999999999999999999999999999999999999999999999999", "ffffffff"}) {
            write_file(path, SMALL.substr(0, at) + number + SMALL.substr(end));
            const int error = load(path);
            serve += error == 0 ? 1 : 0;
            EXPECT_TRUE(error == 0 || is_load_error(error)) << number << " at " << at;
        }
        at = SMALL.find_first_of("0123456789", end);
    }
    EXPECT_GT(serve, 20U); // damage that is not noticed is used
    EXPECT_EQ(faults.blocks() + faults.streams(), 0U);
}

} // namespace
