// Loading locales, conversions and charmaps through a host's own functions, each slot of the table alone and the sets that go
// together, while the n-th allocation, open, close, read or question fails, and from files that are cut short. Whatever happens,
// there is a clear error, nothing is left behind, and what is loaded does what it does otherwise.
#include "support/conversion.h"
#include "support/conversion_shapes.h"
#include "support/faults.h"
#include "support/locale_object.h"

#include "setlc/handle.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace {

using namespace qbgl_test;
using std::string;

constexpr int UNKNOWN = -1;

struct Loaded {
    int error = 0;
    int lanes = 0; // for speed, which are done without where there is no memory for them
    string does{}; // what comes of its use
};

// A record that there was no memory for has its number in itself, whatever the host's function says.
template <class Record> int error_of(int result, Record *const &record) {
    const int32_t own = *reinterpret_cast<const int32_t *>(record);
    return result == 0 ? 0 : own != 0 ? own : gl_errno(record);
}

// It may fail after a selection that failed, but has functions and tables.
string use(gl_locale *l) {
    gl_wchar wide[4] = {'A'};
    char text[16] = {}, upper[16] = {}, key[32] = {};
    std::ostringstream out;
    out << gl_mbstowcs(l, wide, "Ash", 4) << gl_mbfstowcfs(l, wide, "Ash", 3, 4) << gl_full_wcstombs(l, text, wide, 16) << text;
    out << gl_mbscoll(l, "sh", "ss") << gl_mbfscoll(l, "sh", 2, "ss", 2) << gl_mbsxfrm(l, key, "ash", 32) << key;
    out << gl_tombsupper(l, upper, "ash") << upper << gl_towupper(l, 'a') << gl_iswalpha(l, 'a') << gl_mbwidth(l, "a");
    out << gl_mbsbytes(l, "ash") << (gl_mbsnext(l, "a") != nullptr) << gl_mbstol(l, "12", nullptr, 10, 1);
    out << gl_mbstod(l, "1.2", nullptr, 1) << gl_ltombs(l, text, 16, 12, 10, 1) << text;
    return out.str();
}
string use(gl_cv *cd) { return convert(*cd, "\0a\x0EKA\x0F\xFFz\x80 0a\0"s, 64).output; }
string use(gl_charmap *cm) {
    char symbols[64] = {}, bytes[64] = {};
    const char *in = "A\x81\xFF", *names = "<A><j0104><B><n100><r300>";
    gl_mbstosyms(cm, symbols, sizeof symbols, &in, 3);
    const int size = gl_symstombs(cm, bytes, sizeof bytes, &names);
    return symbols + std::to_string(size) + bytes;
}

bool select(gl_locale *locale, const char *spec) {
    char *names = gl_setlocale_4(locale, GL_CAT_ALL, spec);
    gl_destroystring(names);
    return names != nullptr;
}

Loaded create_locale(const string &directory) {
    gl_locale *locale = nullptr;
    Loaded loaded{error_of(gl_createlocale2_4(&locale, (directory + "/").c_str()), locale), UNKNOWN};
    if (!qbgl::is_canned(locale)) loaded.does = use(locale);
    if (loaded.error == 0) loaded.error = gl_errno(locale); // use needs memory, too
    gl_lc_unload(locale);
    return loaded;
}

// Another one is selected in the place of the one that was loaded, and shared.
Loaded select_and_share(const string &directory) {
    gl_locale *locale = nullptr, *target = nullptr;
    Loaded loaded{error_of(gl_lc_load(&locale, "other.lco", nullptr, directory.c_str()), locale), UNKNOWN};
    if (!qbgl::is_canned(locale)) loaded.does = use(locale);
    if (loaded.error == 0 && !select(locale, "")) loaded.error = error_of(-1, locale);
    if (loaded.error == 0) loaded.does += use(locale), loaded.error = gl_errno(locale);
    if (loaded.error == 0) {
        loaded.error = error_of(gl_create_null_locale_4(&target), target);
        if (loaded.error == 0) loaded.error = error_of(gl_copy_cat(target, locale, GL_CAT_ALL), target);
        gl_free_nonshared_loc(target);
    }
    gl_lc_unload(locale);
    return loaded;
}

Loaded open_conversion(const string &directory) {
    gl_cv *cd = nullptr;
    Loaded loaded{error_of(gl_iconv_open1(&cd, (directory + "/object.cvo").c_str()), cd)};
    loaded.lanes = cd->lane != nullptr;
    if (loaded.error == 0) loaded.does = use(cd);
    gl_cv_unload(cd);
    return loaded;
}

Loaded load_charmap(const string &directory) {
    gl_charmap *cm = nullptr;
    Loaded loaded{error_of(gl_cm_load(&cm, (directory + "/object.cmo").c_str(), nullptr, nullptr), cm)};
    if (loaded.error == 0) loaded.does = use(cm);
    gl_cm_unload(cm);
    return loaded;
}

struct Object {
    Loaded (*load)(const string &directory);
    const char *file;
    string text;
    bool many_reads = false;
};

// Conversions are the seeds of the fuzzer: compiled ones, and hand-made ones of other shapes with their tables uncompressed.
std::vector<Object> objects() {
    const Codeset codeset = single_byte_codeset();
    Collation rules = Collation::in_order(codeset, {1, 2});
    rules.rows[70] = rules.rows[80];
    rules.rows[90] = {1, 1};
    rules.rows[100] = {0x4000, 0x4000};
    rules.expansions = {{'s', 's'}};
    rules.elements = {{{'s', 'h'}, 3}};
    Collation compact_rules = rules;
    compact_rules.compact = true;
    const string locale = LocaleObject(codeset, rules.text()).text(), compact = LocaleObject(codeset, compact_rules.text()).text(),
                 charmap = "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=5\nCODESET=test\nSOURCE_VERSION=7\n"
                           "### CHARMAP\ns 3 NUL 1 00\ns 3 a<b 1 41\ns 1 A 1 41\nr 5 j0101 101 5 2 81fe\nr 5 j0103 103 2 2 91ff\n"
                           "s 1 B 4 a1a2a3a4\n";
    string large = charmap; // every list grows
    for (int i = 100; i < 400; ++i) {
        const string number = std::to_string(i);
        large += "s 4 n" + number + " 2 20" + number.substr(1) + "\nr 4 r" + number + " " + number + " 3 3 300" + number + "\n";
    }
    std::vector<Object> all = {{create_locale, "default.lco", locale, true},
                               {create_locale, "default.lco", LocaleObject(codeset, "thai_smo\n").text(), true},
                               {select_and_share, "default.lco", locale, true},
                               {create_locale, "default.lco", compact, true},
                               {load_charmap, "object.cmo", charmap},
                               {load_charmap, "object.cmo", large, true},
                               {open_conversion, "object.cvo", STATELESS[0].second.text(), true}};
    for (const auto &entry : std::filesystem::directory_iterator(QBGL_SOURCE_DIR "/fuzz/corpus/object_fuzzer"))
        if (entry.path().extension() == ".cvo" && entry.file_size() < 4096)
            all.push_back({open_conversion, "object.cvo", read_file(entry.path()), entry.file_size() > 2000});
    EXPECT_GE(all.size(), 16U);
    return all;
}

using Slots = std::vector<unsigned>;
const Slots MEMORY = {GL_EXT_MALLOC, GL_EXT_FREE};
const Slots FILES = {GL_EXT_FOPEN, GL_EXT_FCLOSE, GL_EXT_FGETC, GL_EXT_GETC, GL_EXT_UNGETC, GL_EXT_FGETS};

Slots with(Slots slots, const Slots &more) {
    slots.insert(slots.end(), more.begin(), more.end());
    return slots;
}

// The first has all that can fail.
std::vector<Slots> sets() {
    std::vector<Slots> all = {with(with(FILES, MEMORY), {GL_EXT_FERROR, GL_EXT_FEOF, GL_EXT_GETENV, GL_EXT_ERRNO}), MEMORY, FILES,
                              with(FILES, {GL_EXT_FERROR, GL_EXT_FEOF})};
    for (const unsigned slot : all[0]) all.push_back({slot});
    return all;
}

class Loading : public testing::Test {
  protected:
    Loading() { write_file(directory.path() / "other.lco", LocaleObject(sjis_codeset()).text()); }

    Loaded load(const Object &object) const {
        int32_t context = 0;
        *_gl_ext_errno(&context) = 0; // the host may have one number for all
        return object.load(directory.path());
    }

    const TempDir directory;
    const ScopedEnv all{"GL_ALL", nullptr}, language{"GL_LANG", nullptr}, search{"GL_PATH", directory.path().string()};
};

// The error that a failing operation gives, where there is one error for it.
constexpr std::pair<Operation, int> OPERATIONS[] = {{Operation::allocate, GL_ENOMEM},
                                                    {Operation::open, GL_ENOFILE},
                                                    {Operation::close, 0},
                                                    {Operation::read, UNKNOWN},
                                                    {Operation::ask, UNKNOWN}};

TEST_F(Loading, ThroughFunctionsThatFail) {
    bool whole_host = true;
    for (const Slots &slots : sets()) {
        Faults host(slots);
        for (const Object &object : objects()) {
            if (!whole_host && object.text.size() > 20000) continue;
            SCOPED_TRACE(object.file + testing::PrintToString(slots) + object.text.substr(0, 60));
            write_file(directory.path() / object.file, object.text);
            const Loaded clean = load(object);
            ASSERT_EQ(clean.error, 0);
            for (const auto &[operation, number] : OPERATIONS) {
                const bool reads = operation == Operation::read;
                if (reads && object.many_reads && !(whole_host && object.load == create_locale)) continue;
                // Without an answer of the stream, input that ends early at a place where it may end is whole.
                const bool known_whole = !reads || std::ranges::count(slots, unsigned{GL_EXT_FERROR}) > 0;
                for (const Lasting lasting : {Lasting::once, Lasting::on}) {
                    for_each_fault(host, operation, lasting, [&, number = number, operation = operation](const Faults &faults) {
                        const Loaded loaded = load(object);
                        const bool done = loaded.error == 0, less = loaded.lanes < clean.lanes, hit = faults.hit();
                        EXPECT_TRUE(done || hit) << loaded.error;
                        EXPECT_EQ(done && known_whole ? loaded.does : clean.does, clean.does);
                        if (!whole_host) return;
                        EXPECT_TRUE(done || number == UNKNOWN || loaded.error == number) << loaded.error;
                        // A default object is also searched elsewhere, and another selection wins what the first did without.
                        const bool tolerable = operation == Operation::allocate ? less || clean.lanes == UNKNOWN
                                               : operation == Operation::open   ? lasting == Lasting::once
                                                                                : operation != Operation::read;
                        EXPECT_TRUE(done ? !hit || tolerable : operation != Operation::close);
                        EXPECT_EQ(done && less, done && hit && operation == Operation::allocate && clean.lanes > 0);
                    });
                }
            }
        }
        EXPECT_EQ(host.blocks() + host.streams(), 0U);
        whole_host = false;
    }
}

TEST_F(Loading, AfterAFailureAsBefore) {
    write_file(directory.path() / "default.lco", objects()[0].text);
    Faults faults;
    gl_locale *locale = nullptr;
    ASSERT_EQ(gl_create_null_locale_4(&locale), 0);
    for (const Lasting lasting : {Lasting::once, Lasting::on}) {
        bool hit = true;
        for (unsigned nth = 1; hit; ++nth) {
            faults.arm(Operation::allocate, nth, lasting);
            select(locale, "");
            hit = faults.hit();
            use(locale);
            faults.arm(Operation::allocate, 0);
            gl_wchar wide[4];
            EXPECT_TRUE(select(locale, "other.lco")) << nth;
            EXPECT_EQ(gl_mbstowcs(locale, wide, "\x82\xA0", 4), 1) << nth;
            EXPECT_EQ(wide[0], 0x82A0U) << nth;
        }
    }
    gl_lc_unload(locale);
    EXPECT_EQ(faults.blocks(), 0U);
}

TEST_F(Loading, OfWhatIsCutAtAnyByte) {
    const std::set<int> errors = {GL_ENOMEM, GL_ENOFILE, GL_EBADFILE, GL_EVERSION, GL_ETABLELEN, GL_ELOADCAT};
    const Faults faults; // counts what is left behind
    for (const Object &object : objects()) {
        if (object.load == select_and_share) continue;
        const std::filesystem::path file = directory.path() / object.file;
        write_file(file, object.text);
        for (size_t size = object.text.size(); size-- > 0;) {
            resize_file(file, size);
            const bool whole_records = object.load == load_charmap && object.text.rfind("\n### CHARMAP\n", size - 13) < size &&
                                       object.text[size - 1] == '\n';
            const int error = load(object).error;
            EXPECT_TRUE(whole_records ? error == 0 : errors.contains(error)) << error << " at " << size;
        }
        EXPECT_EQ(faults.blocks() + faults.streams(), 0U);
    }
}

} // namespace
