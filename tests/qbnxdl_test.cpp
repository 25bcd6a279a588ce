#include "ext/error.h"
#include "extension/extension.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/libraries.h"
#include "qbnxdl/registry.h"
#include "support/faults.h"
#include "support/files.h"
#include "util/log.h"

#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <latch>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace {

using namespace qbgl_test;
using qbgl::fn_glu_getmb;
using qbgl::fn_glu_mbtouc;

constexpr int UNTOUCHED = 99;
constexpr const char *LIBRARIES = QBGL_BINARY_DIR "/extension/";

const ExtensionRecord &record_of(void *handle) {
    return *reinterpret_cast<ExtensionRecord *(*)()>(dlsym(handle, "extension_record"))();
}

// An installation directory of its own with the libraries in it; the extension is wanted, and the log switched on.
class Extension : public testing::Test {
  protected:
    Extension() {
        for (const char *name : {"complete", "without_getmb", "newer"}) add_library(name, name);
        put("dll/text", "no library\n");
        EXPECT_EQ(mkfifo((tree / "vrn/dll/fifo").c_str(), 0600), 0);
        put("etc/icu.dat", "0");
        put("etc/locmap", "-1");
        qbgl::vrn_debug_initialized = qbgl::vrn_logging = glu_capable = 1;
    }
    ~Extension() override {
        drop();
        glu_capable = unicode_collate = qbgl::vrn_logging = 0;
    }

    void add_library(const std::string &variant, const std::string &name) const {
        write_file(tree / ("vrn/dll/" + name), read_file(LIBRARIES + variant + ".so"));
    }
    // Null: there is no such file.
    void put(const std::string &name, const char *content) const {
        std::filesystem::remove(tree / ("vrn/" + name));
        if (content != nullptr) write_file(tree / ("vrn/" + name), content);
    }
    int start(const char *registry) {
        put("etc/dllregistry", registry);
        error = UNTOUCHED;
        return gl_init_glu(&error);
    }
    // Also what an attempt that failed has left, which a host leaves to the next one.
    static void drop() {
        gl_unload_glu();
        qbgl::unload_data();
        qbgl::close_libraries();
        for (qbnx_library &library : handleglu) {
            _gl_free_ptr(library.path);
            _gl_free_ptr(library.error_text);
            library = {};
        }
    }
    std::string take_log() const {
        const std::string log = read_file(tree / "vrn.log");
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
    for (const int capable : {0, 1, 2, 3, 65537}) {
        for (const char *value : {(const char *)nullptr, "", "3", "12", "x2", "4294967297", "1"}) {
            SCOPED_TRACE(testing::Message() << capable << " " << (value != nullptr ? value : "unset"));
            const bool can = capable == 1 || capable == 2, wanted = can && value != nullptr && strcmp(value, "1") == 0;
            const ScopedEnv asked("GL_USEGLU", value);
            gl_useglu(capable);
            unicode_collate = 5;
            EXPECT_EQ(start("not there\n"), wanted ? -1 : 0);
            EXPECT_EQ((std::tuple{error, unicode_collate, glu_capable}),
                      std::tuple(wanted ? GL_ENOFILE : UNTOUCHED, wanted, capable));
            const std::string end = can ? "glu_capable\ngl_init_glu_dll: End\n" : "No glu_capable\n";
            EXPECT_EQ(take_log().ends_with("gl_init_glu_dll: Begin\ngl_init_glu_dll: " + end + "gl_init_glu: End\n"), !wanted);
        }
    }
}

TEST_F(Extension, LoadingDependsOnWhatIsInstalled) {
    const std::string failed = "gl_init_glu: loading DLLs error\n", done = "locmap\ngl_init_glu: End\n",
                      missing = "gl_init_glu_dll: End icudata qbnx_dlsym error\n" + failed,
                      allowed = "gl_init_glu_dll: Error Loading DLLs allowed\ngl_init_glu: End\n";
    using Case =
        std::tuple<const char *, int, const char *, std::string>; // the registry (null: none), what host and environment say
    const Case CASES[] = {
        {nullptr, 2, "2", "gl_init_glu_dll: cannot open dllregistry\n" + failed},
        {"", 2, "2", missing},
        {"absent\n", 2, "2", failed}, // tolerated only when it is there
        {"\n", 2, "2", allowed},      // the directory itself
        {"text", 2, "1", failed},
        {"fifo", 2, "1", failed},
        {"text", 1, "2", failed},
        {"complete\ntext\n", 2, "2", allowed},
        {"complete\nwithout_getmb\n", 1, "1", missing}, // the last one has the symbols
        {"newer\n", 1, "1", "gl_init_glu_dll: End extension of a newer version\n" + failed},
        {"complete \n", 1, "1", failed}, // no trimming
        {"# complete\n", 1, "1", failed},
        {"without_getmb\ncomplete\n", 1, " 2x", done},
    };
    for (const auto &[registry, capable, told, last_message] : CASES) {
        SCOPED_TRACE(testing::Message() << (registry != nullptr ? registry : "none") << capable << told);
        const ScopedEnv asked("GL_USEGLU", told);
        glu_capable = capable;
        const bool given_up = last_message == allowed, started = last_message == done;
        const int result = start(registry);
        EXPECT_EQ((std::tuple{result, error}), given_up || started ? std::tuple(0, UNTOUCHED) : std::tuple(-1, int{GL_ENOFILE}));
        EXPECT_EQ((std::tuple{unicode_collate, glu_capable}), given_up ? std::tuple(0, 0) : std::tuple(1, capable));
        EXPECT_EQ(pMap != nullptr, started);
        EXPECT_TRUE(take_log().ends_with(last_message));
        EXPECT_EQ(gl_init_glu(nullptr), result); // and again, over what the first attempt has left
        const auto entry_point = fn_glu_mbtouc;
        EXPECT_EQ(gl_unload_glu(), 0); // does nothing without a map
        EXPECT_EQ(fn_glu_mbtouc, started ? nullptr : entry_point);
        drop();
    }
}

TEST_F(Extension, ResolvesWhatIsThereWhenAnEntryPointIsMissing) {
    qbnx_library empty = {};
    EXPECT_EQ(qbgl::resolve_entry_points(&empty), 81); // 79 names, two of them twice
    _gl_free_ptr(empty.error_text);
    EXPECT_EQ(start("without_getmb\n"), -1);
    EXPECT_EQ(fn_glu_getmb, nullptr);
    EXPECT_NE(qbgl::fn_glu_setMessageSubLevel, nullptr); // the last name, after the missing one
    EXPECT_EQ(handleglu[0].error, -1);
    EXPECT_NE(strstr(handleglu[0].error_text, "glu_getmb"), nullptr);

    EXPECT_EQ(start("complete\n"), 0); // repaired: the next attempt takes the place of this one
    EXPECT_NE(fn_glu_getmb, nullptr);
    EXPECT_EQ(handleglu[0].error_text, nullptr);
    EXPECT_EQ(dlopen((tree / "vrn/dll/without_getmb").c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

TEST_F(Extension, IsTriedByOneOfTheThreadsThatComeTogether) {
    qbgl::vrn_logging = 0;
    for (const auto &[registry, result, number] :
         {std::tuple("without_getmb\n", -1, int{GL_ENOFILE}), {"complete\n", 0, UNTOUCHED}}) {
        put("etc/dllregistry", registry);
        for (int round = 0; round < 20; ++round) {
            std::vector<std::thread> threads;
            std::latch together(6);
            for (int i = 0; i < 6; ++i) {
                threads.emplace_back([&, result = result, number = number] {
                    int own_error = UNTOUCHED;
                    together.arrive_and_wait();
                    EXPECT_EQ(gl_init_glu(&own_error), result);
                    EXPECT_EQ(own_error, number);
                });
            }
            for (std::thread &thread : threads) thread.join();
            drop();
        }
    }
}

TEST_F(Extension, StartsOnceStopsAndStartsAgain) {
    const std::string library = tree / "vrn/dll/complete", etc = tree / "vrn/etc/";
    void *const kept = dlopen(library.c_str(), RTLD_NOW);
    ASSERT_NE(kept, nullptr);
    const ExtensionRecord &seen = record_of(kept);
    ASSERT_EQ(start("complete\n"), 0);
    const std::string log = take_log();
    for (const std::string &part : {"Loading library:\n" + library + "\n", "Opened: " + etc + "icu.dat\nextension: loading\n",
                                    "Loading Map data:\nOpened: " + etc + "locmap\ngl_init_glu: End\n"})
        EXPECT_NE(log.find(part), std::string::npos) << part;
    const std::string started = "data " + etc + "icu.dat map " + etc + "locmap ";
    EXPECT_EQ(seen.calls, started);
    EXPECT_EQ((std::tuple{seen.malloc, seen.calloc, seen.realloc, seen.free, seen.fgetc}),
              std::make_tuple(_gl_ext_malloc, _gl_ext_calloc, _gl_ext_realloc, _gl_ext_free, _gl_ext_fgetc));
    EXPECT_EQ((std::tuple{seen.fseek, seen.ftell, seen.ferror, seen.feof}),
              std::make_tuple(_gl_ext_fseek, _gl_ext_ftell, _gl_ext_ferror, _gl_ext_feof));
    EXPECT_EQ((std::tuple{seen.print, seen.message_level, seen.message_sublevel}), std::make_tuple(gl_message, 65535, 1));
    EXPECT_EQ(glx_gluMap(), pMap);

    glu_capable = 0; // no longer looked at
    EXPECT_EQ(gl_init_glu(&error), 0);
    EXPECT_EQ(take_log(), "gl_init_glu: Begin\n");
    glu_capable = 1;
    EXPECT_EQ(gl_init_glu_dll(&error), 0); // the same library again: data and map stay
    EXPECT_EQ(seen.calls, started);

    EXPECT_EQ(gl_unload_glu(), 0);
    EXPECT_EQ(seen.calls, started + "unload-data unload-map ");
    EXPECT_EQ((std::tuple{pMap, glu_cudata_t, unicode_collate}), std::make_tuple(nullptr, nullptr, 0));
    dlclose(kept);
    EXPECT_EQ(dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "a reference is left";

    EXPECT_EQ(gl_init_glu(&error), 0);
    EXPECT_EQ(record_of(handleglu[0].handle).calls, started);
}

TEST_F(Extension, ReportsWhatItsFilesLack) {
    using Case = std::tuple<const char *, const char *, const char *, int, const char *>; // null: no such file
    for (const auto &[data_name, data, map, number, last_message] :
         {Case{nullptr, "0", "0", GL_ENOFILE, "gl_init_glu: End icudata not loaded, could not get icudata file name\n"},
          Case{"icu.dat", nullptr, "0", GL_ENOFILE, "gl_init_glu: End icudata not loaded, icudata file not found\n"},
          Case{"a-name-that-fills-the-whole-buffer", "0", "0", GL_ENOFILE, "icudata file not found\n"},
          Case{"icu.dat", "57", "0", 57, "gl_init_glu: End icudata not loaded\n"},
          Case{"icu.dat", "0", nullptr, GL_ENOFILE, "gl_init_glu: End pMap not loaded locmap file not found\n"},
          Case{"icu.dat", "-5", "1", 1, "gl_init_glu: End pMap not loaded\n"}}) {
        const ScopedEnv name("EXTENSION_DATA_FILE", data_name);
        put("etc/icu.dat", data);
        put("etc/locmap", map);
        EXPECT_EQ((std::tuple{start("complete\n"), error, pMap}), std::tuple(-1, number, nullptr));
        EXPECT_TRUE(take_log().ends_with(last_message)) << last_message;
        void *const kept = glu_cudata_t; // for the next attempt
        EXPECT_EQ(kept != nullptr, strstr(last_message, "pMap") != nullptr);
        EXPECT_EQ(gl_init_glu(nullptr) + gl_unload_glu(), -1);
        EXPECT_EQ(glu_cudata_t, kept);
        drop();
    }
}

TEST_F(Extension, KeepsItsDataForNoOtherLibrary) {
    add_library("complete", "other");
    for (const auto &[registry, result] : {std::pair("other\n", 0), std::pair("text\n", -1)}) {
        put("etc/locmap", nullptr);
        EXPECT_EQ(start("complete\n"), -1);
        void *const kept = dlopen(handleglu[0].path, RTLD_NOW);
        put("etc/locmap", "0");
        EXPECT_EQ(start(registry), result);
        EXPECT_TRUE(std::string_view(record_of(kept).calls).ends_with("unload-data "));
        drop();
        dlclose(kept);
    }
}

TEST_F(Extension, UsesAtMostFourLibraries) {
    for (const char *name : {"one", "two", "three", "four"}) add_library("complete", name);
    ASSERT_EQ(start("one\ntwo\nthree\nfour\nnot there\nnor this\n"), 0);
    EXPECT_EQ(handleglu[3].path, tree / "vrn/dll/four");
    EXPECT_STREQ(record_of(handleglu[2].handle).calls, "");
    EXPECT_STRNE(record_of(handleglu[3].handle).calls, "");
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

TEST_F(Extension, HasAHandleForEachCategory) {
    gl_locale locale;
    memset(static_cast<void *>(&locale), 1, sizeof locale);
    locale.glu_handle[7] = &locale;
    EXPECT_EQ(glx_gluLoc(&locale, 7), &locale);
    for (const int outside : {-1, 8}) EXPECT_EQ(glx_gluLoc(&locale, outside), nullptr);
}

TEST_F(Extension, SurvivesEveryFault) {
    const std::string long_name(5000, 'n'); // the room for the path grows
    for (const char *registry : {"without_getmb\ncomplete\n", "without_getmb\n", "text\n", "", long_name.c_str()}) {
        SCOPED_TRACE(std::string(registry, strnlen(registry, 80)));
        const bool can_start = strstr(registry, "complete") != nullptr;
        for (const Operation operation : {Operation::allocate, Operation::open}) {
            const int number = operation == Operation::allocate ? GL_ENOMEM : GL_ENOFILE;
            for_each_fault(operation, [&](const Faults &faults) {
                const int result = start(registry);
                EXPECT_EQ(result, can_start && !faults.hit() ? 0 : -1);
                // Without the memory for its text, an error is still the same error.
                EXPECT_TRUE(result == 0 || (faults.hit() && error == number) || (!can_start && error == GL_ENOFILE)) << error;
                EXPECT_EQ(pMap != nullptr, result == 0);
                drop();
            });
        }
    }
}

TEST(Loader, KeepsErrorsAndPathInTheRecord) {
    qbnx_library library = {};
    void *pointer = &library;
    const auto expect_failure = [&](int result, int number, const std::string &text) {
        EXPECT_EQ(result, -1);
        EXPECT_EQ(library.error, number);
        EXPECT_NE(std::string(library.error_text).find(text), std::string::npos);
    };
    expect_failure(qbnx_dlsym(&library, &pointer, "glu_mblen"), -2, "Internal Error");
    expect_failure(qbnx_dlopen(&library, "/not/there", -99), -1, "/not/there");
    expect_failure(qbnx_dlclose(&library), -2, "Internal Error");
    const std::string complete = std::string(LIBRARIES) + "complete.so";
    ASSERT_EQ(qbnx_dlopen(&library, complete.c_str(), -99), 0);
    EXPECT_EQ(library.path, complete);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "extension_record"), nullptr) << "not opened as global";
    expect_failure(qbnx_dlsym(&library, &pointer, "glu_nothing"), -1, "glu_nothing");
    EXPECT_EQ(pointer, nullptr);
    EXPECT_EQ(qbnx_dlclose(&library), 0);
    errno = 71;
    EXPECT_EQ(qbnx_dlerror(&library), 71);
    EXPECT_EQ((std::tuple{library.handle, library.path, library.error, library.error_text}),
              std::make_tuple(nullptr, nullptr, -1, nullptr));
}

} // namespace
