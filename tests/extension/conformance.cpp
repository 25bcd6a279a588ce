// Runs an extension library through the contract of qbgl_extension.h: every entry point, with good and hostile arguments, rooms of
// every size in front of memory that may not be touched, memory that runs out, several threads, and a second loading.
//
//     extension_conformance TREE LOCALE [SOURCE:TARGET ...]        the extension that TREE/vrn/etc/dllregistry lists last
//     extension_conformance --cold TREE LOCALE ...                 the same with every request of memory refused to a fresh process
//     extension_conformance --faults TREE LOCALE SOURCE:TARGET     the same with a fault planted in each entry point: the run must
//     fail
#include "qbgl_extension.h"
#include "support/guarded.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <fcntl.h>
#include <fstream>
#include <numeric>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <tuple>
#include <type_traits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using std::string;
using std::vector;

// ---------------------------------------------------------------------------------------------------------------------------------
// What is told of a breach
// ---------------------------------------------------------------------------------------------------------------------------------

thread_local const char *entry = "loading"; // the entry point that was called last
thread_local int error;                     // what it left in the cell for the error or the status
thread_local bool has_cell;                 // whether it was given one
thread_local string context;                // with what it was called
std::atomic<int> breaches = 0;
bool quiet = false;
constexpr int MOST_TOLD = 40, NO_FAULT = 100;

// What is compared and shown of a result: a number, or the bytes of a text.
template <class Value> auto plain(const Value &value) {
    if constexpr (std::is_pointer_v<Value> || std::is_null_pointer_v<Value>)
        return static_cast<long long>(reinterpret_cast<intptr_t>(static_cast<const void *>(value)));
    else if constexpr (std::is_integral_v<Value> || std::is_enum_v<Value>)
        return static_cast<long long>(value);
    else
        return string(reinterpret_cast<const char *>(value.data()), value.size() * sizeof value[0]);
}
string shown(long long value) { return std::to_string(value); }
string shown(const string &bytes) {
    string text;
    for (const unsigned char byte : bytes) text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
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
template <class Found, class Expected> void expect_equal(const Found &found, const Expected &expected, const char *clause) {
    if (plain(found) != plain(expected)) breach(clause, "is " + shown(plain(found)) + ", should be " + shown(plain(expected)));
}
template <class Found, class Expected>
void expect_result(const Found &found, const Expected &expected, const char *clause, int number = 0) {
    expect_equal(found, expected, clause);
    if (error != number && has_cell) breach(clause, "error " + shown(error) + ", should be " + shown(number));
}
// A failure is told by -1 or null, but by those whose -1 means something by 0.
template <class Result> void expect_failure(Result found, int number, const char *clause) {
    constexpr const char *TELL_0[] = {"glu_mbsbytes", "glu_ismctype",  "glu_mbtoupper", "glu_mbtolower",
                                      "glu_mbscoll",  "glu_ucs32coll", "glu_ucscoll",   "glu_order_compare"};
    const bool tells_0 = std::any_of(std::begin(TELL_0), std::end(TELL_0), [](const string &name) { return name == entry; });
    if constexpr (std::is_pointer_v<Result>)
        expect_result(found, nullptr, clause, number);
    else
        expect_result(found, static_cast<Result>(tells_0 ? 0 : -1), clause, number);
}

void die_of_signal(int number) {
    if (!quiet) dprintf(2, "%s: touches memory that it was not given, or dies (signal %d)\n", entry, number);
    _exit(3);
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Memory in front of a page that may not be touched, and the host's functions
// ---------------------------------------------------------------------------------------------------------------------------------

template <class Unit>
using StringOf =
    std::basic_string<std::conditional_t<sizeof(Unit) == 1, char, std::conditional_t<sizeof(Unit) == 2, char16_t, char32_t>>>;

template <class Unit> class Guarded {
  public:
    explicit Guarded(int size) : units_(static_cast<Unit *>(memory_.take(size * sizeof(Unit), qbgl_test::Guard::behind))) {}
    explicit Guarded(const StringOf<Unit> &text) : Guarded(text.size()) { memcpy(units_, text.data(), text.size() * sizeof(Unit)); }
    Guarded &operator=(Guarded &&) = delete;
    ~Guarded() { expect(memory_.clear(), "writes nothing before the room"); }

    operator Unit *() const { return units_; }
    StringOf<Unit> first(int count) const {
        return {reinterpret_cast<const typename StringOf<Unit>::value_type *>(units_), static_cast<size_t>(count)};
    }

  private:
    qbgl_test::GuardedMemory memory_{1};
    Unit *units_;
};

std::atomic<long> live = 0, asked = 0, refuse_from = LONG_MAX, refuse_to = LONG_MAX; // blocks that are out, and requests, from 1

bool refused() { return ++asked >= refuse_from && asked <= refuse_to; }
void *counted(void *block) {
    if (block != nullptr) ++live;
    return block;
}
void *host_malloc(uint32_t size) { return counted(refused() ? nullptr : malloc(size)); }
void *host_calloc(uint32_t count, uint32_t size) { return counted(refused() ? nullptr : calloc(count, size)); }
void *host_realloc(void *pointer, uint32_t size) {
    if (refused()) return nullptr;
    return pointer == nullptr ? counted(malloc(size)) : realloc(pointer, size);
}
void host_free(void *pointer) {
    if (pointer != nullptr) --live;
    free(pointer);
}

// A stream of the host's own kind: libc's functions, to which it is all zeros, die of it.
struct HostStream {
    explicit HostStream(string of, bool failing = false) : bytes(std::move(of)), fails(failing) {}

    char zeros[256] = {};
    string bytes;
    int at = 0;
    bool fails;

    bool is_at_end() const { return at == std::ssize(bytes); }
};
int read_host_stream(void *stream) {
    auto &host = *static_cast<HostStream *>(stream);
    return host.is_at_end() ? EOF : static_cast<unsigned char>(host.bytes[host.at++]);
}
HostStream &host_stream(FILE *stream) { return *reinterpret_cast<HostStream *>(stream); }
int host_fgetc(FILE *stream) { return read_host_stream(stream); }
int host_fseek(FILE *, int32_t, int) { return -1; }
long host_ftell(FILE *) { return -1; }
int host_ferror(FILE *stream) { return host_stream(stream).fails; }
int host_feof(FILE *stream) { return !host_stream(stream).fails && host_stream(stream).is_at_end(); }
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

// Puts the fault into an entry point where it is one there; or null.
bool (*plant)(Fault);
Fault planted;

// Calls an entry point, with a cell for the error or the status where the arguments leave one out.
template <class Result, class... Parameters, class... Arguments>
Result called(const char *name, Result (*function)(Parameters...), Arguments &&...arguments) {
    entry = name, error = 0, has_cell = sizeof...(Arguments) < sizeof...(Parameters);
    if constexpr (sizeof...(Arguments) == sizeof...(Parameters)) {
        return function(arguments...);
    } else {
        std::remove_pointer_t<std::tuple_element_t<sizeof...(Arguments), std::tuple<Parameters...>>> cell = 0;
        const Result result = function(arguments..., &cell);
        error = cell;
        return result;
    }
}
#define ASK(name, ...) called(#name, x.name __VA_OPT__(, ) __VA_ARGS__)
// The entry point as a function that others are given.
#define ASKING(name) [](auto &&...arguments) { return ASK(name, arguments...); }

bool load() {
    library = dlopen(library_path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (library == nullptr) return breach(dlerror(), ""), false;
#define RESOLVE(name) x.name = reinterpret_cast<name##_fn *>(dlsym(library, #name));
#define DEMAND(name) RESOLVE(name) if (x.name == nullptr) return breach(#name " is missing", ""), false;
    QBGL_EXTENSION_ENTRY_POINTS(DEMAND)
    QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(RESOLVE)
    if (plant != nullptr && !plant(planted)) _exit(NO_FAULT);
    return true;
}

void hand_over() {
    ASK(glu_setMallocFunc, host_malloc), ASK(glu_setCallocFunc, host_calloc), ASK(glu_setReallocFunc, host_realloc);
    ASK(glu_setFreeFunc, host_free), ASK(glu_setFgetcFunc, host_fgetc), ASK(glu_setFseekFunc, host_fseek);
    ASK(glu_setFtellFunc, host_ftell), ASK(glu_setFerrorFunc, host_ferror), ASK(glu_setFeofFunc, host_feof);
    ASK(glu_setPrintMessageFunc, host_print), ASK(glu_setMessageLevel, 65535), ASK(glu_setMessageSubLevel, 1);
    char name[33] = {};
    expect_equal(ASK(glu_getIcuDataFileName, name, 32), 0, "tells a name in 32 bytes");
    data_path = etc + name;
}

void start() {
    hand_over();
    data = ASK(glu_loadIcuData, data_path.c_str(), 0);
    expect(data != nullptr && error == 0, "loads the data of the tree");
    map = ASK(glu_loadMapData, (etc + "locmap").c_str());
    expect(map != nullptr && error == 0, "loads the map of the tree");
    l = ASK(glu_lc_open, locale_name.c_str(), map);
    expect(l != nullptr && error == 0, "opens a locale of the map");
    entry = "glu_setMallocFunc";
    expect(live > 0, "memory comes from the host's functions");
    if (x.glu_extension_version != nullptr)
        expect_equal(ASK(glu_extension_version) / 100, QBGL_EXTENSION_VERSION_MAJOR, "the major version of the contract");
}

void stop() {
    expect(ASK(glu_lc_close, std::exchange(l, nullptr)) == nullptr, "returns null");
    ASK(glu_unloadIcuData, std::exchange(data, nullptr));
    ASK(glu_unloadMapData, std::exchange(map, nullptr));
    expect_equal(live.load(), 0, "the last unloading gives back all memory of the host's");
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Texts
// ---------------------------------------------------------------------------------------------------------------------------------

struct Character {
    gl_wchar value;
    string mb;
    std::u16string uc;
    std::u32string uc32;
};

// A text in one of its forms: by characters and as a whole, without and with a terminator.
template <class Unit> struct Form {
    using String = StringOf<Unit>;

    Form(const vector<String> &of, const String &end)
        : pieces(of), all(std::accumulate(of.begin(), of.end(), String())), terminator(end), counted(all), terminated(all + end),
          size(all.size()) {}
    // Where the i-th character stands.
    int place(int i) const { return std::accumulate(pieces.begin(), pieces.begin() + i, String()).size(); }

    vector<String> pieces;
    String all, terminator;
    Guarded<Unit> counted, terminated;
    int size;
};
string nul; // the terminator of the codeset

struct Text {
    explicit Text(const vector<Character> &of)
        : characters(of), count(of.size()), mb(forms(&Character::mb), nul), uc(forms(&Character::uc), {0}),
          uc32(forms(&Character::uc32), {0}) {}
    template <class String> vector<String> forms(String Character::*form) const {
        vector<String> all;
        for (const Character &character : characters) all.push_back(character.*form);
        return all;
    }

    vector<Character> characters;
    int count;
    Form<char> mb;
    Form<uint16_t> uc;
    Form<gl_wchar> uc32;
};

vector<Character> characters; // of the codeset: those of ASCII, and some others
std::deque<Text> texts;
std::deque<Guarded<char>> no_characters; // bytes that begin none, terminated

// By way of the values, as everything else is compared with them.
void find_characters() {
    nul.assign(std::max(ASK(glu_mb_loc_min, l), 1), '\0');
    for (const gl_wchar value : U"ABabzZ1 -.\t\n\x1\x7F\xE4\xC4\xDF\xE9\x10D\x161\x17E\x3B1\x3A9\x416\x436\x5D0\xE01\x20AC\x3042"
                                U"\x65E5\x672C\xAC00\xFF21\x10400\x1F600\x20000\x10FFFD") {
        if (value == 0) break;
        context = "value " + shown(value);
        const Guarded<char> room(ASK(glu_mb_loc_max, l));
        const int length = ASK(glu_uc32tomb, l, room, value);
        std::u16string units(1, static_cast<char16_t>(value));
        if (value > 0xFFFF)
            units = {static_cast<char16_t>(0xD7C0 + (value >> 10)), static_cast<char16_t>(0xDC00 | (value & 0x3FF))};
        if (length > 0)
            characters.push_back({value, room.first(length), units, std::u32string(1, value)});
        else
            expect_failure(length, value > 0x7F ? GL_EILSEQ : 0, "a value that the codeset has not got, but for ASCII");
    }
    context.clear();
    for (const char32_t *const values :
         {U"", U"a", U"b", U"B", U"A b  ", U"ab", U"Abz-1.a", U"\xE4z", U"a\x10D", U" \x17E\x161 ", U"\x65E5\x672C",
          U"z\x1F600\x416", U"  ", U"\x10FFFDz\xE9\x20AC", U"aB\t \n ", U"\x1\xDF\x3B1\x3042"}) {
        vector<Character> known;
        for (const char32_t value : std::u32string(values))
            for (const Character &character : characters)
                if (character.value == value) known.push_back(character);
        texts.emplace_back(known);
    }
    vector<Character> everything;
    for (int i = 0; i < 12; ++i) everything.insert(everything.end(), characters.begin(), characters.end());
    texts.emplace_back(everything);
    for (const string bytes :
         {"\x80", "\xFF", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE4\x41\x41", "\xC3("})
        if (ASK(glu_mbtouc32, l, nullptr, bytes.c_str(), bytes.size()) == -1 && error == GL_EILSEQ)
            no_characters.emplace_back(bytes + nul);
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Hostile arguments
// ---------------------------------------------------------------------------------------------------------------------------------

// Good arguments, and what must be refused in their place.
template <int NUMBER, int... VALUES> struct Refusing {
    int value;
    operator int() const { return value; }
};
using Length = Refusing<GL_EBADARG, -2>; // -1 is for terminated text
using Count = Refusing<GL_ENEGCOUNT, -1>;
using Bound = Refusing<GL_EBADARG, 3, -1>;
using Passes = Refusing<GL_EBADARG, 0, -1>;

constexpr gl_wchar A_AS_VALUES[] = {'a', 0}, NO_VALUES[] = {'a', 0xD800, 0};
constexpr uint16_t A_AS_UNITS[] = {'a', 0}, LONE_SURROGATE[] = {0xD800, 'a', 0};

enum class Demand { A_TEXT, A_TEXT_OR_NONE, ANY_UNITS };
// A text, in the units that the entry point takes.
template <Demand> struct Sample {
    const char *mb = "a";
    const uint16_t *uc = A_AS_UNITS;
    const gl_wchar *uc32 = A_AS_VALUES;
    operator const char *() const { return mb; }
    operator const uint16_t *() const { return uc; }
    operator const gl_wchar *() const { return uc32; }
};
// Where an entry point writes, in its units.
struct Room {
    operator char *() const { return reinterpret_cast<char *>(units); }
    operator uint16_t *() const { return reinterpret_cast<uint16_t *>(units); }
    operator gl_wchar *() const { return units; }
    static inline thread_local gl_wchar units[16];
};

template <class Refuse> void spoil(void *&locale, Refuse refuse) { refuse(locale, nullptr, GL_ENULLPTR, "a null locale"); }
template <int NUMBER, int... VALUES, class Refuse> void spoil(Refusing<NUMBER, VALUES...> &number, Refuse refuse) {
    (refuse(number, {VALUES}, NUMBER, "a number out of its range"), ...);
}
template <Demand DEMAND, class Refuse> void spoil(Sample<DEMAND> &text, Refuse refuse) {
    refuse(text, {nullptr, nullptr, nullptr}, DEMAND == Demand::A_TEXT_OR_NONE ? 0 : GL_ENULLPTR, "a null text");
    if (DEMAND == Demand::ANY_UNITS) return;
    for (const Guarded<char> &bytes : no_characters)
        refuse(text, {bytes, LONE_SURROGATE, NO_VALUES}, GL_EILSEQ, "what is no character");
}
template <class Other, class Refuse> void spoil(Other &, Refuse) {}

// Calls an entry point with good arguments, and then with each of them replaced by what it must refuse.
template <class Ask, class... Arguments> void check_refusals_by(Ask ask, std::tuple<Arguments...> arguments) {
    std::apply(ask, arguments);
    expect_equal(error, 0, "good arguments");
    const auto refuse = [&]<class Argument>(Argument &argument, std::type_identity_t<Argument> hostile, int number,
                                            const char *clause) {
        std::swap(argument, hostile);
        if (number != 0)
            expect_failure(std::apply(ask, arguments), number, clause);
        else
            expect_result(std::apply(ask, arguments), 0, clause);
        argument = hostile;
    };
    std::apply([&](auto &...each) { (spoil(each, refuse), ...); }, arguments);
}
template <class... Arguments, class... Asks> void expect_refusals(std::tuple<Arguments...> arguments, Asks... asks) {
    (check_refusals_by(asks, arguments), ...);
}

// Texts that two pointers tell of, as functions of one.
char *last_character(void *locale, const char *s, int16_t *cell) {
    return x.glu_mbsprev(locale, s, s == nullptr ? s : s + strlen(s), cell);
}
int first_width(void *locale, const char *s, int16_t *cell) { return x.glu_mbspwidth(locale, s, s + 1, cell); }

void check_refusals() {
    constexpr Sample<Demand::A_TEXT> TEXT;
    constexpr Sample<Demand::A_TEXT_OR_NONE> TEXT_OR_NONE;
    constexpr Sample<Demand::ANY_UNITS> ANY;
    constexpr Length END{-1};
    constexpr Room ROOM;
    using std::tuple;
    expect_refusals(tuple(l), ASKING(glu_mb_loc_max), ASKING(glu_mb_loc_min), ASKING(glu_getICULocName));
    expect_refusals(tuple(l, ROOM, TEXT_OR_NONE, 4), ASKING(glu_mbtouc32), ASKING(glu_mbtouc));
    expect_refusals(tuple(l, TEXT_OR_NONE, 4), ASKING(glu_mblen));
    expect_refusals(tuple(l, TEXT_OR_NONE), ASKING(glu_mbsbytes));
    expect_refusals(tuple(l, TEXT, -1), ASKING(glu_mbsnext));
    expect_refusals(tuple(l, TEXT, 4, GL_CLASS_ALPHA), ASKING(glu_ismctype));
    expect_refusals(tuple(l, ROOM, TEXT, 4), ASKING(glu_mbtoupper), ASKING(glu_mbtolower));
    expect_refusals(tuple(l, ROOM, TEXT), ASKING(glu_uctomb), ASKING(glu_mbstoupper), ASKING(glu_mbstolower),
                    ASKING(glu_ucs32toupper), ASKING(glu_ucs32tolower));
    expect_refusals(tuple(l, ROOM, 8, TEXT, END), ASKING(glu_mbstoucs32), ASKING(glu_mbstoucs), ASKING(glu_ucs32tombs),
                    ASKING(glu_ucstombs), ASKING(glu_ucstoucs32), ASKING(glu_ucs32toucs));
    expect_refusals(tuple(l, TEXT, END), ASKING(glu_mbslen), ASKING(glu_mbsntsbytes));
    expect_refusals(tuple(l, TEXT, TEXT), ASKING(glu_mbschr));
    expect_refusals(tuple(l, TEXT, Count{1}), ASKING(glu_getmbsi), ASKING(glu_mbswidth));
    expect_refusals(tuple(l, ROOM, Count{0}, TEXT), ASKING(glu_putmbsi));
    expect_refusals(
        tuple(l, TEXT), ASKING(glu_mbwidth), [](auto... arguments) { return called("glu_mbsprev", last_character, arguments...); },
        [](auto... arguments) { return called("glu_mbspwidth", first_width, arguments...); });
    expect_refusals(tuple(l, TEXT, -1, TEXT, -1), ASKING(glu_mbscoll), ASKING(glu_ucs32coll), ASKING(glu_ucscoll));
    expect_refusals(tuple(l, ROOM, TEXT, 64), ASKING(glu_mbsxfrm), ASKING(glu_ucs32xfrm), ASKING(glu_ucsxfrm));
    expect_refusals(tuple(l, ROOM, TEXT, -1, Bound{0}, Passes{1}, 64), ASKING(glu_mbsCollBound));
    expect_refusals(tuple(l, ROOM, ANY, Bound{0}, Passes{1}, 64), ASKING(glu_mbsSortKeyCollBound));
    expect_refusals(tuple(ANY), ASKING(glu_ucs32len));
    expect_refusals(tuple(ANY, 'a'), ASKING(glu_ucs32uc32));
    expect_refusals(tuple(ANY, Count{1}), ASKING(glu_ucs32width));

    const gl_wchar *const wide = ANY;
    for (const auto &[len1, len2] : {std::pair{1, -1}, {-1, 1}, {-2, -2}}) {
        const int number = len1 == len2 ? GL_EBADARG : GL_EMIXEDLEN;
        expect_failure(ASK(glu_mbscoll, l, TEXT, len1, TEXT, len2), number, "one length of -1, or negative ones");
        expect_failure(ASK(glu_ucs32coll, l, TEXT, len1, TEXT, len2), number, "one length of -1, or negative ones");
        expect_failure(ASK(glu_ucscoll, l, TEXT, len1, TEXT, len2), number, "one length of -1, or negative ones");
    }
    expect_failure(ASK(glu_uc32tomb, nullptr, ROOM, 'a'), GL_ENULLPTR, "a null locale");
    expect_failure(ASK(glu_uc32tomb, l, nullptr, 'a'), GL_ENULLPTR, "a null room");
    expect_failure(ASK(glu_uctomb, l, nullptr, TEXT), GL_ENULLPTR, "a null room");
    expect_result(ASK(glu_mbtouc32, l, nullptr, TEXT, 1), 1, "a null place for the value");
    expect(ASK(glu_mbtouc32, l, nullptr, TEXT, 0, nullptr) == -1, "a null cell");
    expect_failure(ASK(glu_ucs32pwidth, wide, nullptr), GL_ENULLPTR, "a null end");
    expect_failure(ASK(glu_ucs32pwidth, wide + 1, wide), GL_EENDBEFORE, "an end before the start");
    expect_failure(ASK(glu_mbspwidth, l, nul.c_str() + 1, nul.c_str()), GL_EENDBEFORE, "an end before the start");
    if (const string &longest = characters.back().mb; longest.size() > 1) {
        expect_failure(ASK(glu_mbstoucs32, l, ROOM, 8, longest.c_str(), 1), GL_EILSEQ, "a character that the length cuts");
        expect_failure(ASK(glu_mbstoucs, l, ROOM, 8, longest.c_str(), 1), GL_EILSEQ, "a character that the length cuts");
    }
    for (const gl_wchar none : {0xD800U, 0xDFFFU, 0x110000U, ~0U}) {
        expect_failure(ASK(glu_uc32tomb, l, ROOM, none), GL_EILSEQ, "a value that is no character");
        expect_equal(ASK(glu_isuc32type, none, ~0U), 0, "a value that is no character");
        expect_result(ASK(glu_uc32toupper, l, none), none, "a value that is no character stays");
        expect_result(ASK(glu_uc32tolower, l, none), none, "a value that is no character stays");
        expect_equal(ASK(glu_uc32width, none), -1, "a value that is no character");
    }
    expect_equal(ASK(glu_ucs32width, NO_VALUES, 2), -1, "a value that is no character");
    expect_result(ASK(glu_uc32toupper, nullptr, '1'), '1', "a null locale", GL_ENULLPTR);
    expect_result(ASK(glu_uc32tolower, nullptr, '1'), '1', "a null locale", GL_ENULLPTR);
    HostStream stream("a");
    int length;
    expect_failure(ASK(glu_getmb, nullptr, ROOM, read_host_stream, &stream, &length), GL_ENULLPTR, "a null locale");
    expect_failure(ASK(glu_fgetuc32, nullptr, reinterpret_cast<FILE *>(&stream)), GL_ENULLPTR, "a null locale");
}

// ---------------------------------------------------------------------------------------------------------------------------------
// The clauses, by sections of the header
// ---------------------------------------------------------------------------------------------------------------------------------

// A FIFO for as long as the process lives: who opens it to read would wait.
string make_fifo() {
    char folder[] = "/tmp/qbgl.XXXXXX";
    const string path = mkdtemp(folder) + string("/fifo");
    expect(mkfifo(path.c_str(), S_IRUSR) == 0, "a FIFO can be made");
    const int number = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    unlink(path.c_str()), rmdir(folder);
    return "/proc/self/fd/" + shown(number);
}

void check_files() {
    for (int room = 0; room <= 32; ++room) {
        const Guarded<char> name(room);
        if (ASK(glu_getIcuDataFileName, name, room) == 0)
            expect(memchr(name, 0, room) != nullptr, "the name is terminated within the room");
    }
    expect(ASK(glu_getIcuDataFileName, nullptr, 0) != 0, "no room");
    for (const int code : {0, 1, 15, -1, INT_MAX}) expect(ASK(glu_icuErrorName, code) != nullptr, "never null");
    static const string fifo = make_fifo();
    for (const char *path : {static_cast<const char *>(nullptr), "/nowhere/at/all", fifo.c_str()}) {
        expect(ASK(glu_loadIcuData, path, 0) == nullptr && error > 0, "a path that does not lead to a file");
        expect(ASK(glu_loadMapData, path) == nullptr && error > 0, "a path that does not lead to a file");
        expect(ASK(glu_loadIcuData, path, 0, nullptr) == nullptr, "a null cell");
        expect(ASK(glu_loadMapData, path, nullptr) == nullptr, "a null cell");
    }
    ASK(glu_unloadIcuData, nullptr), ASK(glu_unloadMapData, nullptr);
}

void check_locales() {
    const char *const served = locale_name.c_str();
    for (const int category : {GL_CAT_CTYPE, GL_CAT_COLLATE})
        expect_equal(ASK(glu_useIcuLocCall, served, category), 1, "serves what the map says");
    for (const int category : {-1, 0, 8, INT_MAX}) expect_equal(ASK(glu_useIcuLocCall, served, category), 0, "no category");
    for (const char *name : {static_cast<const char *>(nullptr), "", "xx_nowhere/ffff.lco", "cs_cz/ +1c.lco",
                             "cs_CZ.utf8@collation=none", "cs-CZ-garbagegarbagegarbage.utf8", served + 1}) {
        expect_equal(ASK(glu_useIcuLocCall, name, GL_CAT_CTYPE), 0, "a name that is not in the map");
        expect_failure(ASK(glu_lc_open, name, map), name != nullptr ? GL_ENOFILE : GL_ENULLPTR, "a name that is not in the map");
    }
    const char *const told = ASK(glu_getICULocName, l);
    expect(told != nullptr && *told != '\0', "a name");
    expect_failure(ASK(glu_lc_open, served, nullptr), GL_ENULLPTR, "a null map");
    expect(ASK(glu_lc_open, served, nullptr, nullptr) == nullptr, "a null cell");
    expect_failure(ASK(glu_lc_clone, nullptr), GL_ENULLPTR, "a null locale");
    expect(ASK(glu_lc_close, nullptr) == nullptr, "a null locale");
    int longest = 1;
    for (const Character &c : characters) longest = std::max<int>(longest, c.mb.size());
    const int most = ASK(glu_mb_loc_max, l);
    expect(most <= 4 && most >= longest, "the bytes of the longest character");
    expect_equal(ASK(glu_mb_loc_min, l), characters[0].mb.size(), "the bytes of the shortest character");
    // Opened and closed again, handles leave nothing.
    long after_first = 0;
    for (int i = 0; i < 8; ++i) {
        void *const first = ASK(glu_lc_open, served, map);
        void *const second = ASK(glu_lc_clone, first);
        expect(first != nullptr && second != nullptr && first != second && error == 0, "a second handle");
        ASK(glu_lc_close, first);
        expect_result(ASK(glu_mblen, second, "a", 1), 1, "outlives the first handle");
        expect(ASK(glu_lc_close, second) == nullptr, "returns null");
        if (i == 1) after_first = live;
    }
    expect_equal(live.load(), after_first, "gives back the memory of a locale");
}

// A function that reads one character: with every length of a text that ends with it, or of a terminated one.
template <class Ask> void check_lengths(const Character &c, int least, Ask ask, int expected) {
    const Guarded<char> text(c.mb), terminated(c.mb + nul);
    const int size = c.mb.size();
    for (int n = least; n <= size + 2; ++n) {
        const int found = ask(n == -1 ? terminated : text, n);
        if (n >= size || (n == -1 && entry != string("glu_mblen")))
            expect_result(found, expected, "what it tells of the character");
        else
            expect_failure(found, GL_EINVAL, "a length that is too short");
    }
}

template <class ToValue, class ToBytes> void check_other_case(const Character &c, ToValue map_value, ToBytes map_bytes) {
    char expected[4], bytes[4];
    const gl_wchar mapped = map_value(l, c.value);
    const int size = x.glu_uc32tomb(l, expected, mapped, nullptr);
    const auto read = [&](const char *s, int n) {
        const int packed = map_bytes(l, bytes, s, n);
        if (packed > 0 && size > 0)
            expect_equal(string(bytes, packed & 255), string(expected, size), "the character that the value is mapped to");
        return packed >> 8;
    };
    check_lengths(c, 0, read, c.mb.size());
}

void check_characters() {
    for (const Character &c : characters) {
        context = shown(c.mb);
        const int size = c.mb.size();
        const auto to_value = [&](const char *s, int n) {
            gl_wchar value = ~0U;
            const int result = ASK(glu_mbtouc32, l, &value, s, n);
            if (result >= 0) expect_equal(value, c.value, "the value of the character");
            return result;
        };
        const auto to_units = [&](const char *s, int n) {
            uint16_t units[2] = {};
            const int result = ASK(glu_mbtouc, l, units, s, n);
            if (result >= 0) expect(std::equal(c.uc.begin(), c.uc.end(), units), "the units of the character");
            return result;
        };
        const auto next = [](const char *s, int n) {
            const char *const behind = ASK(glu_mbsnext, l, s, n);
            return behind == nullptr ? -1 : behind - s;
        };
        check_lengths(c, -2, to_value, size);
        check_lengths(c, -2, to_units, size);
        check_lengths(
            c, -2, [](const char *s, int n) { return ASK(glu_mblen, l, s, n); }, size);
        check_lengths(c, -2, next, size);
        check_lengths(
            c, 0, [](const char *s, int n) { return ASK(glu_ismctype, l, s, n, ~0U); }, ASK(glu_isuc32type, c.value, ~0U));
        check_other_case(c, ASKING(glu_uc32toupper), ASKING(glu_mbtoupper));
        check_other_case(c, ASKING(glu_uc32tolower), ASKING(glu_mbtolower));
        const Guarded<char> room(size);
        expect_result(ASK(glu_uctomb, l, room, reinterpret_cast<const uint16_t *>(c.uc.data())), size,
                      "the bytes of the character");
        expect_equal(room.first(size), c.mb, "its bytes");
    }
    context.clear();
    gl_wchar value = 1;
    uint16_t units[2] = {1, 1};
    const Guarded<char> end(nul);
    const int size = nul.size();
    expect_result(ASK(glu_mbtouc32, l, &value, end, size), 0, "the NUL character");
    expect_equal(value, 0, "the value of NUL");
    expect_result(ASK(glu_mbtouc, l, units, end, size), 0, "the NUL character");
    expect_equal(units[0], 0, "the unit of NUL");
    expect_result(ASK(glu_mblen, l, end, size), 0, "the NUL character");
    expect_result(ASK(glu_mbsnext, l, end, -1), end + size, "behind the NUL character");
    expect_failure(ASK(glu_mbtouc32, l, &value, end, -1), GL_EINVAL, "an empty text");
    expect_failure(ASK(glu_mbtouc, l, units, end, -1), GL_EINVAL, "an empty text");
    for (const gl_wchar letter : {U'a', U'b', U'z'}) {
        expect_result(ASK(glu_uc32toupper, l, letter), letter - 32, "the capital of a letter of ASCII");
        expect_result(ASK(glu_uc32tolower, l, letter - 32), letter, "the small letter of a capital of ASCII");
        expect_equal(ASK(glu_isuc32type, letter, GL_CLASS_LOWER | GL_CLASS_UPPER), GL_CLASS_LOWER, "a small letter");
    }
    expect_equal(ASK(glu_isuc32type, ' ', GL_CLASS_BLANK | GL_CLASS_CNTRL | GL_CLASS_GRAPH), GL_CLASS_BLANK, "the space");
}

// An entry point that goes from one form of a text to another: with rooms of every size, counted and terminated.
template <class Source, class Target, class Ask>
void check_transfer(Ask ask, const Form<Source> &source, const Form<Target> &target) {
    constexpr bool TELLS_FULL = sizeof(Target) > 1; // n or n + 1 where the room ends it; the others tell what they wrote
    const int end = target.terminator.size();
    for (int room = 0; room <= target.size + end + 1; room += target.size > 60 && room + 9 < target.size ? 7 : 1) {
        int fits = 0;
        for (const auto &piece : target.pieces) {
            if (fits + std::ssize(piece) > room) break;
            fits += piece.size();
        }
        for (const bool has_end : {false, true}) {
            context = shown(plain(source.all)) + (has_end ? " terminated" : " counted") + ", room " + shown(room);
            const Guarded<Target> out(room);
            const int result = has_end ? ask(l, out, room, source.terminated, -1) : ask(l, out, room, source.counted, source.size);
            const bool whole = fits == target.size && (!has_end || fits + end <= room);
            expect_result(result, whole || !TELLS_FULL ? fits : has_end ? room : room + 1, "what it tells of what it wrote");
            const int written = fits + (has_end && whole ? end : 0);
            expect_equal(out.first(written), (target.all + target.terminator).substr(0, written),
                         "what it writes, with the terminator where there is room");
        }
    }
    context.clear();
}

void check_transfers() {
    for (const Text &text : texts) {
        check_transfer(ASKING(glu_mbstoucs32), text.mb, text.uc32);
        check_transfer(ASKING(glu_mbstoucs), text.mb, text.uc);
        check_transfer(ASKING(glu_ucstoucs32), text.uc, text.uc32);
        check_transfer(ASKING(glu_ucs32toucs), text.uc32, text.uc);
        check_transfer(ASKING(glu_ucs32tombs), text.uc32, text.mb);
        check_transfer(ASKING(glu_ucstombs), text.uc, text.mb);
    }
}

// What stands at the i-th character of a text: found, stepped to, and replaced.
void check_place(const Text &text, int i) {
    const char *const mbs = text.mb.terminated, *const counted = text.mb.counted;
    const Character &c = text.characters[i];
    const int at = text.mb.place(i), size = c.mb.size();
    expect_result(ASK(glu_mbsprev, l, counted, counted + at + size), counted + at, "the character before");
    if (size > 1) expect_failure(ASK(glu_mbsprev, l, counted, counted + at + 1), GL_EINVAL, "within a character");
    const int first = text.uc32.all.find(c.value);
    expect_result(ASK(glu_mbschr, l, mbs, Guarded<char>(c.mb)), mbs + text.mb.place(first), "where the character first stands");
    expect_result(ASK(glu_ucs32uc32, text.uc32.terminated, c.value), text.uc32.terminated + first, "where the value first stands");
    for (const Character &other : {characters.front(), characters.back()}) {
        string changed = text.mb.all + nul;
        changed.replace(at, size, other.mb);
        const Guarded<char> room(std::max(changed.size(), text.mb.all.size() + nul.size()));
        memcpy(room, mbs, text.mb.size + nul.size());
        expect_result(ASK(glu_putmbsi, l, room, i, Guarded<char>(other.mb)), room + at, "where the character stands");
        expect_equal(room.first(changed.size()), changed, "the changed text");
    }
}

void check_steps() {
    for (const Text &text : texts) {
        context = shown(text.mb.all);
        const char *const mbs = text.mb.terminated, *const counted = text.mb.counted;
        const gl_wchar *const ucs32 = text.uc32.terminated;
        expect_result(ASK(glu_mbslen, l, counted, text.mb.size), text.count, "the characters");
        expect_result(ASK(glu_mbslen, l, mbs, -1), text.count, "the characters");
        expect_result(ASK(glu_mbslen, l, (text.mb.all + nul + "a").c_str(), text.mb.size + nul.size()), text.count + 1,
                      "NUL in counted text");
        expect_result(ASK(glu_mbsbytes, l, mbs), text.mb.size + nul.size(), "the bytes with the terminator");
        expect_result(ASK(glu_ucs32len, ucs32), text.count, "the values");
        int rest = text.count;
        while (rest > 0 && x.glu_isuc32type(ucs32[rest - 1], GL_CLASS_BLANK | GL_CLASS_CNTRL) == GL_CLASS_BLANK) --rest;
        expect_result(ASK(glu_mbsntsbytes, l, mbs, -1), text.mb.place(rest), "the bytes before the blanks");
        expect_result(ASK(glu_mbsntsbytes, l, counted, text.mb.size), text.mb.place(rest), "the bytes before the blanks");
        for (int i = 0; i <= std::min(text.count, 40); ++i) {
            expect_result(ASK(glu_getmbsi, l, mbs, i), mbs + text.mb.place(i), "the i-th character");
            if (i < text.count) check_place(text, i);
        }
        expect_result(ASK(glu_mbschr, l, mbs, nul.c_str()), mbs + text.mb.size, "the terminator is a character");
        expect_result(ASK(glu_ucs32uc32, ucs32, 0), ucs32 + text.count, "the terminator is a value");
        expect_result(ASK(glu_ucs32uc32, ucs32, 0x2603), nullptr, "a value that is not there");
        expect_failure(ASK(glu_mbsprev, l, counted, counted), GL_EENDBEFORE, "at the start");
        HostStream stream(text.mb.all);
        for (const Character &c : text.characters) {
            char buffer[4];
            int length = 0;
            const int before = stream.at;
            expect_result(ASK(glu_getmb, l, buffer, read_host_stream, &stream, &length), 0, "reads a character");
            expect_equal(string(buffer, length), c.mb, "its bytes");
            stream.at = before;
            expect_result(ASK(glu_fgetuc32, l, reinterpret_cast<FILE *>(&stream)), c.value,
                          "reads a character by the host's functions");
        }
    }
    context.clear();
    const string &longest = characters.back().mb;
    vector<std::pair<HostStream, int>> streams = {{HostStream(""), GL_EEOF}, {HostStream("", true), GL_EIO}};
    if (longest.size() > 1) streams.emplace_back(longest.substr(0, longest.size() - 1), GL_EINVAL);
    if (!no_characters.empty()) streams.emplace_back(string(no_characters.front()), GL_EILSEQ);
    for (auto &[stream, number] : streams) {
        char buffer[4];
        int length = 9;
        expect_failure(ASK(glu_getmb, l, buffer, read_host_stream, &stream, &length), number == GL_EIO ? GL_EEOF : number,
                       "bytes that are no whole character");
        expect_equal(length, stream.at, "the bytes that were read");
        stream.at = 0;
        expect_failure(ASK(glu_fgetuc32, l, reinterpret_cast<FILE *>(&stream)), number, "bytes that are no whole character");
    }
}

void check_widths() {
    for (const Character &c : characters) {
        context = shown(c.mb);
        const Guarded<char> text(c.mb);
        const Guarded<gl_wchar> value(c.uc32 + U'\0');
        const int width = ASK(glu_uc32width, c.value);
        const bool is_printed = ASK(glu_isuc32type, c.value, GL_CLASS_PRINT) != 0;
        expect(is_printed ? width == 1 || (width == 2 && c.value > 0x7F) : width == -1, "one or two columns, one of ASCII");
        const auto expect_width = [&](int found) {
            expect_result(found, width, "the width of a character, where it is printed", is_printed ? 0 : GL_EINVAL);
        };
        expect_width(ASK(glu_uc32width, c.value));
        expect_width(ASK(glu_mbwidth, l, text));
        expect_width(ASK(glu_mbswidth, l, text, 1));
        expect_width(ASK(glu_ucs32width, value, 1));
        expect_width(ASK(glu_mbspwidth, l, text, text + 1));
        expect_width(ASK(glu_ucs32pwidth, value, value + 1));
    }
    for (const Text &text : texts) {
        context = shown(text.mb.all);
        const char *const mbs = text.mb.terminated;
        const gl_wchar *const ucs32 = text.uc32.terminated;
        int sum = 0;
        for (int n = 0; n <= text.count; ++n) {
            const int width = n > 0 ? x.glu_uc32width(ucs32[n - 1], nullptr) : 0;
            if (width < 0) break;
            sum += width;
            const int count = n < text.count ? n : INT_MAX;
            expect_result(ASK(glu_mbswidth, l, mbs, count), sum, "the columns of n characters");
            expect_result(ASK(glu_ucs32width, ucs32, count), sum, "the columns of n values");
            expect_result(ASK(glu_mbspwidth, l, mbs, mbs + text.mb.place(n)), sum, "the columns before the end");
            expect_result(ASK(glu_ucs32pwidth, ucs32, ucs32 + n), sum, "the columns before the end");
        }
    }
    context.clear();
    expect_result(ASK(glu_uc32width, 0), 0, "NUL");
    expect_result(ASK(glu_mbwidth, l, nul.c_str()), 0, "NUL");
}

template <class ToValue, class ToBytes, class ToValues>
void check_other_case(const Text &text, ToValue map_value, ToBytes map_bytes, ToValues map_values) {
    const auto has_fixed_case = [](const Character &c) { return c.value < 0x80 && c.value != 'i' && c.value != 'I'; };
    std::u32string expected;
    for (const Character &c : text.characters) expected += map_value(l, c.value, nullptr);
    const Guarded<gl_wchar> values(text.count + 1);
    expect_result(map_values(l, values, text.uc32.terminated), 0, "no count");
    expect_equal(values.first(text.count + 1), expected + U'\0', "each value by itself, and the terminator");
    const Guarded<char> out(std::max(ASK(glu_case_conv_outbuflen, l, text.mb.size), 0) + nul.size());
    const int length = map_bytes(l, out, text.mb.terminated);
    expect(length >= 0 && error == 0, "the bytes before the terminator");
    if (length < 0) return;
    expect(memcmp(out + length, nul.data(), nul.size()) == 0, "a terminator behind them");
    expect(x.glu_mbslen(l, out, length, nullptr) >= 0, "characters of the codeset");
    if (std::all_of(text.characters.begin(), text.characters.end(), has_fixed_case))
        expect_equal(out.first(length), string(expected.begin(), expected.end()), "the text of ASCII in the other case");
}

void check_case() {
    for (const Text &text : texts) {
        context = shown(text.mb.all);
        check_other_case(text, ASKING(glu_uc32toupper), ASKING(glu_mbstoupper), ASKING(glu_ucs32toupper));
        check_other_case(text, ASKING(glu_uc32tolower), ASKING(glu_mbstolower), ASKING(glu_ucs32tolower));
    }
    context.clear();
    expect_equal(ASK(glu_case_conv_outbuflen, nullptr, 1), -1, "a null locale");
    for (const int n : {INT_MIN, -1, 0}) expect_equal(ASK(glu_case_conv_outbuflen, l, n), 0, "no length");
    for (const int n : {1, 2, 1000, INT_MAX})
        expect(ASK(glu_case_conv_outbuflen, l, n) >= n, "n or more, as far as an int reaches");
}

int sign(long value) { return (value > 0) - (value < 0); }

// A key, made in rooms of every size.
template <class Ask> string key_of(Ask ask, bool has_end = true) {
    const int size = ask(static_cast<char *>(nullptr), 0);
    if (size < 0 || error != 0) return breach("the size of the key", shown(size)), "";
    string key;
    for (int room = size + 2; room >= 0; room -= room > 60 ? 9 : 1) {
        const Guarded<char> out(room);
        expect_result(ask(out, room), size, "the size of the key, whatever the room");
        const int written = std::min(room, size);
        if (room == size + 2) key = out.first(size);
        expect_equal(out.first(written), key.substr(0, written), "the key of a smaller room begins that of a larger one");
        if (has_end && room > size) expect(out[size] == 0, "a zero byte behind the key");
    }
    expect(key.find('\0') == string::npos, "no byte of the key is 0");
    return key;
}

void check_bounds(const Text &text, const string &key) {
    for (const int bound : {GLU_BOUND_LOWER, GLU_BOUND_UPPER, GLU_BOUND_UPPER_LONG}) {
        for (int passes = 1; passes <= 3; ++passes) {
            const string of_key =
                key_of([&](char *out, int n) { return ASK(glu_mbsSortKeyCollBound, l, out, key.c_str(), bound, passes, n); });
            const string of_text =
                key_of([&](char *out, int n) { return ASK(glu_mbsCollBound, l, out, text.mb.terminated, -1, bound, passes, n); });
            expect_equal(of_key, of_text, "the bound of the text");
            expect(bound == GLU_BOUND_LOWER ? of_text <= key : of_text >= key, "on its side of the key");
            if (bound != GLU_BOUND_UPPER_LONG || text.count == 0 || passes > 1) continue;
            const string longer = text.mb.all + "1";
            expect(of_text >= key_of([&](char *out, int n) { return ASK(glu_mbsxfrm, l, out, longer.c_str(), n); }),
                   "nor below the key of a text that goes on");
        }
    }
}

void check_order() {
    vector<string> keys;
    for (const Text &text : texts) {
        context = shown(text.mb.all);
        keys.push_back(key_of([&](char *out, int n) { return ASK(glu_mbsxfrm, l, out, text.mb.terminated, n); }));
        expect_equal(key_of([&](char *out, int n) { return ASK(glu_ucs32xfrm, l, out, text.uc32.terminated, n); }), keys.back(),
                     "the key of the same text");
        expect_equal(key_of([&](char *out, int n) { return ASK(glu_ucsxfrm, l, out, text.uc.terminated, n); }), keys.back(),
                     "the key of the same text");
        check_bounds(text, keys.back());
    }
    for (size_t i = 0; i < texts.size(); ++i) {
        for (size_t j = 0; j < texts.size(); ++j) {
            const Text &a = texts[i], &b = texts[j];
            context = shown(a.mb.all) + " " + shown(b.mb.all);
            const auto expect_order = [&](int order) {
                expect_result(sign(order), sign(keys[i].compare(keys[j])), "the order of the keys");
            };
            expect_order(ASK(glu_mbscoll, l, a.mb.terminated, -1, b.mb.terminated, -1));
            expect_order(ASK(glu_mbscoll, l, a.mb.counted, a.mb.size, b.mb.counted, b.mb.size));
            expect_order(ASK(glu_ucs32coll, l, a.uc32.counted, a.uc32.size, b.uc32.counted, b.uc32.size));
            expect_order(ASK(glu_ucscoll, l, a.uc.counted, a.uc.size, b.uc.counted, b.uc.size));
        }
    }
    context.clear();
    expect(ASK(glu_mbscoll, l, "a", -1, "b", -1) < 0, "a is before b");
    expect_result(ASK(glu_mbscoll, l, "a\0b", 3, "a\0b", 3), 0, "NUL in counted text");
    expect(ASK(glu_mbscoll, l, "a\0b", 3, "a\0c", 3) < 0 && error == 0, "what is behind NUL in counted text counts");
}

void check_order_version() {
    const int length = ASK(glu_order_version, l, nullptr, 0);
    expect(length > 0, "words");
    const Guarded<char> whole(std::max(length, 0) + 1);
    for (int room = length + 1; room >= 0; --room) {
        const Guarded<char> out(room);
        expect_equal(ASK(glu_order_version, l, room > length ? whole : out, room), length, "the length of the words");
        if (room > 0 && room <= length) expect_equal(string(out), whole.first(room - 1), "what fits, with a terminator");
    }
    expect_equal(ASK(glu_order_version, nullptr, whole, 1), -1, "a null locale");
}

// The optional order for indexes, of any bytes.
void check_index_order() {
    const bool has_order = x.glu_order_version != nullptr;
    expect((x.glu_order_compare != nullptr) == has_order && (x.glu_order_key != nullptr) == has_order,
           "the three of the order for indexes come together");
    if (!has_order) return;
    check_order_version();
    vector<string> any = {string("\0", 1), string("a\0b", 3), string("a\0", 2), "\1\2", "\xFF\xFF\xFF", "\xF0\x9F"};
    for (const Text &text : texts) any.push_back(text.mb.all);
    for (const Guarded<char> &bytes : no_characters) any.push_back("a" + string(bytes) + "b");
    const std::deque<Guarded<char>> counted(any.begin(), any.end());
    for (const int passes : {1, 2, 3, 9, -1}) {
        vector<string> keys;
        for (size_t i = 0; i < any.size(); ++i) {
            context = shown(any[i]) + " " + shown(passes) + " passes";
            const int size = any[i].size();
            const auto key = [&](int n) {
                const auto ask = [&](char *out, int room) {
                    return ASK(glu_order_key, l, counted[i], size, n, reinterpret_cast<unsigned char *>(out), room);
                };
                return key_of(ask, false);
            };
            keys.push_back(key(passes));
            expect(key(-1).starts_with(keys.back()), "the key of fewer passes begins that of more");
            if (any[i].find('\0') == string::npos)
                expect_result(ASK(glu_order_key, l, (any[i] + nul).c_str(), -1, passes, nullptr, 0), keys.back().size(),
                              "a terminated text");
        }
        for (size_t i = 0; i < any.size(); ++i) {
            for (size_t j = 0; j < any.size(); ++j) {
                context = shown(any[i]) + " " + shown(any[j]) + " " + shown(passes) + " passes";
                const int size1 = any[i].size(), size2 = any[j].size();
                expect_result(ASK(glu_order_compare, l, counted[i], size1, counted[j], size2, passes),
                              sign(keys[i].compare(keys[j])), "the order of the keys");
            }
        }
    }
    context.clear();
    expect_failure(ASK(glu_order_compare, nullptr, "a", 1, "b", 1, -1), GL_ENULLPTR, "a null locale");
    expect_failure(ASK(glu_order_key, nullptr, "a", 1, -1, nullptr, 0), GL_ENULLPTR, "a null locale");
}

struct Conversion {
    int result, status, taken, left;
    string out;
};
// Input and room lie in front of a guarded page; a terminated text has its length untold.
Conversion convert(void *converter, const string &in, int room, bool reset = true, bool terminated = false, bool measures = false) {
    const Guarded<char> text(in), output(room);
    const char *at = text;
    char *to = output;
    int left = in.size(), room_left = room, substituted = 9;
    const int result =
        ASK(glu_cv_conv, converter, reset, &at, terminated ? nullptr : &left, measures ? nullptr : &to, &room_left, &substituted);
    const int taken = at - text, status = error;
    if (!terminated) expect_equal(in.size() - left, taken, "pointer and count of the input go together");
    if (!measures) expect_equal(room - room_left, to - output, "pointer and count of the output go together");
    expect(substituted == 0 || substituted == 1, "the substitution flag is set");
    return {result, status, taken, room_left, measures ? "" : output.first(room - room_left)};
}

void check_refusals_of_converter(void *converter) {
    const char *at = "a", *const start = at;
    char room[8], *to = room;
    int one = 1, negative = -1, left = 8;
    const auto refuses = [&](int number, const char *clause, void *h, const char **in, int *inleft, int *outleft) {
        expect_failure(ASK(glu_cv_conv, h, 1, in, inleft, &to, outleft, nullptr), number, clause);
    };
    refuses(GL_ENULLPTR, "a null converter", nullptr, &at, &one, &left);
    refuses(GL_ENULLPTR, "a null input", converter, nullptr, &one, &left);
    refuses(GL_ENULLPTR, "a null output size", converter, &at, &one, nullptr);
    refuses(GL_EBADARG, "a negative input", converter, &at, &negative, &left);
    refuses(GL_EBADARG, "a negative output", converter, &at, &one, &negative);
    expect(at == start && one == 1 && left == 8 && to == room, "and nothing is moved");
}

void check_pair(int source, int target) {
    constexpr int UTF8 = 57372;
    const string pair = "from " + shown(source) + " to " + shown(target);
    context = pair;
    expect_equal(ASK(glu_useIcuCvtCall, source, target), 1, "converts the pair");
    void *const converter = ASK(glu_cv_open, source, target);
    expect(converter != nullptr && error == 0, "opens a converter");
    if (converter == nullptr) return;
    const char *const name = ASK(glu_getICUCvtName, converter);
    expect(name != nullptr && *name != '\0', "a name");
    const double expansion = ASK(glu_iconv_expansion, converter);
    expect(expansion > 0, "a factor");
    // What both codesets have is told by the way there, and back where the extension has that.
    void *const back = ASK(glu_useIcuCvtCall, target, source) == 1 ? ASK(glu_cv_open, target, source, nullptr) : nullptr;
    void *const from_utf8 = source == UTF8 ? converter : target == UTF8 ? back : nullptr;
    string text = "abc 1";
    for (const string utf8 : {"\u00E9", "\u00E4", "\u017E", "\u0416", "\u3042", "\u65E5", "\U0001F600", "\u200B", "z"}) {
        if (from_utf8 == nullptr) break;
        const Conversion known = convert(from_utf8, utf8, 16);
        if (known.result == 0) {
            text += source == UTF8 ? utf8 : known.out;
            continue;
        }
        expect(known.status == GL_EILSEQ && known.taken == 0, "a character that the target lacks is GL_EILSEQ, the place is on it");
        const Conversion within = convert(from_utf8, "a" + utf8 + "b", 16);
        expect(within.result == -1 && within.status == GL_EILSEQ && within.taken == 1, "the place is on what the target lacks");
    }
    const int in_size = text.size();
    const Conversion whole = convert(converter, text, 4096), measured = convert(converter, text, 4096, true, false, true);
    const int size = whole.out.size();
    expect(whole.result == 0 && whole.status == 0 && whole.taken == in_size, "converts a text");
    expect(measured.result == 0 && measured.left == 4096 - size, "measures without an output");
    expect(size <= expansion * in_size + 8, "the factor suffices");
    if (back != nullptr) expect_equal(convert(back, whole.out, 4096).out, text, "there and back");
    for (int room = 0; room < size; ++room) {
        context = pair + ", room " + shown(room);
        const Conversion part = convert(converter, text, room);
        expect(part.result == -1 && part.status == GL_E2BIG && part.taken < in_size, "too little room is GL_E2BIG");
        if (part.result == -1)
            expect_equal(part.out + convert(converter, text.substr(part.taken), 4096, false).out, whole.out,
                         "goes on where the room ended");
        expect(convert(converter, text.substr(0, part.taken), 4096).out.starts_with(part.out),
               "no more than what is taken is written");
        for (int next = part.taken + 1; next <= std::min(part.taken + 4, in_size); ++next) {
            const Conversion more = convert(converter, text.substr(0, next), 4096);
            expect(more.result != 0 || std::ssize(more.out) > room, "as much is converted as there is room for");
        }
    }
    context = pair;
    expect_equal(convert(converter, text, size).out, whole.out, "room for all is enough");
    const string with_end("ab\0", 3);
    const Conversion ended = convert(converter, with_end, 64, true, true);
    expect(ended.result == 0 && ended.taken == 3, "a terminated text");
    expect_equal(ended.out, convert(converter, with_end, 64).out, "a terminated text, with its terminator");
    expect_equal(convert(converter, "", 0).result, 0, "no input");
    for (const string bytes : {"\xFF", "\xE6\x97", "\xC0\x80"}) {
        if (source != UTF8) break;
        const Conversion bad = convert(converter, text + bytes, 4096);
        expect(bad.result == -1 && bad.status == 0 && bad.taken == in_size,
               "bytes that are no character, or a part: -1, the status as it was, and the place is on them");
        expect_equal(bad.out + convert(converter, text, 4096, false).out, whole.out + whole.out, "the states are those of it");
    }
    for (const string fault : {"", "\xFF"}) {
        if (source != UTF8 || convert(converter, "\u304B", 16).result != 0) break;
        const Conversion first = convert(converter, "\u304B" + fault, 16, false), next = convert(converter, "z", 16, false);
        expect_equal(first.taken, 3, "a character that another one may join waits for none behind the call or the fault");
        expect_equal(first.out + next.out, convert(converter, "\u304Bz", 16).out, "nor is it lost");
    }
    check_refusals_of_converter(converter);
    expect_equal(ASK(glu_cv_close, converter), 0, "closes");
    if (back != nullptr) ASK(glu_cv_close, back);
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
        expect_equal(ASK(glu_useIcuCvtCall, source, target), 0, "no codesets");
        expect_failure(ASK(glu_cv_open, source, target), GL_EINVAL, "no codesets");
    }
    expect_failure(ASK(glu_cv_close, nullptr), 0, "a null converter");
    expect(ASK(glu_iconv_expansion, nullptr) == 0, "a null converter");
    expect_failure(ASK(glu_getICUCvtName, nullptr), 0, "a null converter");
}

// Repeats a call that asks for memory, with the n-th request refused, then also all behind it. It tells whether the call was done.
template <class Ask> void with_refusals(const string &what, Ask ask) {
    bool was_refused = true;
    for (long twice = 2; was_refused && twice < 8000; ++twice) {
        const long n = twice / 2;
        context = what + ", request " + shown(n) + (twice % 2 == 0 ? "" : " and all behind it") + " of memory refused";
        error = 0, asked = 0, refuse_from = n, refuse_to = twice % 2 == 0 ? n : LONG_MAX;
        const bool done = ask();
        was_refused = asked >= n;
        refuse_from = LONG_MAX;
        if (!done) expect(was_refused && error == GL_ENOMEM, "a failure for want of memory is GL_ENOMEM");
    }
    context.clear();
}

void check_memory() {
    const Text &many = texts.back();
    const string longer = many.mb.all + "b";
    vector<char> out(65536);
    with_refusals("clone", [] {
        void *const handle = ASK(glu_lc_clone, l);
        return x.glu_lc_close(handle), handle != nullptr;
    });
    with_refusals("compare", [&] { return ASK(glu_mbscoll, l, many.mb.terminated, -1, longer.c_str(), -1) != 0 || error == 0; });
    vector<gl_wchar> upper(51, 0x436), lower(21, 0x436); // they differ in case, and in what is mostly passed over
    upper[0] = 0x410, lower[0] = 0x430, std::fill_n(&upper[11], 30, 1);
    const auto order = [&] { return sign(ASK(glu_ucs32coll, l, upper.data(), 51, lower.data(), 21)); };
    with_refusals("order", [&, right = order()] { return order() == right; });
    const auto words = [&] {
        return x.glu_order_version != nullptr && ASK(glu_order_version, l, out.data(), 1024) > 0 ? string(out.data()) : "";
    };
    with_refusals("words", [&, right = words()] { return right.starts_with(words()); });
    with_refusals("key", [&] { return ASK(glu_mbsxfrm, l, out.data(), many.mb.terminated, 65536) >= 0; });
    with_refusals("upper", [&] { return ASK(glu_mbstoupper, l, out.data(), many.mb.terminated) >= 0; });
    with_refusals("put", [&] {
        memcpy(out.data(), many.mb.terminated, many.mb.size + nul.size());
        return ASK(glu_putmbsi, l, out.data(), 3, "a") != nullptr;
    });
}

struct Handles {
    void *locales[8], *converters[16];
};

// What a host does first, and what it gets for it: where memory is out, as far as that goes, and the next time the rest.
string begin(Handles &handles) {
    auto &[locales, converters] = handles;
    static constexpr const char *NAMES[] = {
        "cs_cz/e01c.lco", "ja_jp/e01c.lco", "th_th/e01c.lco",  "zh_cn/e01c.lco",
        "ko_kr/e01c.lco", "tr_tr/e01c.lco", "de-u-co-phonebk", "fr@colStrength=identical;colAlternate=shifted"};
    static constexpr const char *WORDS[] = {
        "chata I\u0323\u0307", "cz i\u0307\u0323", "\xC3\x84\xC3\x9F", "ad",           "\u0E40\u0E01", "\u0E02",
        "\u65E5\u672C",        "\u6F22",           "\uAC00",           "\u3042\u30FC", "\u0390",       "\U00020000"};
    static_assert(std::size(NAMES) == std::size(Handles().locales));
    string result;
    const auto done = [] { expect(error == 0 || error == GL_ENOMEM, "a failure for want of memory is GL_ENOMEM"); };
    if (data == nullptr) data = ASK(glu_loadIcuData, data_path.c_str(), 0), done();
    if (data != nullptr && map == nullptr) map = ASK(glu_loadMapData, (etc + "locmap").c_str()), done();
    for (size_t i = 0; map != nullptr && i < std::size(NAMES); ++i) {
        if (ASK(glu_useIcuLocCall, NAMES[i], GL_CAT_COLLATE) == 0) continue;
        if (locales[i] == nullptr) locales[i] = ASK(glu_lc_open, NAMES[i], map), done();
        if (locales[i] == nullptr) continue;
        char out[1024] = "";
        if (x.glu_order_version != nullptr) ASK(glu_order_version, locales[i], out, 1024);
        result += out;
        for (const char *const one : WORDS) {
            for (const char *const other : WORDS)
                result += "<=>"[1 + sign(ASK(glu_mbscoll, locales[i], one, -1, other, -1))], done();
            if (ASK(glu_mbsxfrm, locales[i], out, one, 1024) >= 0) result += out;
            done();
            if (ASK(glu_mbstoupper, locales[i], out, one) >= 0) result += out;
            done();
        }
    }
    for (size_t i = 0; map != nullptr && i < std::min(pairs.size(), std::size(converters)); ++i) {
        if (converters[i] == nullptr) converters[i] = ASK(glu_cv_open, pairs[i].first, pairs[i].second), done();
        if (converters[i] != nullptr) result += shown(convert(converters[i], "abc", 64).out);
    }
    return result;
}

// What a function returns in a process of its own, or -1 where it crashes or hangs.
template <class Function> int status_of_child(Function function) {
    const pid_t child = fork();
    if (child == 0) _exit(function());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
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
            const int status = status_of_child([&] {
                alarm(60);
                hand_over();
                if (n > 0) refuse_from = n, refuse_to = once ? n : LONG_MAX;
                Handles handles = {};
                const string first = begin(handles);
                refuse_from = LONG_MAX;
                if (n == 0) *requests = asked, memcpy(expected, first.c_str(), std::min(first.size() + 1, SIZE - sizeof *requests));
                expect(begin(handles) == expected, "all is as ever when there is memory again");
                for (void *const locale : handles.locales) ASK(glu_lc_close, locale);
                for (void *const converter : handles.converters) ASK(glu_cv_close, converter);
                stop();
                return breaches == 0 ? 0 : 1;
            });
            expect(status >= 0, "neither crashes nor hangs");
            breaches += std::max(status, 0);
        }
    }
    context.clear();
    munmap(shared, SIZE);
}

// Another user of what the extension stands on, here a copy of it, goes on when the extension is unloaded.
void check_other_user() {
    const int status = status_of_child([] {
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
        ASK(glu_lc_close, l), ASK(glu_unloadIcuData, data), ASK(glu_unloadMapData, map), dlclose(library);
        std::tie(x, library, data, map, l) = second;
        void *const other = ASK(glu_lc_open, "ja_jp/e01c.lco", map);
        for (void *const handle : {l, other})
            if (handle != nullptr) expect(ASK(glu_mbscoll, handle, "a", -1, "b", -1) < 0, "goes on"), ASK(glu_lc_close, handle);
        return breaches == 0 ? 0 : 1;
    });
    expect(status == 0, "another user of what the extension stands on goes on when it is unloaded");
}

void check_texts() {
    check_refusals(), check_characters(), check_transfers(), check_steps(), check_widths(), check_case(), check_order(),
        check_index_order();
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
        dlclose(library);
    }
    return breaches == 0 ? 0 : 1;
}

// ---------------------------------------------------------------------------------------------------------------------------------
// Planted faults
// ---------------------------------------------------------------------------------------------------------------------------------

template <class Result> Result spoiled(Result result) {
    if constexpr (std::is_pointer_v<Result>)
        return result != nullptr ? nullptr : reinterpret_cast<Result>(1);
    else
        return result + 1;
}
template <class Argument> Argument one_more(Argument argument) {
    if constexpr (std::is_same_v<Argument, int>)
        return argument > 0 && argument < INT_MAX ? argument + 1 : argument;
    else
        return argument;
}

// An entry point with a fault in it.
template <auto ENTRY_POINT> struct Planted;
template <class Result, class... Arguments, Result (*EntryPoints::*ENTRY_POINT)(Arguments...)> struct Planted<ENTRY_POINT> {
    static inline Result (*good)(Arguments...);

    using Last = std::tuple_element_t<sizeof...(Arguments), std::tuple<void, Arguments...>>;
    static constexpr bool HAS_CELL = std::is_same_v<Last, int16_t *> || std::is_same_v<Last, int *>;
    static constexpr bool HAS_LENGTH = (std::is_same_v<Arguments, int> || ...);

    static Result bad(Arguments... arguments) {
        if (planted == Fault::LOCALE) setlocale(LC_CTYPE, "C.UTF-8");
        if constexpr (std::is_void_v<Result>) {
            if (planted != Fault::RESULT) good(arguments...);
        } else {
            const Result result = planted == Fault::LENGTH ? good(one_more(arguments)...) : good(arguments...);
            if constexpr (HAS_CELL)
                if (const Last cell = std::get<sizeof...(Arguments) - 1>(std::tuple(arguments...));
                    planted == Fault::NO_ERROR && cell != nullptr)
                    *cell = 0;
            return planted == Fault::RESULT ? spoiled(result) : result;
        }
    }
    static bool plant(Fault fault) {
        const bool none =
            x.*ENTRY_POINT == nullptr || (fault == Fault::NO_ERROR && !HAS_CELL) || (fault == Fault::LENGTH && !HAS_LENGTH);
        if (!none) good = std::exchange(x.*ENTRY_POINT, bad);
        return !none;
    }
};

// What an extension need not use, or may answer like that.
bool is_allowed(const string &name, Fault fault) {
    const string results = "glu_setCallocFunc glu_setReallocFunc glu_setFseekFunc glu_setFtellFunc glu_setFeofFunc "
                           "glu_setPrintMessageFunc glu_setMessageLevel glu_setMessageSubLevel glu_extension_version ",
                 lengths = "glu_setMessageLevel glu_setMessageSubLevel glu_icuErrorName glu_loadIcuData glu_cv_conv "
                           "glu_case_conv_outbuflen ";
    const string allowed = fault == Fault::RESULT ? results : fault == Fault::LENGTH ? lengths : string();
    return allowed.find(name + " ") != string::npos;
}

#define PLANT(name) {#name, Planted<&EntryPoints::name>::plant},
constexpr std::pair<const char *, bool (*)(Fault)> PLANTS[] = {QBGL_EXTENSION_ENTRY_POINTS(PLANT)
                                                                   QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(PLANT)};

// Runs with each fault in a process of its own. Returns how many are not found.
int run_faults() {
    int tried = 0, missed = 0;
    for (const auto &[name, plant_it] : PLANTS) {
        for (const Fault fault : {Fault::RESULT, Fault::NO_ERROR, Fault::LENGTH, Fault::LOCALE}) {
            if (is_allowed(name, fault)) continue;
            plant = plant_it, planted = fault;
            const int status = status_of_child([] { return quiet = true, run(); });
            if (status == NO_FAULT) continue;
            ++tried;
            if (status != 0) continue;
            ++missed;
            fprintf(stderr, "%s: fault %d is not found\n", name, static_cast<int>(fault));
        }
    }
    printf("%d faults planted, %d not found\n", tried, missed);
    return missed;
}

constexpr const char *USAGE = "usage: extension_conformance [--cold|--faults] TREE LOCALE [SOURCE:TARGET ...]\n"
                              "LOCALE as the map vrn/etc/locmap has it: cs_cz/e01c.lco for examples/extension\n"
                              "SOURCE:TARGET by the numbers of the codesets: 819:57372\n";

} // namespace

int main(int argc, char **argv) {
    const bool faults = argc > 1 && strcmp(argv[1], "--faults") == 0, cold = argc > 1 && strcmp(argv[1], "--cold") == 0;
    argv += faults || cold, argc -= faults || cold;
    if (argc < 3) return fputs(USAGE, stderr), 2;
    const string vrn = string(argv[1]) + "/vrn/";
    etc = vrn + "etc/", locale_name = argv[2];
    std::ifstream list(etc + "dllregistry");
    for (string line; getline(list, line);) library_path = vrn + "dll/" + line;
    for (int i = 3; i < argc; ++i) {
        auto &[source, target] = pairs.emplace_back();
        char rest;
        if (sscanf(argv[i], "%d:%d%c", &source, &target, &rest) != 2) return fprintf(stderr, "%s: no pair\n%s", argv[i], USAGE), 2;
    }
    const int status = status_of_child([] {
        if (!load()) return 0;
        hand_over(), ASK(glu_loadIcuData, data_path.c_str(), 0), map = ASK(glu_loadMapData, (etc + "locmap").c_str());
        return map != nullptr && ASK(glu_lc_open, locale_name.c_str(), map) == nullptr ? 1 : 0;
    });
    if (status == 1) return fprintf(stderr, "%s: not opened under the map %slocmap\n%s", argv[2], etc.c_str(), USAGE), 2;
    return faults ? run_faults() : run(cold);
}
