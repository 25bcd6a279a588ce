// A host's own functions in the table's slots: each slot alone, and the sets that go together. Everything loads and works through
// them, and does or tells an error when the n-th call fails.
#include "support/conversion_shapes.h"
#include "support/faults.h"
#include "support/locale_object.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

using namespace qbgl_test;
using std::string;

const std::vector<unsigned> MEMORY = {GL_EXT_MALLOC, GL_EXT_FREE};
const std::vector<unsigned> FILES = {GL_EXT_FOPEN, GL_EXT_FCLOSE, GL_EXT_FGETC, GL_EXT_GETC, GL_EXT_UNGETC, GL_EXT_FGETS};

std::vector<unsigned> with(std::vector<unsigned> slots, const std::vector<unsigned> &more) {
    slots.insert(slots.end(), more.begin(), more.end());
    return slots;
}

std::vector<std::vector<unsigned>> sets() {
    std::vector<std::vector<unsigned>> all = {MEMORY, FILES, with(FILES, {GL_EXT_FERROR, GL_EXT_FEOF}),
                                              with(with(FILES, MEMORY), {GL_EXT_FERROR, GL_EXT_FEOF, GL_EXT_GETENV, GL_EXT_ERRNO})};
    for (const unsigned slot : all.back()) all.push_back({slot});
    return all;
}

class HostFunctions : public testing::Test {
  protected:
    HostFunctions() {
        Codeset codeset{"sjis", ascii_characters()};
        add_uncased(codeset, "\x82", 0x9F, 0xA6);
        write_file(directory / "default.lco", LocaleObject(codeset).text());
        write_file(directory / "mixed.cvo", STATELESS[0].second.text());
        write_file(directory / "t.cmo",
                   "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=5\nCODESET=t\nSOURCE_VERSION=7\n"
                   "### CHARMAP\ns 3 NUL 1 00\ns 1 A 1 41\nr 5 j0101 101 5 2 81fe\n");
    }

    // Each gives the number of the error that kept it from working. Without an answer of the stream, input that ends early at a
    // place where it may end is whole.
    static inline bool known_whole = true;
    // A record that there was no memory for has its number in itself, whatever the host's function says.
    template <class Record> static int error_of(int result, Record *const &record) {
        const int32_t own = *reinterpret_cast<const int32_t *>(record);
        return result == 0 ? 0 : own != 0 ? own : gl_errno(record);
    }
    static int sort() {
        gl_locale *locale = nullptr;
        int error = error_of(gl_lc_load(&locale, "default.lco", nullptr, nullptr), locale);
        if (error == 0) {
            char *name = gl_setlocale_4(locale, GL_CAT_MESSAGES, "default.lco");
            error = name == nullptr ? gl_errno(locale) : 0;
            gl_destroystring(name);
        }
        if (error == 0 && known_whole) {
            char key[64];
            EXPECT_LT(gl_mbscoll(locale, "ab", "a\x82\xA0"), 0);
            EXPECT_GT(gl_mbsxfrm(locale, key, "a\x82\xA0", sizeof key), 0);
            EXPECT_EQ(gl_errno(locale), 0);
        }
        gl_lc_unload(locale);
        return error;
    }
    static int convert() {
        gl_cv *cd = nullptr;
        const int error = error_of(gl_iconv_open1(&cd, "mixed.cvo"), cd);
        if (error == 0 && known_whole) {
            const char *in = "a\xA1";
            char room[16] = {}, *out = room;
            int inleft = 2, outleft = sizeof room, subst = 0;
            EXPECT_EQ(gl_miconv(cd, &in, &inleft, &out, &outleft, &subst), 0);
            EXPECT_EQ(string(room), "a\xE3\x81\xA1");
        }
        gl_cv_unload(cd);
        return error;
    }
    static int name() {
        gl_charmap *cm = nullptr;
        const int error = error_of(gl_cm_load(&cm, "t.cmo", nullptr, nullptr), cm);
        if (error == 0 && known_whole) {
            char symbols[32];
            const char *in = "A\x81\xFF";
            EXPECT_GT(gl_mbstosyms(cm, symbols, sizeof symbols, &in, 3), 0);
            EXPECT_STREQ(symbols, "<A><j0102>");
        }
        gl_cm_unload(cm);
        return error;
    }

    const TempDir directory;
    const ScopedEnv search{"GL_PATH", directory.path().string()};
};

TEST_F(HostFunctions, ServeEverything) {
    for (const std::vector<unsigned> &slots : sets()) {
        SCOPED_TRACE(testing::PrintToString(slots));
        Faults host(slots);
        for (const auto use : {sort, HostFunctions::convert, name}) {
            // The many reads of a locale fail in another test.
            for (const Operation operation :
                 {Operation::allocate, Operation::open, Operation::close, Operation::ask, Operation::read}) {
                for (const Lasting lasting : {Lasting::once, Lasting::on}) {
                    if (operation == Operation::read && use == sort) continue;
                    known_whole = operation != Operation::read || std::ranges::count(slots, unsigned{GL_EXT_FERROR}) > 0;
                    for_each_fault(host, operation, lasting, [&](const Faults &faults) {
                        int32_t context = 0;
                        *_gl_ext_errno(&context) = 0; // the host may have one number for all
                        const int error = use();
                        EXPECT_TRUE(error == 0 || faults.hit()) << "error " << error;
                    });
                }
            }
        }
        EXPECT_EQ(host.blocks() + host.streams(), 0U);
    }
}

} // namespace
