// Runs an extension library through the contract of qbgl_extension.h: every entry point, with good and hostile arguments, rooms of
// every size in front of memory that may not be touched, memory that runs out, several threads, and a second loading.
//
//     extension_conformance TREE LOCALE [SOURCE:TARGET ...]        the extension that TREE/vrn/etc/dllregistry lists last
//     extension_conformance --cold TREE LOCALE ...                 the same with every request of memory refused to a fresh process
//     extension_conformance --faults TREE LOCALE SOURCE:TARGET     the same with a fault planted in each entry point: the run must
//     fail
#include "qbgl_extension.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using std::string;
using std::u16string;
using std::u32string;
using std::vector;

// ---------------------------------------------------------------------------------------------------------------------------------
// What is told of a breach
// ---------------------------------------------------------------------------------------------------------------------------------

thread_local const char *entry = "loading"; // the entry point that was called last
thread_local string context;                // with what
std::atomic<int> breaches = 0;
bool quiet = false;
constexpr int MOST_TOLD = 40, NO_FAULT = 100;

string shown(long long value) { return std::to_string(value); }
string shown(const string &bytes) {
    string text;
    for (const unsigned char byte : bytes) text += "0123456789abcdef"[byte >> 4], text += "0123456789abcdef"[byte & 15];
    return '<' + text + '>';
}

void breach(const char *clause, const string &found) {
    if (quiet) _exit(1);
    if (++breaches > MOST_TOLD) return;
    fprintf(stderr, "%s: %s%s%s%s\n", entry, clause, context.empty() ? "" : " [", context.c_str(), context.empty() ? "" : "]");
    if (!found.empty()) fprintf(stderr, "    %s\n", found.c_str());
}
void expect(bool holds, const char *clause) {
    if (!holds) breach(clause, "");
}
void expect_equal(long long found, long long expected, const char *clause) {
    if (found != expected) breach(clause, "is " + shown(found) + ", should be " + shown(expected));
}
void expect_equal(const string &found, const string &expected, const char *clause) {
    if (found != expected) breach(clause, "is " + shown(found) + ", should be " + shown(expected));
}

void die_of_signal(int number) {
    if (!quiet) dprintf(2, "%s: touches memory that it was not given, or dies (signal %d)\n", entry, number);
    _exit(3);
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Memory in front of a page that may not be touched, and the host's functions
// ---------------------------------------------------------------------------------------------------------------------------------

class Guarded {
  public:
    explicit Guarded(size_t size) : size_(size), pages_((size / PAGE + 1) * PAGE) {
        start_ = static_cast<char *>(mmap(nullptr, pages_ + PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (start_ == MAP_FAILED || mprotect(start_ + pages_, PAGE, PROT_NONE) != 0) abort();
        memset(start_, UNTOUCHED, pages_);
    }
    template <class Units> explicit Guarded(const Units &units) : Guarded(units.size() * sizeof units[0]) {
        memcpy(bytes(), units.data(), size_);
    }
    Guarded(const Guarded &) = delete;
    Guarded &operator=(const Guarded &) = delete;
    ~Guarded() { munmap(start_, pages_ + PAGE); }

    char *bytes() const { return start_ + pages_ - size_; }
    template <class Unit> Unit *as() const { return reinterpret_cast<Unit *>(bytes()); }
    template <class Unit> std::basic_string<Unit> taken(size_t count) const { return {as<Unit>(), count}; }

    static constexpr char UNTOUCHED = 0x5A;

  private:
    static constexpr size_t PAGE = 4096;
    size_t size_, pages_;
    char *start_;
};

std::atomic<long> live = 0, asked = 0, refuse_from = LONG_MAX, refuse_to = LONG_MAX; // blocks that are out, and requests, from 1

bool refused() { return ++asked >= refuse_from && asked <= refuse_to; }
void *host_malloc(uint32_t size) {
    void *const block = refused() ? nullptr : malloc(size);
    if (block != nullptr) ++live;
    return block;
}
void *host_calloc(uint32_t count, uint32_t size) {
    void *const block = refused() ? nullptr : calloc(count, size);
    if (block != nullptr) ++live;
    return block;
}
void *host_realloc(void *pointer, uint32_t size) {
    if (refused()) return nullptr;
    void *const block = realloc(pointer, size);
    if (pointer == nullptr && block != nullptr) ++live;
    return block;
}
void host_free(void *pointer) {
    if (pointer != nullptr) --live;
    free(pointer);
}

// A stream of the host's own kind: libc's functions know nothing of it.
struct HostStream {
    string bytes;
    size_t at = 0;
    bool fails = false;
};
int read_host_stream(void *stream) {
    auto &host = *static_cast<HostStream *>(stream);
    return host.at < host.bytes.size() ? static_cast<unsigned char>(host.bytes[host.at++]) : EOF;
}
HostStream &host_stream(FILE *stream) { return *reinterpret_cast<HostStream *>(stream); }
int host_fgetc(FILE *stream) { return read_host_stream(stream); }
int host_fseek(FILE *, int32_t, int) { return -1; }
long host_ftell(FILE *) { return -1; }
int host_ferror(FILE *stream) { return host_stream(stream).fails; }
int host_feof(FILE *stream) { return !host_stream(stream).fails && host_stream(stream).at == host_stream(stream).bytes.size(); }
void host_print(const char *text) { expect(text != nullptr && strchr(text, '\n') == nullptr, "a message is one line"); }

// ---------------------------------------------------------------------------------------------------------------------------------
// The extension
// ---------------------------------------------------------------------------------------------------------------------------------

enum class Fault {
    RESULT,   // the result is another one; what has none does nothing
    NO_ERROR, // the error is not told
    LENGTH,   // lengths, rooms and counts are taken for one more
    LOCALE,   // the C library's locale is changed
};

#define POINTER(name) name##_fn *name = nullptr;
struct EntryPoints {
    QBGL_EXTENSION_ENTRY_POINTS(POINTER) QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(POINTER)
} x;

void *library, *data, *map, *l; // `l` is the locale's handle
string etc, data_path, library_path, locale_name;
vector<std::pair<int, int>> pairs;

thread_local int16_t error;
std::pair<int, int> to_plant; // the number of an entry point, 0 for none, and a fault

bool plant(int index, Fault fault);

// Calls an entry point; the first kind ends its arguments with an error cell.
#define ASK(name, ...) (entry = #name, error = 0, x.name(__VA_ARGS__, &error))
#define CALL(name, ...) (entry = #name, x.name(__VA_ARGS__))

template <class Result> long long number_of(Result result) {
    if constexpr (std::is_pointer_v<Result> || std::is_null_pointer_v<Result>)
        return reinterpret_cast<intptr_t>(static_cast<const void *>(result));
    else
        return static_cast<long long>(result);
}
template <class Result, class Failing> void expect_failure(Result found, Failing failing, int number, const char *clause) {
    expect_equal(number_of(found), number_of(failing), clause);
    if (error != number) breach(clause, "error " + shown(error) + ", should be " + shown(number));
}
template <class Result, class Expected> void expect_result(Result found, Expected expected, const char *clause) {
    expect_failure(found, expected, 0, clause);
}

bool load() {
    library = dlopen(library_path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) return breach(dlerror(), ""), false;
#define RESOLVE(name) x.name = reinterpret_cast<name##_fn *>(dlsym(library, #name));
#define DEMAND(name) RESOLVE(name) if (x.name == nullptr) return breach(#name " is missing", ""), false;
    QBGL_EXTENSION_ENTRY_POINTS(DEMAND)
    QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(RESOLVE)
    if (to_plant.first != 0 && !plant(to_plant.first, static_cast<Fault>(to_plant.second))) _exit(NO_FAULT);
    return true;
}

void hand_over() {
    CALL(glu_setMallocFunc, host_malloc), CALL(glu_setCallocFunc, host_calloc), CALL(glu_setReallocFunc, host_realloc);
    CALL(glu_setFreeFunc, host_free), CALL(glu_setFgetcFunc, host_fgetc), CALL(glu_setFseekFunc, host_fseek);
    CALL(glu_setFtellFunc, host_ftell), CALL(glu_setFerrorFunc, host_ferror), CALL(glu_setFeofFunc, host_feof);
    CALL(glu_setPrintMessageFunc, host_print), CALL(glu_setMessageLevel, 65535), CALL(glu_setMessageSubLevel, 1);
    char name[33] = {};
    expect(CALL(glu_getIcuDataFileName, name, 32) == 0, "tells a name in 32 bytes");
    data_path = etc + name;
}

void start() {
    hand_over();
    int status = 0;
    data = CALL(glu_loadIcuData, data_path.c_str(), 0, &status);
    expect(data != nullptr && status == 0, "loads the data of the tree");
    map = CALL(glu_loadMapData, (etc + "locmap").c_str(), &status);
    expect(map != nullptr && status == 0, "loads the map of the tree");
    l = ASK(glu_lc_open, locale_name.c_str(), map);
    expect(l != nullptr && error == 0, "opens a locale of the map");
    entry = "glu_setMallocFunc";
    expect(live > 0, "memory comes from the host's functions");
    if (x.glu_extension_version != nullptr)
        expect_equal((CALL(glu_extension_version) / 100), QBGL_EXTENSION_VERSION_MAJOR, "the major version of the contract");
}

void stop() {
    expect(CALL(glu_lc_close, l) == nullptr, "returns null");
    CALL(glu_unloadIcuData, std::exchange(data, nullptr));
    CALL(glu_unloadMapData, std::exchange(map, nullptr));
    expect_equal(live.load(), 0L, "the last unloading gives back all memory of the host's");
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Texts
// ---------------------------------------------------------------------------------------------------------------------------------

struct Character {
    gl_wchar value;
    string bytes;
    u16string units;
};
using Text = vector<Character>;

u16string in_units(gl_wchar wc) {
    if (wc < 0x10000) return {static_cast<char16_t>(wc)};
    return {static_cast<char16_t>(0xD7C0 + (wc >> 10)), static_cast<char16_t>(0xDC00 | (wc & 0x3FF))};
}
// Of the first `count` characters.
string bytes_of(const Text &text, size_t count = SIZE_MAX) {
    string bytes;
    for (size_t i = 0; i < std::min(count, text.size()); ++i) bytes += text[i].bytes;
    return bytes;
}
u16string units_of(const Text &text) {
    u16string units;
    for (const Character &character : text) units += character.units;
    return units;
}
u32string values_of(const Text &text) {
    u32string values;
    for (const Character &character : text) values += static_cast<char32_t>(character.value);
    return values;
}
const gl_wchar *wide(const Guarded &text) { return text.as<const gl_wchar>(); }
const uint16_t *units(const Guarded &text) { return text.as<const uint16_t>(); }

vector<Character> characters; // of the codeset: those of ASCII, and some others
vector<Text> texts;
vector<string> no_characters; // bytes that begin none
string nul;

// The first three by way of the values, as everything else is compared with them.
void find_characters() {
    nul.assign(static_cast<size_t>(std::max(CALL(glu_mb_loc_min, l), 1)), '\0');
    constexpr gl_wchar VALUES[] = {'A',    'B',    'a',    'b',     'z',     'Z',     '1',     ' ',    '-',    '.',
                                   '\t',   '\n',   1,      0x7F,    0xE4,    0xC4,    0xDF,    0xE9,   0x10D,  0x161,
                                   0x17E,  0x3B1,  0x3A9,  0x416,   0x436,   0x5D0,   0xE01,   0x20AC, 0x3042, 0x65E5,
                                   0x672C, 0xAC00, 0xFF21, 0x10400, 0x1F600, 0x20000, 0x10FFFD};
    for (const gl_wchar value : VALUES) {
        context = "value " + shown(value);
        const Guarded room(static_cast<size_t>(CALL(glu_mb_loc_max, l)));
        const int length = ASK(glu_uc32tomb, l, room.bytes(), value);
        if (length > 0)
            characters.push_back({value, room.taken<char>(static_cast<size_t>(length)), in_units(value)});
        else
            expect_failure(length, -1, GL_EILSEQ, "a value that the codeset has not got");
        expect(length > 0 || value > 0x7F, "the codeset has ASCII");
    }
    context.clear();
    const auto known = [](gl_wchar value) {
        return std::find_if(characters.begin(), characters.end(), [=](const Character &c) { return c.value == value; });
    };
    for (const char32_t *const values :
         {U"", U"a", U"b", U"B", U"A b  ", U"ab", U"Abz-1.a", U"\xE4z", U"a\x10D", U" \x17E\x161 ", U"\x65E5\x672C",
          U"z\x1F600\x416", U"  ", U"\x10FFFDz\xE9\x20AC", U"aB\t \n ", U"\x1\xDF\x3B1\x3042"}) {
        Text text;
        for (const char32_t value : u32string(values))
            if (const auto found = known(value); found != characters.end()) text.push_back(*found);
        texts.push_back(text);
    }
    Text everything;
    for (int i = 0; i < 12; ++i) everything.insert(everything.end(), characters.begin(), characters.end());
    texts.push_back(everything);
    for (const char *bytes :
         {"\x80", "\xFF", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\x41\x41", "\xC3("}) {
        gl_wchar value;
        if (ASK(glu_mbtouc32, l, &value, bytes, static_cast<int>(strlen(bytes))) == -1 && error == GL_EILSEQ)
            no_characters.push_back(bytes);
    }
}

// What every entry point does that takes a locale and a text: with a null locale, with no text, with a text that is none.
template <class Ask> void expect_guards(Ask ask, int failing, bool null_fails = true) {
    expect_failure(ask(nullptr, "a"), failing, GL_ENULLPTR, "a null locale");
    if (null_fails) expect_failure(ask(l, static_cast<const char *>(nullptr)), failing, GL_ENULLPTR, "a null text");
    for (const string &bytes : no_characters) {
        context = shown(bytes);
        const Guarded text(bytes + nul);
        expect_failure(ask(l, static_cast<const char *>(text.bytes())), failing, GL_EILSEQ, "bytes that are no character");
    }
    context.clear();
}

// ---------------------------------------------------------------------------------------------------------------------------------
// The clauses, by sections of the header
// ---------------------------------------------------------------------------------------------------------------------------------

void check_files() {
    for (int size = 0; size <= 32; ++size) {
        const Guarded room(static_cast<size_t>(size));
        if (CALL(glu_getIcuDataFileName, room.bytes(), size) == 0)
            expect(memchr(room.bytes(), 0, static_cast<size_t>(size)) != nullptr, "the name is terminated within the room");
    }
    expect(CALL(glu_getIcuDataFileName, nullptr, 0) != 0, "no room");
    for (const int code : {0, 1, 15, -1, INT_MAX}) expect(CALL(glu_icuErrorName, code) != nullptr, "never null");
    const auto expect_refused = [](void *handle, int status) {
        expect(handle == nullptr && status > 0, "a path that does not lead to a file");
    };
    int status = 0;
    for (const char *path : {static_cast<const char *>(nullptr), "/nowhere/at/all"}) {
        void *handle = CALL(glu_loadIcuData, path, 0, &status);
        expect_refused(handle, std::exchange(status, 0));
        handle = CALL(glu_loadMapData, path, &status);
        expect_refused(handle, std::exchange(status, 0));
        expect(CALL(glu_loadMapData, path, nullptr) == nullptr, "a null cell");
        expect(CALL(glu_loadIcuData, path, 0, nullptr) == nullptr, "a null cell");
    }
    CALL(glu_unloadIcuData, nullptr), CALL(glu_unloadMapData, nullptr);
}

void check_locales() {
    for (const int category : {GL_CAT_CTYPE, GL_CAT_COLLATE})
        expect_equal((CALL(glu_useIcuLocCall, locale_name.c_str(), category)), 1L, "serves what the map says");
    for (const int category : {-1, 0, 8, INT_MAX})
        expect_equal((CALL(glu_useIcuLocCall, locale_name.c_str(), category)), 0L, "no category");
    for (const char *name : {static_cast<const char *>(nullptr), "", "xx_nowhere/ffff.lco", locale_name.c_str() + 1}) {
        expect_equal((CALL(glu_useIcuLocCall, name, GL_CAT_CTYPE)), 0L, "a name that is not in the map");
        expect_failure(ASK(glu_lc_open, name, map), nullptr, name != nullptr ? GL_ENOFILE : GL_ENULLPTR,
                       "a name that is not in the map");
    }
    expect_failure(ASK(glu_lc_open, locale_name.c_str(), nullptr), nullptr, GL_ENULLPTR, "a null map");
    expect(CALL(glu_lc_open, locale_name.c_str(), nullptr, nullptr) == nullptr, "a null cell");
    expect_failure(ASK(glu_lc_clone, nullptr), nullptr, GL_ENULLPTR, "a null locale");
    expect(CALL(glu_lc_close, nullptr) == nullptr, "a null locale");
    expect(CALL(glu_getICULocName, nullptr) == nullptr, "a null locale");
    const char *const name = CALL(glu_getICULocName, l);
    expect(name != nullptr && *name != '\0', "a name");
    expect_equal((CALL(glu_mb_loc_max, nullptr)), -1L, "a null locale");
    expect_equal((CALL(glu_mb_loc_min, nullptr)), -1L, "a null locale");
    size_t longest = 1;
    for (const Character &character : characters) longest = std::max(longest, character.bytes.size());
    expect(CALL(glu_mb_loc_max, l) <= 4 && static_cast<size_t>(CALL(glu_mb_loc_max, l)) >= longest,
           "the bytes of the longest character");
    expect_equal(static_cast<long>(CALL(glu_mb_loc_min, l)), static_cast<long>(characters[0].bytes.size()),
                 "the bytes of the shortest character");
    // Opened and closed again, handles leave nothing.
    long after_first = 0;
    for (int i = 0; i < 8; ++i) {
        void *const first = ASK(glu_lc_open, locale_name.c_str(), map);
        void *const second = ASK(glu_lc_clone, first);
        expect(first != nullptr && second != nullptr && first != second && error == 0, "a second handle");
        CALL(glu_lc_close, first);
        expect_result(ASK(glu_mblen, second, "a", 1), 1, "outlives the first handle");
        expect(CALL(glu_lc_close, second) == nullptr, "returns null");
        if (i == 1) after_first = live;
    }
    entry = "glu_lc_close";
    expect_equal(live.load(), after_first, "gives back the memory of a locale");
}

void check_characters() {
    for (const Character &c : characters) {
        const int length = static_cast<int>(c.bytes.size());
        const Guarded text(c.bytes), terminated(c.bytes + nul), room(c.bytes.size());
        context = shown(c.bytes);
        for (int n = -2; n <= length + 2; ++n) {
            gl_wchar value = 0;
            uint16_t in_utf16[2] = {};
            const Guarded &at = n == -1 ? terminated : text;
            const int decoded = ASK(glu_mbtouc32, l, &value, at.bytes(), n);
            if (n >= length || n == -1)
                expect_result(decoded, length, "the bytes of the character"), expect_equal(value, c.value, "its value");
            else
                expect_failure(decoded, -1, GL_EINVAL, "a length that is too short");
            const int split = ASK(glu_mbtouc, l, in_utf16, at.bytes(), n);
            if (n >= length || n == -1)
                expect_result(split, length, "the bytes of the character"),
                    expect(std::equal(c.units.begin(), c.units.end(), in_utf16), "its units");
            else
                expect_failure(split, -1, GL_EINVAL, "a length that is too short");
            const int measured = ASK(glu_mblen, l, text.bytes(), n);
            if (n >= length)
                expect_result(measured, length, "the bytes of the character");
            else
                expect_failure(measured, -1, GL_EINVAL, "a length that is too short");
            const char *const next = ASK(glu_mbsnext, l, text.bytes(), n);
            if (n >= length || n == -1)
                expect_result(next, text.bytes() + length, "behind the character");
            else
                expect_failure(next, nullptr, GL_EINVAL, "a length that is too short");
            const unsigned is_print = ASK(glu_ismctype, l, text.bytes(), n, ~0U);
            if (n >= length)
                expect_result(is_print, CALL(glu_isuc32type, c.value, ~0U), "both class tests agree");
            else if (n >= 0)
                expect_failure(is_print, 0, GL_EINVAL, "a length that is too short");
            char other[4];
            for (const bool upper : {true, false}) {
                const gl_wchar mapped = upper ? ASK(glu_uc32toupper, l, c.value) : ASK(glu_uc32tolower, l, c.value);
                const int packed =
                    upper ? ASK(glu_mbtoupper, l, other, text.bytes(), n) : ASK(glu_mbtolower, l, other, text.bytes(), n);
                if (n >= length) {
                    expect_result(packed >> 8, length, "the bytes read");
                    char bytes[4];
                    const int written = x.glu_uc32tomb(l, bytes, mapped, nullptr);
                    if (written > 0)
                        expect_equal(string(other, static_cast<size_t>(packed & 255)), string(bytes, static_cast<size_t>(written)),
                                     "the character that the value is mapped to");
                } else if (n >= 0)
                    expect_failure(packed, 0, GL_EINVAL, "a length that is too short");
            }
        }
        expect_result(ASK(glu_uctomb, l, room.bytes(), reinterpret_cast<const uint16_t *>(c.units.data())), length,
                      "the bytes of the character");
        expect_equal(room.taken<char>(c.bytes.size()), c.bytes, "its bytes");
    }
    context.clear();
    gl_wchar value = 1;
    uint16_t in_utf16[2] = {1, 1};
    const Guarded zeros(nul);
    const int bound = static_cast<int>(nul.size());
    expect_result(ASK(glu_mbtouc32, l, &value, zeros.bytes(), bound), 0, "the NUL character"),
        expect_equal(value, 0L, "the value of NUL");
    expect_result(ASK(glu_mbtouc, l, in_utf16, zeros.bytes(), bound), 0, "the NUL character"),
        expect_equal(in_utf16[0], 0L, "the unit of NUL");
    expect_result(ASK(glu_mblen, l, zeros.bytes(), bound), 0, "the NUL character");
    expect_result(ASK(glu_mbsnext, l, zeros.bytes(), -1), zeros.bytes() + bound, "behind the NUL character");
    expect_failure(ASK(glu_mbtouc32, l, &value, zeros.bytes(), -1), -1, GL_EINVAL, "an empty text");
    expect_failure(ASK(glu_mbtouc, l, in_utf16, zeros.bytes(), -1), -1, GL_EINVAL, "an empty text");
    expect_result(ASK(glu_mbtouc32, l, &value, nullptr, 1), 0, "a null text");
    expect_result(ASK(glu_mbtouc, l, in_utf16, nullptr, 1), 0, "a null text");
    expect_result(ASK(glu_mblen, l, nullptr, 1), 0, "a null text");
    expect_result(ASK(glu_mbtouc32, l, nullptr, "a", 1), 1, "a null place for the value");
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbtouc32, h, &value, s, 4); }, -1, false);
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbtouc, h, in_utf16, s, 4); }, -1, false);
    expect_guards([&](void *h, const char *s) { return ASK(glu_mblen, h, s, 4); }, -1, false);
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbsnext, h, s, -1); }, 0);
    expect_guards([&](void *h, const char *s) { return ASK(glu_ismctype, h, s, 4, GL_CLASS_ALPHA); }, 0);
    char bytes[4];
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbtoupper, h, bytes, s, 4); }, 0);
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbtolower, h, bytes, s, 4); }, 0);
    for (const gl_wchar none : {0xD800U, 0xDFFFU, 0x110000U, ~0U}) {
        expect_failure(ASK(glu_uc32tomb, l, bytes, none), -1, GL_EILSEQ, "a value that is no character");
        expect_equal((CALL(glu_isuc32type, none, ~0U)), 0L, "a value that is no character");
        expect_result(ASK(glu_uc32toupper, l, none), none, "a value that is no character stays");
        expect_result(ASK(glu_uc32tolower, l, none), none, "a value that is no character stays");
    }
    for (const std::array<uint16_t, 2> none : {std::array<uint16_t, 2>{0xD800, 'a'}, {0xDC00, 0xDC00}})
        expect_failure(ASK(glu_uctomb, l, bytes, none.data()), -1, GL_EILSEQ, "a lone surrogate");
    expect_failure(ASK(glu_uc32toupper, nullptr, '1'), '1', GL_ENULLPTR, "a null locale");
    expect_failure(ASK(glu_uc32tolower, nullptr, '1'), '1', GL_ENULLPTR, "a null locale");
    for (void *const h : {static_cast<void *>(nullptr), l}) {
        expect_failure(ASK(glu_uc32tomb, h, h != nullptr ? nullptr : bytes, 'a'), -1, GL_ENULLPTR, "a null argument");
        expect_failure(ASK(glu_uctomb, h, bytes, nullptr), -1, GL_ENULLPTR, "a null argument");
    }
    expect(x.glu_mbtouc32(l, &value, "a", 0, nullptr) == -1, "a null cell");
    for (const gl_wchar wc : {'a', 'b', 'z'}) {
        expect_result(ASK(glu_uc32toupper, l, wc), wc - 32, "the capital of a letter of ASCII");
        expect_result(ASK(glu_uc32tolower, l, wc - 32), wc, "the small letter of a capital of ASCII");
        expect_equal((CALL(glu_isuc32type, wc, GL_CLASS_LOWER | GL_CLASS_UPPER)), GL_CLASS_LOWER, "a small letter");
    }
    expect_equal((CALL(glu_isuc32type, ' ', GL_CLASS_BLANK | GL_CLASS_CNTRL | GL_CLASS_GRAPH)), GL_CLASS_BLANK, "the space");
}

// An entry point that goes from one form to another: with rooms of every size, counted and terminated.
//   ask       (room's address, room, text's address, length) -> result
//   target    the units of each character
//   measures  that it tells n + 1, or n, where the room ends it; otherwise what it has written
template <class Unit, class Source, class Ask>
void check_transfer(const Text &text, Ask ask, const vector<std::basic_string<Unit>> &target, const Source &source,
                    bool tells_full) {
    std::basic_string<Unit> all;
    for (const auto &piece : target) all += piece;
    Source with_end = source;
    with_end += typename Source::value_type{};
    if constexpr (sizeof(typename Source::value_type) == 1) with_end.append(nul.size() - 1, '\0');
    const size_t end_size = sizeof(Unit) == 1 ? nul.size() : 1;
    const Guarded counted(source), terminated(with_end);
    for (size_t room = 0; room <= all.size() + end_size + 1; room += all.size() > 60 && room + 9 < all.size() ? 7 : 1) {
        size_t fits = 0;
        for (const auto &piece : target) {
            if (fits + piece.size() > room) break;
            fits += piece.size();
        }
        for (const bool has_end : {false, true}) {
            context = shown(bytes_of(text)) + (has_end ? " terminated" : " counted") + ", room " + shown(room);
            const Guarded out(room * sizeof(Unit));
            const int length = has_end ? -1 : static_cast<int>(source.size());
            const int result = ask(out.as<Unit>(), static_cast<int>(room), has_end ? terminated.bytes() : counted.bytes(), length);
            const bool whole = fits == all.size() && (!has_end || fits + end_size <= room);
            const size_t told = whole || !tells_full ? fits : has_end ? room : room + 1;
            expect_result(result, static_cast<int>(told), "what it tells of what it wrote");
            expect(out.template taken<Unit>(fits) == all.substr(0, fits), "what it writes");
            if (has_end && whole) expect(out.template as<Unit>()[fits] == 0, "writes the terminator where there is room");
        }
    }
    context.clear();
}

template <class Ask> void check_transfer_of_bytes(Ask ask) {
    const auto plain = [&](void *h, const char *s) { return ask(h, s, -1); };
    expect_guards(plain, -1);
    expect_failure(ask(l, "a", -2), -1, GL_EBADARG, "a negative length");
    if (characters.back().bytes.size() > 1)
        expect_failure(ask(l, characters.back().bytes.c_str(), 1), -1, GL_EILSEQ, "a character that the length cuts");
}

void check_transfers() {
    for (const Text &text : texts) {
        vector<string> bytes;
        vector<u16string> pieces;
        vector<u32string> values;
        for (const Character &c : text)
            bytes.push_back(c.bytes), pieces.push_back(c.units), values.push_back({static_cast<char32_t>(c.value)});
        const u16string utf16 = units_of(text);
        const u32string ucs32 = values_of(text);
        const string mbs = bytes_of(text);
        check_transfer<char32_t>(
            text,
            [](auto *out, int n, const char *s, int len) {
                return ASK(glu_mbstoucs32, l, reinterpret_cast<gl_wchar *>(out), n, s, len);
            },
            values, mbs, true);
        check_transfer<char16_t>(
            text,
            [](auto *out, int n, const char *s, int len) {
                return ASK(glu_mbstoucs, l, reinterpret_cast<uint16_t *>(out), n, s, len);
            },
            pieces, mbs, true);
        check_transfer<char32_t>(
            text,
            [](auto *out, int n, const char *s, int len) {
                return ASK(glu_ucstoucs32, l, reinterpret_cast<gl_wchar *>(out), n, reinterpret_cast<const uint16_t *>(s), len);
            },
            values, utf16, true);
        check_transfer<char16_t>(
            text,
            [](auto *out, int n, const char *s, int len) {
                error = 0;
                return CALL(glu_ucs32toucs, l, reinterpret_cast<uint16_t *>(out), n, reinterpret_cast<const gl_wchar *>(s), len);
            },
            pieces, ucs32, true);
        check_transfer<char>(
            text,
            [](auto *out, int n, const char *s, int len) {
                return ASK(glu_ucs32tombs, l, out, n, reinterpret_cast<const gl_wchar *>(s), len);
            },
            bytes, ucs32, false);
        check_transfer<char>(
            text,
            [](auto *out, int n, const char *s, int len) {
                return ASK(glu_ucstombs, l, out, n, reinterpret_cast<const uint16_t *>(s), len);
            },
            bytes, utf16, false);
    }
    gl_wchar wides[8];
    uint16_t halves[8];
    char bytes[32];
    check_transfer_of_bytes([&](void *h, const char *s, int len) { return ASK(glu_mbstoucs32, h, wides, 8, s, len); });
    check_transfer_of_bytes([&](void *h, const char *s, int len) { return ASK(glu_mbstoucs, h, halves, 8, s, len); });
    const gl_wchar no_value[] = {'a', 0xD800, 0};
    const uint16_t no_units[] = {'a', 0xDC00, 0};
    for (void *const h : {static_cast<void *>(nullptr), l}) {
        const int number = h != nullptr ? GL_EILSEQ : GL_ENULLPTR;
        expect_failure(ASK(glu_ucs32tombs, h, bytes, 32, no_value, -1), -1, number,
                       "a value that is no character, or a null locale");
        expect_failure(ASK(glu_ucstombs, h, bytes, 32, no_units, -1), -1, number, "a lone surrogate, or a null locale");
        expect_failure(ASK(glu_ucstoucs32, h, wides, 8, no_units, 2), -1, number, "a lone surrogate, or a null locale");
        expect(CALL(glu_ucs32toucs, h, halves, 8, no_value, -1) == -1, "a value that is no character, or a null locale");
    }
    for (const int len : {-1, -2}) {
        const int number = len == -1 ? GL_ENULLPTR : GL_EBADARG;
        expect_failure(ASK(glu_ucs32tombs, l, bytes, 32, len == -1 ? nullptr : no_value, len), -1, number,
                       "a null text, or a negative length");
        expect_failure(ASK(glu_ucstombs, l, bytes, 32, len == -1 ? nullptr : no_units, len), -1, number,
                       "a null text, or a negative length");
        expect_failure(ASK(glu_ucstoucs32, l, wides, 8, len == -1 ? nullptr : no_units, len), -1, number,
                       "a null text, or a negative length");
        expect(CALL(glu_ucs32toucs, l, halves, 8, len == -1 ? nullptr : no_value, len) == -1, "a null text, or a negative length");
    }
}

void check_steps() {
    for (const Text &text : texts) {
        const string mbs = bytes_of(text);
        const u32string ucs32 = values_of(text) + U'\0';
        context = shown(mbs);
        const int count = static_cast<int>(text.size()), size = static_cast<int>(mbs.size());
        const Guarded counted(mbs), terminated(mbs + nul), wides(ucs32);
        expect_result(ASK(glu_mbslen, l, counted.bytes(), size), count, "the characters");
        expect_result(ASK(glu_mbslen, l, terminated.bytes(), -1), count, "the characters");
        expect_result(ASK(glu_mbsbytes, l, terminated.bytes()), size + static_cast<int>(nul.size()),
                      "the bytes with the terminator");
        expect_result(ASK(glu_ucs32len, wide(wides)), count, "the values");
        int rest = count;
        const auto blank = [](const Character &c) {
            return (x.glu_isuc32type(c.value, GL_CLASS_BLANK | GL_CLASS_CNTRL)) == GL_CLASS_BLANK;
        };
        while (rest > 0 && blank(text[static_cast<size_t>(rest) - 1])) --rest;
        const int rest_bytes = static_cast<int>(bytes_of(text, static_cast<size_t>(rest)).size());
        expect_result(ASK(glu_mbsntsbytes, l, terminated.bytes(), -1), rest_bytes, "the bytes before the blanks");
        expect_result(ASK(glu_mbsntsbytes, l, counted.bytes(), size), rest_bytes, "the bytes before the blanks");
        for (int i = 0; i <= std::min(count, 40); ++i) {
            const size_t at = bytes_of(text, static_cast<size_t>(i)).size();
            expect_result(ASK(glu_getmbsi, l, terminated.bytes(), i), terminated.bytes() + at, "the i-th character");
            if (i == count) break;
            const Character &c = text[static_cast<size_t>(i)];
            expect_result(ASK(glu_mbsprev, l, counted.bytes(), counted.bytes() + at + c.bytes.size()), counted.bytes() + at,
                          "the character before");
            if (c.bytes.size() > 1)
                expect_failure(ASK(glu_mbsprev, l, counted.bytes(), counted.bytes() + at + 1), nullptr, GL_EINVAL,
                               "within a character");
            const Guarded wanted(c.bytes);
            const size_t first = static_cast<size_t>(
                std::find_if(text.begin(), text.end(), [&](const Character &other) { return other.value == c.value; }) -
                text.begin());
            expect_result(ASK(glu_mbschr, l, terminated.bytes(), wanted.bytes()), terminated.bytes() + bytes_of(text, first).size(),
                          "where the character first stands");
            expect_result(ASK(glu_ucs32uc32, wide(wides), c.value), wide(wides) + first, "where the value first stands");
            for (const Character &other : {characters.front(), characters.back()}) {
                const string changed = mbs.substr(0, at) + other.bytes + mbs.substr(at + c.bytes.size()) + nul;
                const Guarded room(std::max(changed.size(), mbs.size() + nul.size())), new_char(other.bytes);
                memcpy(room.bytes(), terminated.bytes(), mbs.size() + nul.size());
                expect_result(ASK(glu_putmbsi, l, room.bytes(), i, new_char.bytes()), room.bytes() + at,
                              "where the character stands");
                expect_equal(room.taken<char>(changed.size()), changed, "the changed text");
            }
        }
        expect_result(ASK(glu_mbschr, l, terminated.bytes(), nul.c_str()), terminated.bytes() + size,
                      "the terminator is a character");
        expect_result(ASK(glu_ucs32uc32, wide(wides), 0), wide(wides) + count, "the terminator is a value");
        expect_result(ASK(glu_ucs32uc32, wide(wides), 0x2603), nullptr, "a value that is not there");
        expect_failure(ASK(glu_mbsprev, l, counted.bytes(), counted.bytes()), nullptr, GL_EENDBEFORE, "at the start");
        HostStream stream{mbs};
        for (const Character &c : text) {
            char buffer[4];
            int length = 0;
            const size_t before = stream.at;
            expect_result(ASK(glu_getmb, l, buffer, read_host_stream, &stream, &length), 0, "reads a character");
            expect_equal(string(buffer, static_cast<size_t>(length)), c.bytes, "its bytes");
            stream.at = before;
            expect_result(ASK(glu_fgetuc32, l, reinterpret_cast<FILE *>(&stream)), c.value,
                          "reads a character by the host's functions");
        }
        expect_result(ASK(glu_mbslen, l, (mbs + nul + "a").c_str(), size + static_cast<int>(nul.size())), count + 1,
                      "NUL in counted text");
    }
    context.clear();
    char buffer[8] = {}, changed[16] = "";
    int length = 9;
    HostStream none, failing{"", 0, true}, cut{characters.back().bytes.substr(0, characters.back().bytes.size() - 1)},
        bad{no_characters.empty() ? "" : no_characters.front()};
    const auto get = [&](HostStream &stream, int number) {
        expect_failure(ASK(glu_getmb, l, buffer, read_host_stream, &stream, &length), -1, number == GL_EIO ? GL_EEOF : number,
                       "bytes that are no whole character");
        expect_equal(static_cast<long>(length), static_cast<long>(stream.at), "the bytes that were read");
        stream.at = 0;
        expect_failure(ASK(glu_fgetuc32, l, reinterpret_cast<FILE *>(&stream)), static_cast<gl_wchar>(-1), number,
                       "bytes that are no whole character");
    };
    get(none, GL_EEOF);
    get(failing, GL_EIO);
    if (!cut.bytes.empty()) get(cut, GL_EINVAL);
    if (!bad.bytes.empty()) get(bad, GL_EILSEQ);
    expect_failure(ASK(glu_getmb, nullptr, buffer, read_host_stream, &none, &length), -1, GL_ENULLPTR, "a null locale");
    expect_failure(ASK(glu_fgetuc32, nullptr, reinterpret_cast<FILE *>(&none)), static_cast<gl_wchar>(-1), GL_ENULLPTR,
                   "a null locale");
    expect_guards([](void *h, const char *s) { return ASK(glu_mbslen, h, s, -1); }, -1);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbsbytes, h, s); }, 0, false);
    expect_result(ASK(glu_mbsbytes, l, nullptr), 0, "a null text");
    expect_guards([](void *h, const char *s) { return ASK(glu_mbsntsbytes, h, s, -1); }, -1);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbschr, h, s, "\x7F"); }, 0);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbschr, h, "", s); }, 0);
    expect_guards([](void *h, const char *s) { return ASK(glu_getmbsi, h, s, 1); }, 0);
    expect_guards([&](void *h, const char *s) { return ASK(glu_putmbsi, h, changed, 0, s); }, 0);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbsprev, h, s, s != nullptr ? s + strlen(s) : s); }, 0);
    expect_failure(ASK(glu_getmbsi, l, "a", -1), nullptr, GL_ENEGCOUNT, "a negative index");
    expect_failure(ASK(glu_putmbsi, l, buffer, -1, "a"), nullptr, GL_ENEGCOUNT, "a negative index");
    expect_failure(ASK(glu_ucs32len, nullptr), -1, GL_ENULLPTR, "a null text");
    expect_failure(ASK(glu_ucs32uc32, nullptr, 'a'), nullptr, GL_ENULLPTR, "a null text");
    expect_failure(ASK(glu_mbslen, l, "a", -2), -1, GL_EBADARG, "a negative length");
    expect_failure(ASK(glu_mbsntsbytes, l, "a", -2), -1, GL_EBADARG, "a negative length");
}

void check_widths() {
    for (const Character &c : characters) {
        context = shown(c.bytes);
        const Guarded text(c.bytes), value(u32string{static_cast<char32_t>(c.value), 0});
        if (CALL(glu_isuc32type, c.value, GL_CLASS_PRINT) == 0) {
            expect_failure(ASK(glu_uc32width, c.value), -1, GL_EINVAL, "a character that is not printed");
            expect_failure(ASK(glu_mbwidth, l, text.bytes()), -1, GL_EINVAL, "a character that is not printed");
            expect_failure(ASK(glu_mbswidth, l, text.bytes(), 1), -1, GL_EINVAL, "a character that is not printed");
            expect_failure(ASK(glu_ucs32width, wide(value), 1), -1, GL_EINVAL, "a character that is not printed");
            expect_failure(ASK(glu_mbspwidth, l, text.bytes(), text.bytes() + 1), -1, GL_EINVAL, "a character that is not printed");
            expect_failure(ASK(glu_ucs32pwidth, wide(value), wide(value) + 1), -1, GL_EINVAL, "a character that is not printed");
        } else {
            const int width = ASK(glu_uc32width, c.value);
            expect(width == 1 || (width == 2 && c.value > 0x7F), "one or two columns, one for a character of ASCII");
            expect_result(ASK(glu_mbwidth, l, text.bytes()), width, "the width of the value");
        }
    }
    for (const Text &text : texts) {
        const auto width_of = [](const Character &c) { return x.glu_uc32width(c.value, nullptr); };
        const string mbs = bytes_of(text);
        const Guarded terminated(mbs + nul), wides(values_of(text) + U'\0');
        context = shown(mbs);
        int sum = 0;
        size_t at = 0;
        for (size_t n = 0; n <= text.size(); at += n < text.size() ? text[n].bytes.size() : 0, ++n) {
            if (n > 0 && width_of(text[n - 1]) < 0) break;
            if (n > 0) sum += width_of(text[n - 1]);
            const int count = n < text.size() ? static_cast<int>(n) : INT_MAX;
            const char *const end = terminated.bytes() + (n == 0 ? 0 : at);
            expect_result(ASK(glu_mbswidth, l, terminated.bytes(), count), sum, "the columns of n characters");
            expect_result(ASK(glu_ucs32width, wide(wides), count), sum, "the columns of n values");
            expect_result(ASK(glu_mbspwidth, l, terminated.bytes(), end), sum, "the columns before the end");
            expect_result(ASK(glu_ucs32pwidth, wide(wides), wide(wides) + n), sum, "the columns before the end");
        }
    }
    context.clear();
    const gl_wchar none[] = {0xD800, 0};
    expect_result(ASK(glu_uc32width, 0), 0, "NUL");
    expect_result(ASK(glu_mbwidth, l, nul.c_str()), 0, "NUL");
    expect_failure(ASK(glu_mbswidth, l, "a", -1), -1, GL_ENEGCOUNT, "a negative count");
    expect_failure(ASK(glu_ucs32width, none, -1), -1, GL_ENEGCOUNT, "a negative count");
    expect_failure(ASK(glu_ucs32width, nullptr, 1), -1, GL_ENULLPTR, "a null text");
    expect_failure(ASK(glu_ucs32pwidth, none, nullptr), -1, GL_ENULLPTR, "a null end");
    expect_failure(ASK(glu_ucs32pwidth, none + 1, none), -1, GL_EENDBEFORE, "an end before the start");
    expect_failure(ASK(glu_mbspwidth, l, nul.c_str() + 1, nul.c_str()), -1, GL_EENDBEFORE, "an end before the start");
    expect(ASK(glu_uc32width, none[0]) == -1 && ASK(glu_ucs32width, none, 1) == -1, "a value that is no character");
    expect_guards([](void *h, const char *s) { return ASK(glu_mbwidth, h, s); }, -1);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbswidth, h, s, 9); }, -1);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbspwidth, h, s, s + 1); }, -1);
}

void check_case() {
    for (const Text &text : texts) {
        const string mbs = bytes_of(text);
        const u32string ucs32 = values_of(text) + U'\0';
        context = shown(mbs);
        const Guarded terminated(mbs + nul), wides(ucs32);
        const bool ascii = std::all_of(text.begin(), text.end(),
                                       [](const Character &c) { return c.value < 0x80 && c.value != 'i' && c.value != 'I'; });
        for (const bool upper : {true, false}) {
            Guarded out(static_cast<size_t>(std::max(CALL(glu_case_conv_outbuflen, l, static_cast<int>(mbs.size())), 0)) +
                        nul.size());
            const int length = upper ? ASK(glu_mbstoupper, l, out.bytes(), terminated.bytes())
                                     : ASK(glu_mbstolower, l, out.bytes(), terminated.bytes());
            expect(length >= 0 && error == 0, "the bytes before the terminator");
            if (length < 0) continue;
            expect(memcmp(out.bytes() + length, nul.data(), nul.size()) == 0, "a terminator behind them");
            expect(x.glu_mbslen(l, out.bytes(), length, nullptr) >= 0, "characters of the codeset");
            u32string mapped;
            string by_character;
            for (const Character &c : text) {
                const gl_wchar other = (upper ? x.glu_uc32toupper : x.glu_uc32tolower)(l, c.value, nullptr);
                char bytes[4];
                mapped += static_cast<char32_t>(other);
                by_character.append(bytes, static_cast<size_t>(std::max(x.glu_uc32tomb(l, bytes, other, nullptr), 0)));
            }
            if (ascii)
                expect_equal(out.taken<char>(static_cast<size_t>(length)), by_character, "the text of ASCII in the other case");
            const Guarded values(ucs32.size() * sizeof(gl_wchar));
            const int result = upper ? ASK(glu_ucs32toupper, l, values.as<gl_wchar>(), wide(wides))
                                     : ASK(glu_ucs32tolower, l, values.as<gl_wchar>(), wide(wides));
            expect_result(result, 0, "no count");
            expect(values.taken<char32_t>(ucs32.size()) == mapped + U'\0', "each value by itself, and the terminator");
        }
    }
    context.clear();
    char out[64];
    gl_wchar values[8];
    const gl_wchar none[] = {'a', 0xD800, 0};
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbstoupper, h, out, s); }, -1);
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbstolower, h, out, s); }, -1);
    for (void *const h : {static_cast<void *>(nullptr), l}) {
        expect_failure(ASK(glu_ucs32toupper, h, values, none), -1, h != nullptr ? GL_EILSEQ : GL_ENULLPTR,
                       "a value that is no character, or a null locale");
        expect_failure(ASK(glu_ucs32tolower, h, values, none), -1, h != nullptr ? GL_EILSEQ : GL_ENULLPTR,
                       "a value that is no character, or a null locale");
    }
    expect_equal((CALL(glu_case_conv_outbuflen, nullptr, 1)), -1L, "a null locale");
    for (const int n : {INT_MIN, -1, 0}) expect_equal((CALL(glu_case_conv_outbuflen, l, n)), 0L, "no length");
    for (const int n : {1, 2, 1000, INT_MAX})
        expect(CALL(glu_case_conv_outbuflen, l, n) >= n, "n or more, as far as an int reaches");
}

int sign(long value) { return (value > 0) - (value < 0); }

// A key, made in rooms of every size.
template <class Ask> string key_of(Ask ask, bool has_end) {
    const int size = ask(nullptr, 0);
    if (size < 0 || error != 0) return breach("the size of the key", shown(size)), "";
    string key;
    for (int room = size + 2; room >= 0; room -= room > 60 ? 9 : 1) {
        const Guarded out(static_cast<size_t>(room));
        expect_result(ask(out.bytes(), room), size, "the size of the key, whatever the room");
        const auto written = static_cast<size_t>(std::min(room, size));
        if (room == size + 2) key = out.taken<char>(written);
        expect_equal(out.taken<char>(written), key.substr(0, written), "the key of a smaller room begins that of a larger one");
        if (has_end && room > size) expect(out.bytes()[size] == 0, "a zero byte behind the key");
    }
    expect(key.find('\0') == string::npos, "no byte of the key is 0");
    return key;
}

void check_order() {
    vector<string> keys;
    for (const Text &text : texts) {
        const string mbs = bytes_of(text);
        context = shown(mbs);
        const Guarded terminated(mbs + nul), wides(values_of(text) + U'\0'), halves(units_of(text) + u'\0');
        keys.push_back(key_of([&](char *out, int n) { return ASK(glu_mbsxfrm, l, out, terminated.bytes(), n); }, true));
        expect_equal(key_of([&](char *out, int n) { return ASK(glu_ucs32xfrm, l, out, wide(wides), n); }, true), keys.back(),
                     "the key of the same text");
        expect_equal(key_of([&](char *out, int n) { return ASK(glu_ucsxfrm, l, out, units(halves), n); }, true), keys.back(),
                     "the key of the same text");
        for (const int bound : {GLU_BOUND_LOWER, GLU_BOUND_UPPER, GLU_BOUND_UPPER_LONG}) {
            for (int passes = 1; passes <= 3; ++passes) {
                const string of_text = key_of(
                    [&](char *out, int n) { return ASK(glu_mbsCollBound, l, out, terminated.bytes(), -1, bound, passes, n); },
                    true);
                const string of_key = key_of(
                    [&](char *out, int n) { return ASK(glu_mbsSortKeyCollBound, l, out, keys.back().c_str(), bound, passes, n); },
                    true);
                expect_equal(of_key, of_text, "the bound of the text");
                expect(bound == GLU_BOUND_LOWER ? of_text <= keys.back() : of_text >= keys.back(), "on its side of the key");
                if (bound != GLU_BOUND_UPPER_LONG || text.empty()) continue;
                const string longer =
                    key_of([&](char *out, int n) { return ASK(glu_mbsxfrm, l, out, (mbs + "1").c_str(), n); }, true);
                entry = "glu_mbsCollBound";
                if (passes == 1) expect(of_text >= longer, "nor below the key of a text that goes on");
            }
        }
    }
    for (size_t i = 0; i < texts.size(); ++i) {
        for (size_t j = 0; j < texts.size(); ++j) {
            const int expected = sign(keys[i].compare(keys[j]));
            const string mbs1 = bytes_of(texts[i]), mbs2 = bytes_of(texts[j]);
            context = shown(mbs1) + " " + shown(mbs2);
            const Guarded a(mbs1), b(mbs2), a0(mbs1 + nul), b0(mbs2 + nul), wa(values_of(texts[i])), wb(values_of(texts[j])),
                ua(units_of(texts[i])), ub(units_of(texts[j]));
            const auto n = [](size_t size) { return static_cast<int>(size); };
            expect_result(sign(ASK(glu_mbscoll, l, a0.bytes(), -1, b0.bytes(), -1)), expected, "the order of the keys");
            expect_result(sign(ASK(glu_mbscoll, l, a.bytes(), n(mbs1.size()), b.bytes(), n(mbs2.size()))), expected,
                          "the order of the keys");
            expect_result(sign(ASK(glu_ucs32coll, l, wide(wa), n(texts[i].size()), wide(wb), n(texts[j].size()))), expected,
                          "the order of the keys");
            expect_result(
                sign(ASK(glu_ucscoll, l, units(ua), n(units_of(texts[i]).size()), units(ub), n(units_of(texts[j]).size()))),
                expected, "the order of the keys");
        }
    }
    context.clear();
    const gl_wchar ws[] = {'a', 0}, none[] = {'a', 0xD800, 0};
    const uint16_t us[] = {'a', 0}, lone[] = {'a', 0xDC00, 0};
    expect(ASK(glu_mbscoll, l, "a", -1, "b", -1) < 0, "a is before b");
    expect_failure(ASK(glu_mbscoll, l, "a", 1, "b", -1), 0, GL_EMIXEDLEN, "one length of -1");
    expect_failure(ASK(glu_ucs32coll, l, ws, -1, ws, 1), 0, GL_EMIXEDLEN, "one length of -1");
    expect_failure(ASK(glu_ucscoll, l, us, -1, us, 1), 0, GL_EMIXEDLEN, "one length of -1");
    expect_failure(ASK(glu_mbscoll, l, "a", -2, "b", -2), 0, GL_EBADARG, "a negative length");
    expect_result(sign(ASK(glu_mbscoll, l, "a\0b", 3, "a\0b", 3)), 0, "NUL in counted text");
    expect(ASK(glu_mbscoll, l, "a\0b", 3, "a\0c", 3) < 0 && error == 0, "what is behind NUL in counted text counts");
    expect_guards([](void *h, const char *s) { return ASK(glu_mbscoll, h, "a", -1, s, -1); }, 0);
    expect_guards([](void *h, const char *s) { return ASK(glu_mbscoll, h, s, -1, s, -1); }, 0);
    char out[64];
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbsxfrm, h, out, s, 64); }, -1);
    expect_guards([&](void *h, const char *s) { return ASK(glu_mbsCollBound, h, out, s, -1, GLU_BOUND_LOWER, 1, 64); }, -1);
    for (void *const h : {static_cast<void *>(nullptr), l}) {
        const int number = h != nullptr ? GL_EILSEQ : GL_ENULLPTR;
        expect_failure(ASK(glu_ucs32coll, h, none, 2, ws, 1), 0, number, "a value that is no character, or a null locale");
        expect_failure(ASK(glu_ucscoll, h, lone, 2, us, 1), 0, number, "a lone surrogate, or a null locale");
        expect_failure(ASK(glu_ucs32xfrm, h, out, none, 64), -1, number, "a value that is no character, or a null locale");
        expect_failure(ASK(glu_ucsxfrm, h, out, lone, 64), -1, number, "a lone surrogate, or a null locale");
        expect_failure(ASK(glu_mbsSortKeyCollBound, h, out, h != nullptr ? nullptr : "a", 0, 1, 64), -1, GL_ENULLPTR,
                       "a null argument");
    }
    for (const auto &[bound, passes] : {std::pair{3, 1}, {-1, 1}, {0, 0}, {0, -1}}) {
        expect_failure(ASK(glu_mbsCollBound, l, out, "a", -1, bound, passes, 64), -1, GL_EBADARG, "no such bound");
        expect_failure(ASK(glu_mbsSortKeyCollBound, l, out, keys.back().c_str(), bound, passes, 64), -1, GL_EBADARG,
                       "no such bound");
    }
}

// The optional order for indexes, of any bytes.
void check_index_order() {
    const bool has_order = x.glu_order_version != nullptr;
    expect((x.glu_order_compare != nullptr) == has_order && (x.glu_order_key != nullptr) == has_order,
           "the three of the order for indexes come together");
    if (!has_order) return;
    {
        const int length = CALL(glu_order_version, l, nullptr, 0);
        expect(length > 0, "words");
        const Guarded whole(static_cast<size_t>(std::max(length, 0)) + 1);
        expect_equal((CALL(glu_order_version, l, whole.bytes(), length + 1)), length, "the length of the words");
        for (int room = 0; room <= length; ++room) {
            const Guarded out(static_cast<size_t>(room));
            expect_equal((CALL(glu_order_version, l, out.bytes(), room)), length, "the length of the words");
            if (room > 0)
                expect_equal(string(out.bytes()), whole.taken<char>(static_cast<size_t>(room) - 1), "what fits, with a terminator");
        }
        expect_equal((CALL(glu_order_version, nullptr, whole.bytes(), 1)), -1L, "a null locale");
    }
    vector<string> any;
    for (const Text &text : texts) any.push_back(bytes_of(text));
    for (const string &bytes : no_characters) any.push_back("a" + bytes + "b");
    any.insert(any.end(), {string("\0", 1), string("a\0b", 3), string("a\0", 2), "\1\2", "\xFF\xFF\xFF", "\xF0\x9F"});
    for (const int passes : {1, 2, 3, 9, -1}) {
        vector<string> keys;
        for (const string &text : any) {
            context = shown(text) + " " + shown(passes) + " passes";
            const Guarded counted(text);
            const auto key = [&](int n) {
                return key_of(
                    [&](char *out, int room) {
                        return ASK(glu_order_key, l, counted.bytes(), static_cast<int>(text.size()), n,
                                   reinterpret_cast<unsigned char *>(out), room);
                    },
                    false);
            };
            keys.push_back(key(passes));
            expect(key(-1).starts_with(keys.back()), "the key of fewer passes begins that of more");
            if (text.find('\0') == string::npos)
                expect_result(ASK(glu_order_key, l, (text + nul).c_str(), -1, passes, nullptr, 0),
                              static_cast<int>(keys.back().size()), "a terminated text");
        }
        for (size_t i = 0; i < any.size(); ++i) {
            for (size_t j = 0; j < any.size(); ++j) {
                context = shown(any[i]) + " " + shown(any[j]) + " " + shown(passes) + " passes";
                const Guarded a(any[i]), b(any[j]);
                expect_result(ASK(glu_order_compare, l, a.bytes(), static_cast<int>(any[i].size()), b.bytes(),
                                  static_cast<int>(any[j].size()), passes),
                              sign(keys[i].compare(keys[j])), "the order of the keys");
            }
        }
    }
    context.clear();
    expect_failure(ASK(glu_order_compare, nullptr, "a", 1, "b", 1, -1), 0, GL_ENULLPTR, "a null locale");
    expect_failure(ASK(glu_order_key, nullptr, "a", 1, -1, nullptr, 0), -1, GL_ENULLPTR, "a null locale");
}

struct Conversion {
    int result, status, taken, left;
    string out;
};
// `in` lies before a guarded page, the room too; a terminated text has its length untold.
Conversion convert(void *converter, const string &in, int room, bool reset, bool terminated = false, bool measures = false) {
    const Guarded text(in), output(static_cast<size_t>(room));
    const char *at = text.bytes();
    char *to = output.bytes();
    int inleft = static_cast<int>(in.size()), outleft = room, subst = 9, status = 0;
    const int result = CALL(glu_cv_conv, converter, reset, &at, terminated ? nullptr : &inleft, measures ? nullptr : &to, &outleft,
                            &subst, &status);
    const auto taken = static_cast<int>(at - text.bytes());
    if (!terminated) expect_equal(static_cast<long>(in.size()) - inleft, taken, "pointer and count of the input go together");
    if (!measures)
        expect_equal(static_cast<long>(room - outleft), static_cast<long>(to - output.bytes()),
                     "pointer and count of the output go together");
    expect(subst == 0 || subst == 1, "the substitution flag is set");
    return {result, status, taken, outleft, measures ? "" : output.taken<char>(static_cast<size_t>(room - outleft))};
}

void check_pair(int source, int target) {
    constexpr int UTF8 = 57372;
    context = "from " + shown(source) + " to " + shown(target);
    int status = 0;
    expect_equal((CALL(glu_useIcuCvtCall, source, target)), 1L, "converts the pair");
    void *const converter = CALL(glu_cv_open, source, target, &status);
    expect(converter != nullptr && status == 0, "opens a converter");
    if (converter == nullptr) return;
    const char *const name = CALL(glu_getICUCvtName, converter);
    expect(name != nullptr && *name != '\0', "a name");
    const double expansion = CALL(glu_iconv_expansion, converter);
    expect(expansion > 0, "a factor");
    // What both codesets have is told by the way there, and back where the extension has that.
    void *const back = CALL(glu_useIcuCvtCall, target, source) == 1 ? CALL(glu_cv_open, target, source, nullptr) : nullptr;
    string text = "abc 1";
    const gl_wchar SOME[] = {0xE9, 0xE4, 0x17E, 0x416, 0x3042, 0x65E5, 0x1F600, 'z'};
    for (const gl_wchar value : SOME) {
        string utf8;
        const auto put = [&](unsigned byte) { utf8 += static_cast<char>(byte); };
        if (value < 0x80)
            put(value);
        else if (value < 0x800)
            put(0xC0 | value >> 6), put(0x80 | (value & 63));
        else if (value < 0x10000)
            put(0xE0 | value >> 12), put(0x80 | (value >> 6 & 63)), put(0x80 | (value & 63));
        else
            put(0xF0 | value >> 18), put(0x80 | (value >> 12 & 63)), put(0x80 | (value >> 6 & 63)), put(0x80 | (value & 63));
        void *const from_utf8 = source == UTF8 ? converter : target == UTF8 ? back : nullptr;
        if (from_utf8 == nullptr) continue;
        const Conversion known = convert(from_utf8, utf8, 16, true);
        if (known.result == 0)
            text += source == UTF8 ? utf8 : known.out;
        else
            expect(known.status == GL_EILSEQ && known.taken == 0,
                   "a character that the target lacks is GL_EILSEQ, and the place is on it");
        if (known.result != 0 && source == UTF8) {
            const Conversion within = convert(converter, "a" + utf8 + "b", 16, true);
            expect(within.result == -1 && within.status == GL_EILSEQ && within.taken == 1,
                   "the place is on the character that the target lacks");
        }
    }
    const Conversion whole = convert(converter, text, 4096, true), measured = convert(converter, text, 4096, true, false, true);
    const auto size = static_cast<int>(whole.out.size());
    expect(whole.result == 0 && whole.status == 0 && whole.taken == static_cast<int>(text.size()), "converts a text");
    expect(measured.result == 0 && measured.left == 4096 - size, "measures without an output");
    expect(size <= expansion * static_cast<double>(text.size()) + 8, "the factor suffices");
    if (back != nullptr) expect_equal(convert(back, whole.out, 4096, true).out, text, "there and back");
    for (int room = 0; room <= size; ++room) {
        context = "from " + shown(source) + " to " + shown(target) + ", room " + shown(room);
        const Conversion part = convert(converter, text, room, true);
        if (room == size)
            expect(part.result == 0 && part.out == whole.out, "room for all is enough");
        else
            expect(part.result == -1 && part.status == GL_E2BIG && part.taken < static_cast<int>(text.size()),
                   "too little room is GL_E2BIG");
        if (room < size && part.result == -1)
            expect_equal(part.out + convert(converter, text.substr(static_cast<size_t>(part.taken)), 4096, false).out, whole.out,
                         "goes on where the room ended");
    }
    context = "from " + shown(source) + " to " + shown(target);
    const Conversion ended = convert(converter, "ab" + string(1, '\0'), 64, true, true);
    expect(ended.result == 0 && ended.taken == 3 &&
               ended.out.size() == convert(converter, "ab" + string(1, '\0'), 64, true).out.size(),
           "a terminated text, with its terminator");
    expect_equal(convert(converter, "", 0, true).result, 0L, "no input");
    if (source == UTF8)
        for (const char *bytes : {"\xFF", "\xE6\x97", "\xC0\x80"}) {
            const Conversion bad = convert(converter, text + bytes, 4096, true);
            expect(bad.result == -1 && bad.status == 0 && bad.taken == static_cast<int>(text.size()),
                   "bytes that are no character, or a part: -1, the status as it was, and the place is on them");
            expect_equal(bad.out + convert(converter, text, 4096, false).out, whole.out + whole.out, "the states are those of it");
        }
    const char *at = "a";
    char room[8], *to = room;
    int one = 1, negative = -1, outleft = 8;
    const auto expect_refusal = [&](int result, int number, const char *clause) {
        expect(result == -1 && status == number, clause);
    };
    expect_refusal((status = 0, CALL(glu_cv_conv, nullptr, 1, &at, &one, &to, &outleft, nullptr, &status)), GL_ENULLPTR,
                   "a null converter");
    expect_refusal((status = 0, CALL(glu_cv_conv, converter, 1, nullptr, &one, &to, &outleft, nullptr, &status)), GL_ENULLPTR,
                   "a null input");
    expect_refusal((status = 0, CALL(glu_cv_conv, converter, 1, &at, &one, &to, nullptr, nullptr, &status)), GL_ENULLPTR,
                   "a null output size");
    expect_refusal((status = 0, CALL(glu_cv_conv, converter, 1, &at, &negative, &to, &outleft, nullptr, &status)), GL_EBADARG,
                   "a negative input");
    expect_refusal((status = 0, CALL(glu_cv_conv, converter, 1, &at, &one, &to, &negative, nullptr, &status)), GL_EBADARG,
                   "a negative output");
    expect(one == 1 && outleft == 8 && to == room, "and nothing is moved");
    expect_equal((CALL(glu_cv_close, converter)), 0L, "closes");
    if (back != nullptr) CALL(glu_cv_close, back);
}

void check_conversions() {
    long after_first = 0;
    for (int i = 0; i < 4; ++i) {
        for (const auto &[source, target] : pairs) check_pair(source, target);
        if (i == 1) after_first = live;
    }
    context.clear();
    entry = "glu_cv_close";
    expect_equal(live.load(), after_first, "gives back the memory of a converter");
    for (const auto &[source, target] : {std::pair{-1, 57372}, {57372, 57344}, {INT_MAX, INT_MIN}}) {
        int status = 0;
        expect_equal((CALL(glu_useIcuCvtCall, source, target)), 0L, "no codesets");
        expect(CALL(glu_cv_open, source, target, &status) == nullptr && status == GL_EINVAL, "no codesets");
    }
    expect_equal((CALL(glu_cv_close, nullptr)), -1L, "a null converter");
    expect(CALL(glu_iconv_expansion, nullptr) == 0, "a null converter");
    expect(CALL(glu_getICUCvtName, nullptr) == nullptr, "a null converter");
}

// Repeats a call that asks for memory, with the n-th request refused, and all behind it.
template <class Ask> void with_refusals(const char *what, Ask ask) {
    bool was_refused = true;
    for (long n = 1; was_refused && n < 4000; ++n) {
        context = what + (", request " + shown(n)) + " of memory refused";
        error = 0, asked = 0, refuse_from = n;
        const bool done = ask();
        was_refused = asked >= n;
        refuse_from = LONG_MAX;
        if (!done) expect(was_refused && error == GL_ENOMEM, "a failure for want of memory is GL_ENOMEM");
    }
    context.clear();
}

void check_memory() {
    const string many = bytes_of(texts.back());
    vector<char> out(65536);
    with_refusals("clone", [] {
        void *const handle = ASK(glu_lc_clone, l);
        return x.glu_lc_close(handle), handle != nullptr;
    });
    with_refusals("compare", [&] { return ASK(glu_mbscoll, l, many.c_str(), -1, (many + "b").c_str(), -1) != 0 || error == 0; });
    with_refusals("key", [&] { return ASK(glu_mbsxfrm, l, out.data(), many.c_str(), 65536) >= 0; });
    with_refusals("upper", [&] { return ASK(glu_mbstoupper, l, out.data(), many.c_str()) >= 0; });
    with_refusals("put", [&] {
        memcpy(out.data(), many.c_str(), many.size() + 1);
        return ASK(glu_putmbsi, l, out.data(), 3, "a") != nullptr;
    });
}

void check_memory_of_files() {
    with_refusals("loading", [] {
        int status = 0;
        data = CALL(glu_loadIcuData, data_path.c_str(), 0, &status);
        if (data != nullptr) map = CALL(glu_loadMapData, (etc + "locmap").c_str(), &status);
        const bool done = data != nullptr && map != nullptr;
        CALL(glu_unloadIcuData, std::exchange(data, nullptr));
        CALL(glu_unloadMapData, std::exchange(map, nullptr));
        error = static_cast<int16_t>(status);
        return done;
    });
    expect_equal(live.load(), 0L, "a failed loading gives back all memory");
}

// What a host does first, and what it gets for it: where memory is out, as far as that goes, and the next time the rest.
string begin() {
    static const char *const NAMES[] = {
        "cs_cz/e01c.lco", "ja_jp/e01c.lco", "th_th/e01c.lco",  "zh_cn/e01c.lco",
        "ko_kr/e01c.lco", "tr_tr/e01c.lco", "de-u-co-phonebk", "fr@colStrength=identical;colAlternate=shifted"};
    static const char *const WORDS[] = {
        "chata I\u0323\u0307", "cz i\u0307\u0323", "\xC3\x84\xC3\x9F", "ad",           "\u0E40\u0E01", "\u0E02",
        "\u65E5\u672C",        "\u6F22",           "\uAC00",           "\u3042\u30FC", "\u0390",       "\U00020000"};
    static void *locales[std::size(NAMES)], *converters[16];
    string result;
    int status = 0;
    const auto done = [](int number) { expect(number == 0 || number == GL_ENOMEM, "a failure for want of memory is GL_ENOMEM"); };
    if (data == nullptr) data = CALL(glu_loadIcuData, data_path.c_str(), 0, &status);
    if (data != nullptr && map == nullptr) map = CALL(glu_loadMapData, (etc + "locmap").c_str(), &status);
    done(status);
    for (size_t i = 0; map != nullptr && i < std::size(NAMES); ++i) {
        if (CALL(glu_useIcuLocCall, NAMES[i], GL_CAT_COLLATE) == 0) continue;
        if (locales[i] == nullptr) locales[i] = ASK(glu_lc_open, NAMES[i], map), done(error);
        if (locales[i] == nullptr) continue;
        char out[1024] = "";
        if (x.glu_order_version != nullptr) CALL(glu_order_version, locales[i], out, 1024);
        result += out;
        for (const char *const one : WORDS) {
            for (const char *const other : WORDS)
                result += sign(ASK(glu_mbscoll, locales[i], one, -1, other, -1)) + '=', done(error);
            if (ASK(glu_mbsxfrm, locales[i], out, one, 1024) >= 0) result += out;
            done(error);
            if (ASK(glu_mbstoupper, locales[i], out, one) >= 0) result += out;
            done(error);
        }
    }
    for (size_t i = 0; map != nullptr && i < pairs.size(); ++i) {
        if (converters[i] == nullptr) converters[i] = CALL(glu_cv_open, pairs[i].first, pairs[i].second, &status), done(status);
        if (converters[i] != nullptr) result += shown(convert(converters[i], "abc", 64, true).out);
    }
    return result;
}

// Some n-th request of memory is refused to a process that has not used the extension before, or all from there on; or each n-th.
void check_cold_start(bool all) {
    constexpr size_t SIZE = 1 << 20;
    auto *const shared = static_cast<char *>(mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    auto *const requests = reinterpret_cast<long *>(shared);
    char *const expected = shared + sizeof *requests;
    for (const bool once : {true, false}) {
        for (long n = 0; n <= *requests; n += all ? 1 : *requests / 100 + 1) {
            context = "request " + shown(n) + (once ? "" : " and all others") + " of memory refused to a fresh process";
            const pid_t child = fork();
            if (child == 0) {
                alarm(60);
                hand_over();
                if (n > 0) refuse_from = n, refuse_to = once ? n : LONG_MAX;
                const string first = begin();
                refuse_from = LONG_MAX;
                if (n == 0) *requests = asked, memcpy(expected, first.c_str(), std::min(first.size() + 1, SIZE - sizeof *requests));
                expect(begin() == expected, "all is as ever when there is memory again");
                _exit(breaches == 0 ? 0 : 1);
            }
            int status = 0;
            waitpid(child, &status, 0);
            expect(WIFEXITED(status), "neither crashes nor hangs");
            if (WIFEXITED(status)) breaches += WEXITSTATUS(status);
        }
    }
    context.clear();
    munmap(shared, SIZE);
}

// Another user of what the extension stands on, here a copy of it, goes on when the extension is unloaded.
void check_other_user() {
    const pid_t child = fork();
    if (child == 0) {
        start();
        char copy[] = "/tmp/extension_XXXXXX";
        close(mkstemp(copy));
        std::ofstream(copy) << std::ifstream(library_path).rdbuf();
        const std::tuple first(x, library, data, map, l);
        library_path = copy;
        if (load()) start();
        unlink(copy);
        const std::tuple second(x, library, data, map, l);
        std::tie(x, library, data, map, l) = first;
        CALL(glu_lc_close, l), CALL(glu_unloadIcuData, data), CALL(glu_unloadMapData, map), dlclose(library);
        std::tie(x, library, data, map, l) = second;
        void *const other = ASK(glu_lc_open, "ja_jp/e01c.lco", map);
        for (void *const handle : {l, other})
            if (handle != nullptr) expect(ASK(glu_mbscoll, handle, "a", -1, "b", -1) < 0, "goes on"), CALL(glu_lc_close, handle);
        _exit(breaches == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    expect(status == 0, "another user of what the extension stands on goes on when it is unloaded");
}

void check_texts() {
    check_characters(), check_transfers(), check_steps(), check_widths(), check_case(), check_order(), check_index_order();
}

// What a test of a section leaves of the process.
void check(void (*section)()) {
    static const string locale_of_c = setlocale(LC_ALL, nullptr);
    section();
    entry = "the extension";
    expect_equal(string(setlocale(LC_ALL, nullptr)), locale_of_c, "leaves the locale of the C library alone");
}

int run(bool cold = false) {
    for (const int number : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) signal(number, die_of_signal);
    for (const bool again : {false, true}) {
        if (!load()) return 1;
        if (!again && !quiet) check_cold_start(cold), check_other_user();
        check(start);
        if (l == nullptr) return 1;
        if (!again) find_characters();
        for (void (*const section)() : {check_files, check_locales, check_texts, check_conversions}) check(section);
        if (!again) {
            vector<std::thread> threads;
            for (int i = 0; i < 4; ++i) threads.emplace_back(check_texts);
            for (std::thread &thread : threads) thread.join();
            check(check_memory);
        }
        check(stop);
        if (!again) check(check_memory_of_files);
        dlclose(library);
    }
    return breaches == 0 ? 0 : 1;
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Planted faults
// ---------------------------------------------------------------------------------------------------------------------------------

template <class Result> Result spoiled(Result result) {
    if constexpr (std::is_same_v<Result, void *>)
        return result != nullptr ? nullptr : reinterpret_cast<void *>(1);
    else if constexpr (std::is_same_v<Result, const char *>)
        return result != nullptr ? nullptr : "x";
    else
        return result + 1;
}
template <class Argument> Argument one_more(Argument argument) {
    if constexpr (std::is_same_v<Argument, int>)
        return argument > 0 && argument < INT_MAX ? argument + 1 : argument;
    else
        return argument;
}

// The entry point number I of the type with a fault in it.
template <int I, class Function> struct Planted;
template <int I, class Result, class... Arguments> struct Planted<I, Result(Arguments...)> {
    static inline Result (*good)(Arguments...);
    static inline Fault fault;

    using Last = std::tuple_element_t<sizeof...(Arguments), std::tuple<void, Arguments...>>;
    static constexpr bool HAS_CELL = std::is_same_v<Last, int16_t *> || std::is_same_v<Last, int *>;
    static constexpr bool HAS_LENGTH = (std::is_same_v<Arguments, int> || ...);

    static Result bad(Arguments... arguments) {
        if (fault == Fault::LOCALE) setlocale(LC_CTYPE, "C.UTF-8");
        if constexpr (std::is_void_v<Result>) {
            if (fault != Fault::RESULT) good(arguments...);
        } else {
            const Result result = fault == Fault::LENGTH ? good(one_more(arguments)...) : good(arguments...);
            if constexpr (HAS_CELL)
                if (const Last cell = std::get<sizeof...(Arguments) - 1>(std::tuple(arguments...));
                    fault == Fault::NO_ERROR && cell != nullptr)
                    *cell = 0;
            return fault == Fault::RESULT ? spoiled(result) : result;
        }
    }
    // Whether the fault is one.
    static bool plant(Result (*&entry_point)(Arguments...), Fault planted) {
        if (entry_point == nullptr || (planted == Fault::NO_ERROR && !HAS_CELL) || (planted == Fault::LENGTH && !HAS_LENGTH))
            return false;
        good = std::exchange(entry_point, bad);
        fault = planted;
        return true;
    }
};

// What an extension need not use, or may answer like that.
bool is_allowed(const string &name, Fault fault) {
    static const std::pair<const char *, Fault> ALLOWED[] = {
        {"glu_setCallocFunc", Fault::RESULT},    {"glu_setReallocFunc", Fault::RESULT},
        {"glu_setFseekFunc", Fault::RESULT},     {"glu_setFtellFunc", Fault::RESULT},
        {"glu_setFeofFunc", Fault::RESULT},      {"glu_setPrintMessageFunc", Fault::RESULT},
        {"glu_setMessageLevel", Fault::RESULT},  {"glu_setMessageSubLevel", Fault::RESULT},
        {"glu_setMessageLevel", Fault::LENGTH},  {"glu_setMessageSubLevel", Fault::LENGTH},
        {"glu_icuErrorName", Fault::LENGTH},     {"glu_loadIcuData", Fault::LENGTH},
        {"glu_cv_conv", Fault::LENGTH},          {"glu_case_conv_outbuflen", Fault::LENGTH},
        {"glu_extension_version", Fault::RESULT}};
    return std::any_of(std::begin(ALLOWED), std::end(ALLOWED),
                       [&](const auto &allowed) { return name == allowed.first && fault == allowed.second; });
}

bool plant(int index, Fault fault) {
    enum {
        NONE
#define NUMBER(name) , N_##name
            QBGL_EXTENSION_ENTRY_POINTS(NUMBER) QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(NUMBER)
    };
#define PLANT(name)                                                                                                                \
    if (index == N_##name) return !is_allowed(#name, fault) && Planted<N_##name, name##_fn>::plant(x.name, fault);
    QBGL_EXTENSION_ENTRY_POINTS(PLANT)
    QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(PLANT)
    return false;
}

#define NAME(name) #name,
constexpr const char *NAMES[] = {"", QBGL_EXTENSION_ENTRY_POINTS(NAME) QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(NAME)};

// Runs with each fault in a process of its own. Returns how many are not found.
int run_faults() {
    int planted = 0, missed = 0;
    for (int index = 1; index < static_cast<int>(std::size(NAMES)); ++index) {
        for (const Fault fault : {Fault::RESULT, Fault::NO_ERROR, Fault::LENGTH, Fault::LOCALE}) {
            const pid_t child = fork();
            if (child == 0) {
                quiet = true;
                to_plant = {index, static_cast<int>(fault)};
                _exit(run());
            }
            int status = 0;
            waitpid(child, &status, 0);
            if (WIFEXITED(status) && WEXITSTATUS(status) == NO_FAULT) continue;
            ++planted;
            if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) continue;
            ++missed;
            fprintf(stderr, "%s: fault %d is not found\n", NAMES[index], static_cast<int>(fault));
        }
    }
    printf("%d faults planted, %d not found\n", planted, missed);
    return missed;
}

} // namespace

int main(int argc, char **argv) {
    const bool faults = argc > 1 && strcmp(argv[1], "--faults") == 0, cold = argc > 1 && strcmp(argv[1], "--cold") == 0;
    argv += faults || cold, argc -= faults || cold;
    if (argc < 3) return fprintf(stderr, "usage: extension_conformance [--cold|--faults] TREE LOCALE [SOURCE:TARGET ...]\n"), 2;
    const string vrn = string(argv[1]) + "/vrn/";
    etc = vrn + "etc/", locale_name = argv[2];
    std::ifstream list(etc + "dllregistry");
    for (string line; getline(list, line);) library_path = vrn + "dll/" + line;
    for (int i = 3; i < argc; ++i) {
        std::pair<int, int> pair;
        if (sscanf(argv[i], "%d:%d", &pair.first, &pair.second) == 2) pairs.push_back(pair);
    }
    return faults ? run_faults() : run(cold);
}
