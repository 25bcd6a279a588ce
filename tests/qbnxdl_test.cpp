#include "ext/error.h"
#include "extension/extension.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/registry.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/log.h"

#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

using namespace qbgl_test;
using qbgl::fn_glu_getmb;
using qbgl::fn_glu_mbtouc;

constexpr int UNTOUCHED = 99;
constexpr std::string_view LIBRARIES = QBGL_BINARY_DIR "/extension/";

const ExtensionRecord *record_of(void *handle) {
    return reinterpret_cast<ExtensionRecord *(*)()>(dlsym(handle, "extension_record"))();
}

// An installation directory of its own with the libraries in it; the extension is wanted, and the log switched on.
class Extension : public testing::Test {
  protected:
    Extension() {
        std::filesystem::create_directories(tree / "vrn/dll");
        for (const char *name : {"complete", "without_getmb"}) add_library(name, name);
        write_file(tree / "vrn/dll/text", "no library\n");
        write_file(tree / "vrn/etc/icu.dat", "0");
        write_file(tree / "vrn/etc/locmap", "-1");
        qbgl::vrn_debug_initialized = qbgl::vrn_logging = glu_capable = 1;
    }
    ~Extension() override {
        gl_unload_glu();
        glu_capable = unicode_collate = qbgl::vrn_logging = 0;
    }

    void add_library(const char *variant, const std::string &name) const {
        std::filesystem::copy_file(std::string(LIBRARIES) + variant + ".so", tree / ("vrn/dll/" + name));
    }
    int start(std::string_view lines) {
        list(lines);
        return gl_init_glu(&error);
    }
    void list(std::string_view lines) const { write_file(tree / "vrn/etc/dllregistry", lines); }
    std::string take_log() const {
        std::string log = std::filesystem::exists(tree / "vrn.log") ? read_file(tree / "vrn.log") : "";
        std::filesystem::remove(tree / "vrn.log");
        return log;
    }

    TempDir tree;
    ScopedDirectory directory{tree.path()};
    ScopedEnv base{"QUORBANEDIR", tree.path().string()}, path{"GL_PATH", nullptr}, wish{"GL_USEGLU", "1"},
        data_file{"EXTENSION_DATA_FILE", "icu.dat"};
    int error = UNTOUCHED;
};

TEST_F(Extension, IsLeftAloneUnlessHostAndEnvironmentWantIt) {
    list("not there\n"); // whatever would be loaded fails
    for (const int capable : {-1, 0, 1, 2, 3, 65537}) {
        for (const char *value : {(const char *)nullptr, "", "0", "3", "12", "x2", "-1", "4294967297", "1"}) {
            const bool wanted = (capable == 1 || capable == 2) && value != nullptr && strcmp(value, "1") == 0;
            SCOPED_TRACE(testing::Message() << capable << " " << (value != nullptr ? value : "unset"));
            const ScopedEnv asked("GL_USEGLU", value);
            gl_useglu(capable);
            unicode_collate = 5;
            error = UNTOUCHED;
            EXPECT_EQ(gl_init_glu(&error), wanted ? -1 : 0);
            EXPECT_EQ(error, wanted ? GL_ENOFILE : UNTOUCHED);
            EXPECT_EQ(unicode_collate, wanted ? 1 : 0);
            EXPECT_EQ(glu_capable, capable);
            EXPECT_EQ(pMap, nullptr);
        }
    }
}

TEST_F(Extension, NeedsAnInstallationDirectory) {
    const ScopedEnv empty("QUORBANEDIR", "");
    EXPECT_EQ(gl_init_glu(&error), -1);
    EXPECT_EQ(error, GL_ENOFILE);
}

TEST_F(Extension, LogsItsDecision) {
    gl_useglu(0);
    EXPECT_EQ(gl_init_glu_dll(nullptr), 0);
    EXPECT_EQ(take_log(), "gl_useglu: Begin\ngl_useglu: exit\ngl_init_glu_dll: Begin\ngl_init_glu_dll: No glu_capable\n");
    glu_capable = 1;
    const ScopedEnv unset("GL_USEGLU", nullptr);
    EXPECT_EQ(gl_init_glu(nullptr), 0);
    EXPECT_EQ(take_log(), "gl_init_glu: Begin\ngl_init_glu_dll: Begin\ngl_init_glu_dll: glu_capable\ngl_init_glu_dll: End\n"
                          "gl_init_glu: End\n");
}

TEST_F(Extension, LoadingDependsOnWhatIsInstalled) {
    struct Case {
        const char *lines; // null: no registry
        int capable;
        const char *wish;
        int result, collate, capable_after;
        const char *last_message;
    };
    const char *const failed = "gl_init_glu: loading DLLs error\n";
    const char *const missing = "gl_init_glu_dll: End icudata qbnx_dlsym error\ngl_init_glu: loading DLLs error\n";
    const char *const allowed = "gl_init_glu_dll: Error Loading DLLs allowed\ngl_init_glu: End\n";
    const char *const done = "locmap\ngl_init_glu: End\n";
    const Case cases[] = {
        {nullptr, 2, "2", -1, 1, 2, "gl_init_glu_dll: cannot open dllregistry\ngl_init_glu: loading DLLs error\n"},
        {"", 2, "2", -1, 1, 2, missing},
        {"absent\n", 2, "2", -1, 1, 2, failed}, // tolerated only when it is there
        {"text\n", 2, "2", 0, 0, 0, allowed},
        {"\n", 2, "2", 0, 0, 0, allowed}, // the directory itself
        {"text", 1, "2", -1, 1, 1, failed},
        {"text", 2, "1", -1, 1, 2, failed},
        {"complete\ntext\n", 2, "2", 0, 0, 0, allowed},
        {"complete\ntext\n", 1, "1", -1, 1, 1, failed},
        {"without_getmb\n", 2, "2", -1, 1, 2, missing},
        {"complete\nwithout_getmb\n", 1, "1", -1, 1, 1, missing}, // the last one has the symbols
        {"complete \n", 1, "1", -1, 1, 1, failed},                // no trimming
        {"# complete\n", 1, "1", -1, 1, 1, failed},
        {"complete\n", 1, "1", 0, 1, 1, done},
        {"complete", 2, "2x", 0, 1, 2, done},
        {"without_getmb\ncomplete\n", 1, " 2", 0, 1, 1, done},
    };
    for (const Case &c : cases) {
        for (int *const ctx : {&error, static_cast<int *>(nullptr)}) {
            SCOPED_TRACE(testing::Message() << (c.lines != nullptr ? c.lines : "none") << c.capable << c.wish << (ctx != nullptr));
            std::filesystem::remove(tree / "vrn/etc/dllregistry");
            if (c.lines != nullptr) list(c.lines);
            const ScopedEnv asked("GL_USEGLU", c.wish);
            glu_capable = c.capable;
            error = UNTOUCHED;
            take_log();
            EXPECT_EQ(gl_init_glu(ctx), c.result);
            EXPECT_EQ(error, c.result == 0 || ctx == nullptr ? UNTOUCHED : GL_ENOFILE);
            EXPECT_EQ(unicode_collate, c.collate);
            EXPECT_EQ(glu_capable, c.capable_after);
            EXPECT_EQ(pMap != nullptr, c.last_message == done);
            EXPECT_TRUE(take_log().ends_with(c.last_message));
            EXPECT_EQ(gl_unload_glu(), 0);
            EXPECT_EQ(fn_glu_mbtouc, nullptr);
            for (const qbnx_library &library : handleglu) EXPECT_TRUE(library.handle == nullptr && library.path == nullptr);
        }
    }
}

TEST_F(Extension, ResolvesWhatIsThereWhenAnEntryPointIsMissing) {
    qbnx_library empty = {};
    EXPECT_EQ(qbgl::resolve_entry_points(&empty), 81); // 79 names, two of them twice
    _gl_free_ptr(empty.error_text);
    list("without_getmb\n");
    EXPECT_EQ(gl_init_glu_dll(&error), -1);
    EXPECT_EQ(fn_glu_getmb, nullptr);
    EXPECT_NE(fn_glu_mbtouc, nullptr);
    EXPECT_NE(qbgl::fn_glu_setMessageSubLevel, nullptr); // the last name, after the missing one
    EXPECT_EQ(handleglu[0].error, -1);
    EXPECT_NE(strstr(handleglu[0].error_text, "glu_getmb"), nullptr);

    list("complete\n"); // repaired: the next attempt takes the place of this one
    EXPECT_EQ(gl_init_glu(&error), 0);
    EXPECT_NE(fn_glu_getmb, nullptr);
    EXPECT_EQ(handleglu[0].error_text, nullptr);
    EXPECT_EQ(dlopen((tree / "vrn/dll/without_getmb").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(Extension, StartsOnceStopsAndStartsAgain) {
    const std::string library = tree / "vrn/dll/complete", etc = tree / "vrn/etc/";
    list("complete\n");
    void *const kept = dlopen(library.c_str(), RTLD_NOW);
    ASSERT_NE(kept, nullptr);
    const ExtensionRecord &seen = *record_of(kept);
    ASSERT_EQ(gl_init_glu(&error), 0);
    EXPECT_EQ(take_log(),
              "gl_init_glu: Begin\ngl_init_glu_dll: Begin\ngl_init_glu_dll: glu_capable\n"
              "gl_init_glu_dll: Initializing\ngl_init_glu_dll: Loading library:\n" +
                  library +
                  "\ngl_init_glu_dll: Loading symbols:\ngl_init_glu_dll: End\ngl_init_glu: Loading ICU data:\nOpened: " + etc +
                  "icu.dat\nextension: loading\ngl_init_glu: Loading Map data:\nOpened: " + etc + "locmap\ngl_init_glu: End\n");
    const std::string started =
        "malloc calloc realloc free fgetc fseek ftell ferror feof print data " + etc + "icu.dat map " + etc + "locmap ";
    EXPECT_EQ(seen.calls, started);
    EXPECT_TRUE(seen.malloc == _gl_ext_malloc && seen.calloc == _gl_ext_calloc && seen.realloc == _gl_ext_realloc);
    EXPECT_TRUE(seen.free == _gl_ext_free && seen.fgetc == _gl_ext_fgetc && seen.fseek == _gl_ext_fseek);
    EXPECT_TRUE(seen.ftell == _gl_ext_ftell && seen.ferror == _gl_ext_ferror && seen.feof == _gl_ext_feof);
    EXPECT_EQ(seen.print, gl_message);
    EXPECT_EQ(seen.message_level, 65535);
    EXPECT_EQ(seen.message_sublevel, 1);
    EXPECT_EQ(handleglu[0].path, library);
    EXPECT_EQ(glx_gluMap(), pMap);

    glu_capable = 0; // no longer looked at
    EXPECT_EQ(gl_init_glu(&error), 0);
    EXPECT_EQ(take_log(), "gl_init_glu: Begin\n");
    glu_capable = 1;
    EXPECT_EQ(gl_init_glu_dll(&error), 0); // the same library again: data and map stay
    EXPECT_EQ(seen.calls, started);

    EXPECT_EQ(gl_unload_glu(), 0);
    EXPECT_EQ(seen.calls, started + "unload-data unload-map ");
    EXPECT_TRUE(pMap == nullptr && glu_cudata_t == nullptr && unicode_collate == 0);
    EXPECT_EQ(gl_unload_glu(), 0);
    dlclose(kept);
    EXPECT_EQ(dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "a reference is left";

    EXPECT_EQ(gl_init_glu(&error), 0);
    EXPECT_EQ(record_of(handleglu[0].handle)->calls, started);
    EXPECT_EQ(error, UNTOUCHED);
}

TEST_F(Extension, ReportsWhatItsFilesLack) {
    struct Case {
        const char *data_name, *data, *map; // null: none
        int error;
        bool data_stays;
        const char *last_message;
    };
    const Case cases[] = {
        {nullptr, "0", "0", GL_ENOFILE, false, "gl_init_glu: End icudata not loaded, could not get icudata file name\n"},
        {"icu.dat", nullptr, "0", GL_ENOFILE, false, "gl_init_glu: End icudata not loaded, icudata file not found\n"},
        {"a-name-that-fills-the-whole-buffer", "0", "0", GL_ENOFILE, false, "icudata file not found\n"},
        {"icu.dat", "57", "0", 57, false, "gl_init_glu: End icudata not loaded\n"},
        {"icu.dat", "0", nullptr, GL_ENOFILE, true, "gl_init_glu: End pMap not loaded locmap file not found\n"},
        {"icu.dat", "-5", "1", 1, true, "gl_init_glu: End pMap not loaded\n"},
    };
    list("complete\n");
    for (const Case &c : cases) {
        SCOPED_TRACE(c.last_message);
        const ScopedEnv name("EXTENSION_DATA_FILE", c.data_name);
        for (const auto &[file, content] : {std::pair("vrn/etc/icu.dat", c.data), std::pair("vrn/etc/locmap", c.map)}) {
            std::filesystem::remove(tree / file);
            if (content != nullptr) write_file(tree / file, content);
        }
        error = UNTOUCHED;
        EXPECT_EQ(gl_init_glu(&error), -1);
        EXPECT_EQ(error, c.error);
        EXPECT_EQ(pMap, nullptr);
        EXPECT_EQ(glu_cudata_t != nullptr, c.data_stays);
        EXPECT_TRUE(take_log().ends_with(c.last_message));
        EXPECT_EQ(gl_init_glu(nullptr), -1); // and again, over what the first attempt has left
        EXPECT_EQ(gl_unload_glu(), 0);
        EXPECT_EQ(glu_cudata_t, nullptr);
    }
}

TEST_F(Extension, KeepsItsDataForTheNextAttemptButNotForAnotherLibrary) {
    add_library("complete", "other");
    std::filesystem::remove(tree / "vrn/etc/locmap");
    EXPECT_EQ(start("complete\n"), -1);
    void *const data = glu_cudata_t;
    const ExtensionRecord &seen = *record_of(handleglu[0].handle);
    void *const kept = dlopen(handleglu[0].path, RTLD_NOW);
    EXPECT_EQ(gl_init_glu(&error), -1);
    EXPECT_EQ(glu_cudata_t, data);

    list("other\n");
    write_file(tree / "vrn/etc/locmap", "0");
    EXPECT_EQ(gl_init_glu(&error), 0);
    EXPECT_TRUE(std::string(seen.calls).ends_with("unload-data "));
    dlclose(kept);
}

TEST_F(Extension, UsesAtMostFourLibraries) {
    std::string lines;
    for (const char *name : {"one", "two", "three", "four"}) {
        add_library("complete", name);
        lines += std::string(name) + "\n";
    }
    list(lines + "not there\nnor this\n");
    ASSERT_EQ(gl_init_glu(&error), 0);
    EXPECT_EQ(handleglu[3].path, tree / "vrn/dll/four");
    EXPECT_STREQ(record_of(handleglu[2].handle)->calls, "");
    EXPECT_STRNE(record_of(handleglu[3].handle)->calls, "");
    EXPECT_EQ(gl_unload_glu(), 0);
    for (const qbnx_library &library : handleglu) EXPECT_EQ(library.handle, nullptr);
}

TEST_F(Extension, ReportsALibraryThatCannotBeClosed) {
    alignas(16) static char not_open[4096] = {}; // to the loader, a library with no reference left
    ASSERT_EQ(start("complete\n"), 0);
    handleglu[1] = {0, nullptr, not_open, static_cast<char *>(_gl_alloc_ptr(5))};
    memcpy(handleglu[1].path, "path", 5);
    testing::internal::CaptureStderr();
    EXPECT_EQ(gl_unload_glu(), -1);
    const std::string expected = "UnLoadLibraries: Error UnLoading SharedObject file\npath\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected + handleglu[1].error_text + "\n");
    EXPECT_EQ(handleglu[1].error, -1);
    EXPECT_EQ(handleglu[0].handle, nullptr);
}

TEST_F(Extension, IsForwardedTo) {
    gl_locale locale;
    memset(static_cast<void *>(&locale), 1, sizeof locale);
    locale.glu_handle[7] = &locale;
    EXPECT_EQ(glx_gluLoc(&locale, 7), &locale);
    EXPECT_EQ(glx_gluLoc(&locale, 8), nullptr);
    EXPECT_EQ(glx_gluLoc(&locale, -1), nullptr);

    const auto at = [](intptr_t address) { return reinterpret_cast<void *>(address); };
    EXPECT_EQ(glx_lc_close(at(1)), nullptr); // nothing is loaded
    EXPECT_EQ(glx_ucs32toucs(at(1), at(2), 3, at(4), 5), -1);
    EXPECT_EQ(glx_icuErrorName(7), nullptr);

    ASSERT_EQ(start("complete\n"), 0);
    const ExtensionRecord &seen = *record_of(handleglu[0].handle);
    const auto expect_arguments = [&](std::initializer_list<intptr_t> values) {
        EXPECT_TRUE(std::equal(values.begin(), values.end(), seen.arguments));
    };
    EXPECT_STREQ(glx_icuErrorName(7), "seven");
    EXPECT_EQ(glx_getICULocName(nullptr), nullptr);
    EXPECT_EQ(glx_getICUCvtName(nullptr), nullptr);
    EXPECT_EQ(glx_getICULocName(at(1)), at(2));
    EXPECT_EQ(glx_getICUCvtName(at(1)), at(3));
    EXPECT_EQ(glx_lc_open(at(1), at(2), at(3)), &seen);
    expect_arguments({1, 2, 3});
    EXPECT_EQ(glx_lc_close(at(4)), &seen);
    expect_arguments({4});
    EXPECT_EQ(glx_ucs32tombs(at(1), at(2), -3, at(4), 5, at(6)), 41);
    expect_arguments({1, 2, -3, 4, 5, 6});
    EXPECT_EQ(glx_ucs32toucs(at(5), at(4), 3, at(2), -1), 42);
    expect_arguments({5, 4, 3, 2, -1});
}

TEST_F(Extension, SurvivesEveryFault) {
    for (const char *lines : {"complete\n", "without_getmb\ncomplete\n", "without_getmb\n", "text\n", ""}) {
        SCOPED_TRACE(lines);
        list(lines);
        const bool can_start = strstr(lines, "complete") != nullptr;
        for (const Operation operation : {Operation::allocate, Operation::open}) {
            for_each_fault(operation, [&](const Faults &faults) {
                error = UNTOUCHED;
                const int result = gl_init_glu(&error);
                EXPECT_EQ(result, can_start && !faults.hit() ? 0 : -1);
                // Without the memory for its text, an error is still the same error.
                const int number = operation == Operation::allocate ? GL_ENOMEM : GL_ENOFILE;
                EXPECT_TRUE(result == 0 || error == (can_start ? number : GL_ENOFILE) || (error == number && faults.hit()))
                    << error;
                EXPECT_EQ(pMap != nullptr, result == 0);
                EXPECT_EQ(gl_unload_glu(), 0);
            });
        }
    }
}

TEST_F(Extension, SurvivesARegistryThatIsCutAnywhere) {
    add_library("complete", "x");
    const std::string lines = "complete\nx\ncomplete\n";
    const Faults faults; // for its count of blocks
    for (size_t length = 0; length <= lines.size(); ++length) {
        const std::string cut = lines.substr(0, length);
        list(cut);
        const std::string last = cut.substr(cut.empty() ? 0 : cut.rfind('\n', cut.size() - 2) + 1);
        const bool names_library = last.starts_with("complete") || last.starts_with("x");
        SCOPED_TRACE(cut);
        EXPECT_EQ(gl_init_glu(nullptr), names_library ? 0 : -1);
        gl_unload_glu();
        EXPECT_EQ(faults.blocks(), 0U);
    }
}

TEST(Registry, GivesAPathForEveryLine) {
    const std::string big(5000, 'n');
    const auto file = stream_of("a\n\n b \n" + big + "\nlast");
    char *path = nullptr;
    uint32_t capacity = 0;
    for (const std::string &name : {std::string("a"), std::string(), std::string(" b "), big, std::string("last")}) {
        EXPECT_EQ(qbgl::get_dl_name(file.get(), "/base", &path, &capacity), 0);
        EXPECT_EQ(path, "/base/vrn/dll/" + name);
    }
    EXPECT_GE(capacity, big.size());
    EXPECT_EQ(qbgl::get_dl_name(file.get(), "/base", &path, &capacity), 0);
    EXPECT_EQ(path, nullptr);

    for_each_fault(Operation::allocate, [&](const Faults &faults) {
        const auto stream = stream_of(big);
        const int result = qbgl::get_dl_name(stream.get(), "/base", &path, &capacity);
        EXPECT_EQ(result, faults.hit() ? -1 : 0);
        EXPECT_EQ(path == nullptr, faults.hit());
        _gl_free_ptr(path);
        path = nullptr;
    });
}

TEST(Loader, KeepsErrorsAndPathInTheRecord) {
    const std::string complete = std::string(LIBRARIES) + "complete.so";
    for_each_fault(Operation::allocate, [&](const Faults &faults) {
        qbnx_library library = {};
        void *pointer = &library;
        const auto expect_failure = [&](int result, int number, const char *text) {
            EXPECT_EQ(result, -1);
            EXPECT_EQ(library.error, number);
            if (library.error_text != nullptr)
                EXPECT_NE(strstr(library.error_text, text), nullptr) << library.error_text;
            else
                EXPECT_TRUE(faults.hit());
        };
        expect_failure(qbnx_dlsym(&library, &pointer, "glu_mblen"), -2, "Internal Error");
        EXPECT_EQ(pointer, nullptr);
        expect_failure(qbnx_dlclose(&library), -2, "Internal Error");
        if (qbnx_dlopen(&library, "/not/there", -99) != 0 && library.path != nullptr) expect_failure(-1, -1, "/not/there");
        if (qbnx_dlopen(&library, complete.c_str(), -99) == 0) {
            EXPECT_EQ(library.path, complete);
            EXPECT_NE(dlsym(RTLD_DEFAULT, "extension_record"), nullptr) << "not opened as global";
            EXPECT_EQ(qbnx_dlsym(&library, &pointer, "glu_mblen"), 0);
            EXPECT_EQ(pointer, dlsym(library.handle, "glu_mblen"));
            expect_failure(qbnx_dlsym(&library, &pointer, "glu_nothing"), -1, "glu_nothing");
            EXPECT_EQ(pointer, nullptr);
            expect_failure(qbnx_dlsym(&library, &pointer, nullptr), -2, "Internal Error");
            EXPECT_EQ(qbnx_dlclose(&library), 0);
            EXPECT_TRUE(library.handle == nullptr && library.path == nullptr);
        } else {
            EXPECT_TRUE(faults.hit());
        }
        errno = 71;
        EXPECT_EQ(qbnx_dlerror(&library), 71);
        EXPECT_EQ(library.error, -1);
        EXPECT_EQ(library.error_text, nullptr); // the loader has nothing to tell
        _gl_free_ptr(library.path);
    });
}

} // namespace
