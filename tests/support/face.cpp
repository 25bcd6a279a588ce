#include "face.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <memory>
#include <sstream>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace qbgl_test {

size_t Scene::some_room() {
    const unsigned choice = in.byte();
    return choice < 192 ? choice % 64 : choice % 8 * 64;
}

const char *Scene::word() {
    const std::string &text = words[in.below(static_cast<unsigned>(words.size()))];
    return copy<char>({text.c_str(), text.size() + 1});
}

char *Scene::out(size_t size) {
    room_ = static_cast<int>(size);
    return copy<char>({}, size);
}

gl_wchar *Scene::wide_out(size_t count) {
    room_ = static_cast<int>(count);
    return copy<gl_wchar>({}, count);
}

gl_wchar Scene::value() {
    const unsigned choice = in.byte();
    if (choice < 128) {
        const auto text = some_wide_text();
        return text.empty() ? choice : text[choice % text.size()] ^ (choice % 9 == 8 ? 0x20 : 0);
    }
    gl_wchar value = 0;
    for (unsigned bytes = choice % 5; bytes > 0; --bytes) value = value << 8 | in.byte();
    return value;
}

int next_byte(void *rest) {
    auto &bytes = *static_cast<std::string_view *>(rest);
    if (bytes.empty()) return -1;
    const auto byte = static_cast<unsigned char>(bytes[0]);
    bytes.remove_prefix(1);
    return byte;
}

namespace {

using Stream = std::unique_ptr<FILE, int (*)(FILE *)>;

Stream reading(Scene &s) {
    const char *bytes = s.counted();
    const auto size = static_cast<size_t>(s.count());
    return {size > 0 ? fmemopen(const_cast<char *>(bytes), size, "r") : std::fopen("/dev/null", "r"), std::fclose};
}
Stream writing(Scene &s) { // as long as there is room
    char *room = s.out();
    Stream stream(s.room() > 0 ? fmemopen(room, static_cast<size_t>(s.room()), "w") : std::fopen("/dev/full", "w"), std::fclose);
    std::setbuf(stream.get(), nullptr); // the zero byte that closing would add is not the library's
    return stream;
}

int take_byte(int, void *left) { return --*static_cast<int *>(left) < 0 ? -1 : 0; }

// A handle without LC_CTYPE has no longest character; a byte may be stored nevertheless.
size_t longest(Scene &s) { return static_cast<size_t>(std::max(gl_mb_loc_max(s.locale), 1)); }
int flag(Scene &s) { return static_cast<int>(s.in.below(2)); }
int base(Scene &s) { return static_cast<int>(s.in.below(38)); }
unsigned char *key(Scene &s) { return reinterpret_cast<unsigned char *>(s.out()); }
unsigned char *second_key(Scene &s) { return reinterpret_cast<unsigned char *>(s.out(static_cast<size_t>(s.room()))); }

// As far as both texts go.
void compare_beginnings(Scene &s, auto function, auto text) {
    const auto *one = (s.*text)();
    const int length = s.count();
    const auto *other = (s.*text)();
    function(s.locale, one, other, std::min(length, s.count()));
}
void keys_for_index(Scene &s) {
    const char *text = s.counted();
    const int32_t half = s.count() / 2, offsets[] = {0, half, s.count()};
    auto *keys = key(s);
    gl_order_keys(s.locale, 2, text, s.copy<int32_t>(offsets), s.small(), keys, s.room(), s.copy<int32_t>({}, 3));
}
// For single-byte codesets only.
void encode_single(Scene &s) {
    char *const out = s.out();
    const gl_wchar *const in = s.wide_either_not_empty();
    if (s.locale->single_byte != 0) _qbx_gl_is_wcstombs(s.locale, out, in, s.count(), s.room());
}

// Where there is room for just the text, no terminator is looked at.
void decode_all(Scene &s) {
    const char *text = s.counted();
    const int characters = _qbx_gl_im_mbfslen(s.locale, text, s.count());
    if (characters >= 0) gl_mbstowcs(s.locale, s.wide_out(static_cast<size_t>(characters)), text, characters);
}
void encode_all(Scene &s) {
    const gl_wchar *text = s.wide_counted();
    int bytes = 0;
    for (int i = 0; i < s.count(); ++i) {
        const int length = gl_wclen(s.locale, text[i]);
        if (length < 0) return;
        bytes += length;
    }
    gl_full_wcstombs(s.locale, s.out(static_cast<size_t>(bytes)), text, bytes);
}

void map_text(Scene &s, auto function) {
    const char *text = s.terminated();
    char *out = s.out(static_cast<size_t>(gl_case_conv_outbuflen(s.locale, s.count())) + s.terminator);
    function(s.locale, out, text);
}
void map_wide_text(Scene &s, auto function) {
    const gl_wchar *text = s.wide_terminated();
    function(s.locale, s.wide_out(static_cast<size_t>(s.count()) + 1), text);
}

void get(Scene &s) {
    const char *text = s.counted();
    std::string_view rest(text, static_cast<size_t>(s.count()));
    int length = 0;
    gl_getmb(s.locale, s.out(longest(s)), next_byte, &rest, &length);
}
void put(Scene &s, auto function, auto text) {
    int left = s.small(), count = 0;
    const char *character = (s.*text)();
    if (function == &_qbx_gl_putmb && s.count() == 0) return; // which wants a length of 1 or more
    function(s.locale, s.or_null(character), s.count(), take_byte, &left, &count);
}

// A text that is changed in its place, where it may grow by as much as one character is longer than another.
void replace(Scene &s, auto function) {
    const std::string &text = s.some_text();
    if (text.empty()) return; // the terminator is not to be replaced
    char *place = s.copy<char>(text + std::string(s.terminator, '\0'), 3);
    if constexpr (std::is_invocable_v<decltype(function), gl_locale *, char *, int, char *>) {
        const int characters = _qbx_gl_im_mbfslen(s.locale, place, -1);
        const int index = static_cast<int>(s.in.below(static_cast<unsigned>(std::max(characters, 1)) + 1)) - 1;
        function(s.locale, place, index, s.or_null(s.terminated()));
    } else {
        function(s.locale, place, s.or_null(s.terminated()));
    }
}
// A character that is there, or the terminator: nothing else keeps the function from going on.
void find_by_index(Scene &s, auto function) {
    const char *text = s.terminated();
    const int characters = std::max(_qbx_gl_im_mbfslen(s.locale, text, -1), 0);
    function(s.locale, text, static_cast<int>(s.in.below(static_cast<unsigned>(characters) + 2)) - 1);
}
void to_a_place(Scene &s, auto function, auto text) {
    const auto *begin = (s.*text)();
    function(s.locale, begin, begin + s.up_to_count());
}

void split(Scene &s, auto function, auto text) {
    auto *rest = const_cast<std::remove_cvref_t<decltype(*(s.*text)())> *>((s.*text)());
    const auto *set = (s.*text)();
    decltype(rest) state = nullptr;
    for (auto *piece = function(s.locale, rest, set, &state); piece != nullptr;) piece = function(s.locale, nullptr, set, &state);
}

// Where a symbol ends at a position, the text reaches back as far as any symbol is long.
void find_symbol(Scene &s, auto function) {
    const gl_wchar *text = s.wide_terminated();
    const int monetary = flag(s), backward = flag(s);
    int longest = 0;
    for (const gl_text *symbol : {&s.locale->numeric.decimal_point, &s.locale->numeric.thousands_sep,
                                  &s.locale->monetary.mon_decimal_point, &s.locale->monetary.mon_thousands_sep})
        if (symbol->wide != nullptr) longest = std::max(longest, gl_wcslen(symbol->wide));
    if (backward == 0 || s.count() >= longest) function(s.locale, text + backward * s.count(), backward, monetary);
}

void find_words(Scene &s, auto add, auto find, auto release, auto text) {
    void *root = nullptr;
    int length = 0, value = 0;
    for (unsigned words = s.in.below(4); words > 0; --words) add(s.locale, &root, s.terminated(), s.small());
    find(s.locale, root, (s.*text)(), &length, &value);
    release(s.locale, root);
}

// An extension's conversion has no table.
void find_unit(Scene &s, auto function) {
    const char *text = s.counted();
    if (s.cd->main_table != nullptr) function(text, s.cd->main_table, s.count(), s.cd);
}

void convert(Scene &s) {
    const bool counted = s.in.below(4) != 0;
    const char *in = counted ? s.counted() : s.terminated();
    int inleft = s.count(), subst = 0;
    char *out = s.out();
    int outleft = s.room();
    // To four-byte little-endian units: two bytes of room are asked for before four are written.
    if (s.cd->target_min_len == 4 && s.cd->target_max_len == 4) outleft = std::max(outleft - 2, 0);
    gl_cv_state state = {flag(s), flag(s), flag(s), flag(s)};
    int *const left = counted ? &inleft : nullptr;
    switch (s.in.below(4)) {
    case 0: gl_miconv(s.cd, &in, left, &out, &outleft, &subst); break;
    case 1: gl_mconvlen(s.cd, s.or_null(&state), &in, left, &outleft, &subst); break;
    default: gl_cv_mconv(s.cd, s.or_null(&state), &in, left, s.or_null(&out), &outleft, &subst); break;
    }
}

void to_symbols(Scene &s, auto function) {
    const bool counted = flag(s) != 0;
    const auto *text = [&] {
        if constexpr (std::is_invocable_v<decltype(function), gl_charmap *, char *, int, const char **, int>)
            return counted ? s.counted() : s.terminated();
        else
            return counted ? s.wide_counted() : s.wide_terminated();
    }();
    const int length = s.count();
    if (counted && length == 0) return; // would ask for terminated text
    char *out = s.out();
    function(s.cm, out, s.room(), &text, counted ? length : -flag(s));
}
void from_symbols(Scene &s, auto function) {
    const char *text = s.word();
    auto *out = [&] {
        if constexpr (std::is_invocable_v<decltype(function), gl_charmap *, char *, int, const char **>)
            return s.out();
        else
            return s.wide_out();
    }();
    function(s.cm, out, s.room(), &text);
}

int32_t error; // of calls without a record

const char *directory(Scene &s) {
    constexpr const char *DIRECTORIES[] = {nullptr, "", "/d", "/a/longer/directory"};
    return DIRECTORIES[s.in.below(4)];
}
void specify(Scene &s, auto function, size_t size, size_t directories = 0) {
    const char *text = s.word(), *const place = directory(s);
    char *const out = s.out(size + (place != nullptr ? directories * strlen(place) : 0));
    if constexpr (std::is_invocable_v<decltype(function), void *, const char *, char *, const char *, const char *>)
        function(&error, s.or_null(text), out, nullptr, place);
    else
        function(&error, s.or_null(text), out, place);
}

// What a name finds. The host's functions say what is in the file.
void load_locale(Scene &s, auto open) {
    gl_locale *loaded = nullptr;
    const char *text = s.word(), *const place = directory(s);
    if constexpr (std::is_invocable_v<decltype(open), gl_locale **, const char *, const char *, const char *>)
        open(&loaded, s.or_null(text), nullptr, place);
    else if constexpr (std::is_invocable_v<decltype(open), gl_locale **, const char *>)
        open(&loaded, "/d/");
    else
        open(&loaded);
    gl_lc_unload(loaded);
}
void open_conversion(Scene &s, auto open) {
    gl_cv *opened = nullptr;
    const char *to = s.word(), *const from = s.word();
    if constexpr (std::is_invocable_v<decltype(open), gl_cv **, const char *, const char *, const char *, const char *>)
        open(&opened, to, from, nullptr, directory(s));
    else if constexpr (std::is_invocable_v<decltype(open), gl_cv **, const char *, const char *>)
        open(&opened, to, from);
    else
        open(&opened, s.or_null(to));
    gl_cv_unload(opened);
}
void close(auto *file, auto release) {
    if (file != nullptr) release(file);
}
void load_charmap(Scene &s) {
    gl_charmap *loaded = nullptr;
    const char *const name = s.word();
    gl_cm_load(&loaded, name, nullptr, directory(s));
    gl_cm_unload(loaded);
}
void name_conversion(Scene &s) {
    const char *const place = directory(s);
    char *const out = s.out(14 + (place != nullptr ? strlen(place) : 0));
    gl_cs_nums2cv_fname(&error, static_cast<uint16_t>(s.mask()), 0xFFFF, out, place);
}
void find_specification(Scene &s) {
    const char *text = s.word();
    char *out = s.out(19);
    uint16_t number = 0;
    _gl_is_xopen_spec(&error, &text, &out, &number, nullptr);
}

// A sharing handle for one call.
void share(Scene &s, auto use) {
    gl_locale *target = nullptr;
    if (gl_create_null_locale_4(&target) != 0) return;
    const int category = flag(s) != 0 ? GL_CAT_ALL : static_cast<int>(s.in.below(9));
    if (gl_copy_cat(target, s.locale, category) == 0) use(target, static_cast<int>(s.in.below(9)));
    gl_free_nonshared_loc(target);
}
void use_shared(gl_locale *target, int) {
    gl_localeconv(target);
    gl_destroystring(gl_setlocale_4(target, GL_CAT_ALL, nullptr));
}

void convert_date(Scene &s, auto function) {
    gl_tm date = {0, 0, 0, 0, s.small(), s.small(), s.small(), static_cast<int32_t>(s.mask()), 0, 0, 0, 0, 0};
    function(s.locale, &date, &date);
}

char *some_room(Scene &s) { return s.out(); }
gl_wchar *some_wide_room(Scene &s) { return s.wide_out(); }

// Any record and any format, and what comes of it read back.
void write_date(Scene &s, auto write, auto read, auto room, auto text) {
    gl_tm date = {s.small(), s.small(), s.small(), 0,         s.small(), s.small(), 0, static_cast<int32_t>(s.mask()),
                  s.small(), s.small(), 0,         s.small(), s.small()};
    auto *out = room(s);
    const auto *format = (s.*text)();
    write(s.locale, out, s.room(), s.or_null(format), &date);
    const auto *written = (s.*text)();
    read(s.locale, written, (s.*text)(), &date);
}
void name_zones(Scene &s, auto function) {
    const char *const names[] = {s.terminated(), nullptr, s.terminated()};
    function(s.locale, names, s.small() % 4);
}

// Where results go that nobody looks at.
int length_found;
char *text_end;
int *const LENGTH = &length_found;
char **const END = &text_end;

template <auto function, class Body> void run(Scene &s) { Body{}(s, function); }

// A call for each function; `names` has their names, separated by ", ".
template <auto... functions, class Body> void add(std::vector<Call> &calls, const char *names, Needs needs, Body) {
    static std::deque<std::string> kept;
    std::istringstream words(names);
    const auto next = [&] {
        words >> kept.emplace_back();
        if (kept.back().ends_with(',')) kept.back().pop_back();
        return kept.back().c_str();
    };
    (calls.push_back({next(), needs, run<functions, Body>}), ...);
}

// Functions that are called in one way: by an expression with the scene s and the function f, or with a list of arguments, which
// are evaluated in their order, whatever the compiler.
// clang-format off
#define BY(record, expression, ...) \
    add<__VA_ARGS__>(calls, #__VA_ARGS__, Needs::record, [](Scene &s, [[maybe_unused]] auto f) { expression; })
#define WITH(record, arguments, ...) BY(record, std::apply(f, std::tuple{EACH_OF arguments}), __VA_ARGS__)
#define EACH_OF(...) __VA_ARGS__
// clang-format on

std::vector<Call> table() {
    std::vector<Call> calls;

    // Characters
    WITH(locale, (s.locale, s.wide_out(1), s.or_null(s.counted()), s.up_to_count()), gl_full_mbtowc, gl_mbtowc);
    WITH(locale, (s.locale, s.wide_out(1), s.or_null(s.either()), s.count()), _qbx_gl_full_mbtowc);
    WITH(locale, (s.locale, s.wide_out(1), s.terminated(), 4), gl_full_mbtowc, gl_mbtowc); // up to the terminator
    WITH(locale, (s.locale, s.terminated(), 4), gl_full_mblen);
    WITH(locale, (s.locale, s.or_null(s.counted()), s.up_to_count()), gl_full_mblen, gl_mblen, _qbx_gl_full_mblen,
         _qbx_gl_full_mbsnext);
    WITH(locale, (s.locale, s.out(4), s.value()), gl_full_wctomb, gl_wctomb, _gl_sl_wctomb);
    WITH(locale, (s.locale, s.value()), gl_wclen, _gl_im_towupper, _gl_im_towlower, gl_wcwidth);
    WITH(locale, (s.locale, s.value(), s.mask()), _gl_im_iswctype, gl_iswctype);
    WITH(locale, (s.locale, s.terminated(), s.mask()), _gl_im_ismctype);
    WITH(locale, (s.locale, s.counted(), s.up_to_count(), s.mask()), _qbx_gl_im_ismctype);
    WITH(locale, (s.locale, s.out(4), s.terminated()), _gl_im_tomupper, _gl_im_tomlower);
    WITH(locale, (s.locale, s.out(4), s.counted(), s.up_to_count()), _qbx_gl_im_tomupper, _qbx_gl_im_tomlower);
    WITH(locale, (s.locale, s.out(s.terminator)), gl_mbsterm);

    // Texts
    WITH(locale, (s.locale, s.terminated()), gl_ismbsterm, _gl_im_mbslen);
    WITH(locale, (s.locale, s.or_null(s.terminated())), gl_mbsbytes, gl_mbsbytes_nt, gl_full_mbsnext, gl_mbsnext, gl_mbsntslen,
         gl_mbsntsbytes, gl_mbsp, gl_mbwidth);
    WITH(locale, (s.locale, s.wide_out(), s.terminated(), s.room()), gl_mbstowcs, _gl_im_mbstowcs);
    WITH(locale, (s.locale, s.wide_out(), s.either_not_empty(), s.count(), s.room()), gl_mbfstowcfs, _qbx_gl_im_mbfstowcfs);
    WITH(locale, (s.locale, s.out(), s.wide_terminated(), s.room()), gl_full_wcstombs);
    WITH(locale, (s.locale, s.out(), s.wide_either_not_empty(), s.count(), s.room()), _qbx_gl_full_wcstombs);
    BY(locale, decode_all(s), gl_mbstowcs);
    BY(locale, encode_all(s), gl_full_wcstombs);
    BY(locale, encode_single(s), _qbx_gl_is_wcstombs);
    WITH(nothing, (s.wide_terminated()), gl_wcslen, gl_wcsbytes, gl_iswcexponent);
    WITH(locale, (s.locale, s.either(), s.count()), _qbx_gl_im_mbfslen);
    BY(locale, map_text(s, f), gl_tombsupper, gl_tombslower);
    BY(locale, map_wide_text(s, f), gl_towcsupper, gl_towcslower);
    WITH(locale, (s.locale, s.out(), s.room(), s.either(), s.count()), gl_tombfsupper, gl_tombfslower);
    WITH(locale, (s.locale, s.wide_out(), s.room(), s.wide_either(), s.count()), gl_towcfsupper, gl_towcfslower);
    WITH(locale, (s.locale, s.small()), gl_case_conv_outbuflen);

    // Comparison and keys
    WITH(locale, (s.locale, s.wide_terminated(), s.wide_terminated()), gl_wcscmp);
    WITH(locale, (s.locale, s.terminated(), s.terminated()), gl_full_mbscmp);
    BY(locale, compare_beginnings(s, f, &Scene::wide_counted), gl_wcsncmp);
    BY(locale, compare_beginnings(s, f, &Scene::counted), gl_full_mbsncmp);
    WITH(locale, (s.locale, s.wide_counted(), s.count(), s.wide_counted(), s.count()), _qbx_gl_wcfscmp);
    WITH(locale, (s.locale, s.either(), s.count(), s.either(), s.count()), _qbx_gl_mbscmp, gl_mbfscoll, _qbx_gl_im_mbfscoll);
    WITH(locale, (s.locale, s.wide_either(), s.count(), s.wide_either(), s.count()), _qbx_gl_full_wcscoll);
    WITH(locale, (s.locale, s.or_null(s.terminated()), s.terminated()), gl_mbscoll, _gl_im_mbscoll);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), s.wide_terminated()), gl_full_wcscoll);
    WITH(locale, (s.locale, s.out(), s.or_null(s.terminated()), s.room()), gl_mbsxfrm, gl_full_mbsxfrm);
    WITH(locale, (s.locale, s.out(), s.or_null(s.wide_terminated()), s.room()), gl_wcsxfrm);
    WITH(locale, (s.locale, s.out(), s.or_null(s.either()), s.count(), s.room()), gl_mbfsxfrm);
    WITH(locale, (s.locale, s.out(), s.or_null(s.wide_either()), s.count(), s.room()), gl_wcfsxfrm);

    // Stepping, trailing blanks, width
    BY(locale, to_a_place(s, f, &Scene::terminated), gl_full_mbsprev, gl_mbsprev, gl_mbspwidth);
    BY(locale, to_a_place(s, f, &Scene::wide_terminated), gl_wcspwidth);
    BY(locale, find_by_index(s, f), gl_full_getmbsi);
    WITH(locale, (s.locale, s.or_null(s.terminated()), s.small()), gl_getmbsinull);
    BY(locale, replace(s, f), gl_full_putmbsi, gl_mbcreplace);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated())), gl_wcsntslen);
    WITH(locale, (s.locale, s.or_null(s.wide_either()), s.count()), _qbx_gl_wcsntslen);
    WITH(locale, (s.locale, s.or_null(s.either()), s.count()), _qbx_gl_mbsntsbytes);
    WITH(locale, (s.locale, const_cast<gl_wchar *>(s.or_null(s.wide_terminated()))), gl_wcsntstrunc);
    WITH(locale, (s.locale, const_cast<char *>(s.or_null(s.terminated()))), gl_mbsntstrunc);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), s.small() * 8), gl_wcswidth);
    WITH(locale, (s.locale, s.or_null(s.terminated()), s.small() * 8), gl_mbswidth);

    // Strings
    WITH(locale, (s.locale, s.out(), s.room(), s.or_null(s.terminated())), gl_mbscpy, gl_mbscat, gl_mbsrev);
    WITH(locale, (s.locale, s.wide_out(), s.room(), s.or_null(s.wide_terminated())), gl_wcscpy, gl_wcscat, gl_wcsrev);
    WITH(locale, (s.locale, s.out(), s.room(), s.terminated(), s.small()), gl_mbsncpy, gl_mbsncat);
    WITH(locale, (s.locale, s.wide_out(), s.room(), s.wide_terminated(), s.small()), gl_wcsncpy, gl_wcsncat);
    WITH(locale, (s.locale, s.or_null(s.terminated()), s.or_null(s.terminated())), gl_mbschr, gl_mbsrchr, gl_mbsstr, gl_mbspbrk,
         gl_mbsspn, gl_mbscspn, gl_mbscasecmp);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), s.value()), gl_wcschr, gl_wcsrchr);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), s.or_null(s.wide_terminated())), gl_wcsstr, gl_wcspbrk, gl_wcsspn,
         gl_wcscspn, gl_wcscasecmp);
    WITH(locale, (s.locale, s.terminated(), s.terminated(), s.small()), gl_mbsncasecmp);
    WITH(locale, (s.locale, s.wide_terminated(), s.wide_terminated(), s.small()), gl_wcsncasecmp);
    WITH(locale, (s.locale, s.terminated(), s.terminated(), s.or_null(s.terminated())), gl_mbsmatch);
    WITH(locale, (s.locale, s.wide_terminated(), s.wide_terminated(), s.or_null(s.wide_terminated())), gl_wcsmatch);
    BY(locale, split(s, f, &Scene::terminated), gl_mbstok);
    BY(locale, split(s, f, &Scene::wide_terminated), gl_wcstok);

    WITH(locale, (s.locale, s.small() * 16), gl_langinfo);

    // Streams
    BY(locale, get(s), gl_getmb);
    WITH(locale, (s.locale, s.out(longest(s)), reading(s).get()), gl_full_fgetmb);
    WITH(locale, (s.locale, reading(s).get()), gl_full_fgetwc);
    WITH(locale, (s.locale, s.out(), s.room(), reading(s).get()), gl_fgetmbs);
    WITH(locale, (s.locale, s.wide_out(), s.room(), reading(s).get()), gl_fgetwcs);
    BY(locale, put(s, f, &Scene::either), gl_putmb);
    BY(locale, put(s, f, &Scene::counted), _qbx_gl_putmb);
    WITH(locale, (s.locale, s.terminated(), writing(s).get()), gl_fputmb);
    WITH(locale, (s.locale, s.value(), writing(s).get()), gl_fputwc);
    WITH(locale, (s.locale, s.or_null(s.terminated()), writing(s).get()), gl_fputmbs);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), writing(s).get()), gl_fputwcs);

    // Numbers, calendars, words
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), nullptr, base(s), flag(s)), gl_wcstol, gl_wcstoul, gl_wcstoull);
    WITH(locale, (s.locale, s.or_null(s.terminated()), END, base(s), flag(s)), gl_mbstol, gl_mbstoul);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), nullptr, flag(s)), gl_wcstod);
    WITH(locale, (s.locale, s.or_null(s.wide_terminated()), nullptr, flag(s), flag(s)), gl_wcstod_num_mon);
    WITH(locale, (s.locale, s.or_null(s.terminated()), END, flag(s)), gl_mbstod);
    WITH(locale, (s.locale, s.wide_out(), s.room(), s.value(), base(s), flag(s)), gl_ltowcs, gl_ultowcs);
    WITH(locale, (s.locale, s.out(), s.room(), s.value(), base(s), flag(s)), gl_ltombs, gl_ultombs);
    BY(locale, find_symbol(s, f), gl_iswgrpsymb, gl_iswcdecml);
    WITH(nothing, (s.word()), gl_getDecimalCharIndex);
    BY(locale, convert_date(s, f), gl_cal_gregorian_to_local, gl_cal_local_to_gregorian);
    BY(locale, find_words(s, f, _gl_validate_mb_string, _gl_free_mb_cache, &Scene::terminated), _gl_cache_mb_string);
    BY(locale, find_words(s, f, _gl_validate_wc_string, _gl_free_wc_cache, &Scene::wide_terminated), _gl_cache_wc_string);

    // The codeset's table
    WITH(locale, (s.terminated(), s.locale->ctype.codeset_table, LENGTH, nullptr), _gl_retrieve_text_multi);
    WITH(locale, (s.terminated(), s.locale->ctype.codeset_table, nullptr), _gl_retrieve_text_multi_nl, _gl_retrieve_text_multi_nv);
    WITH(locale, (s.counted(), s.locale->ctype.codeset_table, s.count(), LENGTH, nullptr), _gl_retrieve_text_multi_limit);
    WITH(locale, (s.counted(), s.locale->ctype.codeset_table, s.count(), nullptr), _gl_retrieve_text_multi_limit_nl);
    WITH(locale, (nullptr, s.value(), s.locale->ctype.codeset_table), _gl_retrieve_wchar_multi_nl);
    BY(conversion, find_unit(s, f), _gl_retrieve_little_endian_unicode_limit);

    // Handles
    WITH(locale, (s.locale), gl_mb_loc_max, gl_mb_loc_min, gl_alt_getcentury, gl_localeconv, gl_order_fingerprint, gl_errno,
         gl_clear_errno);
    WITH(locale, (s.locale, s.word()), gl_ctype);
    BY(locale, share(s, use_shared), gl_copy_cat);
    BY(locale, share(s, f), gl_make_null_category, gl_free_category);
    BY(nothing, load_locale(s, f), gl_lc_load, gl_createlocale_4, gl_createlocale2_4, gl_create_null_locale_4);
    WITH(locale, (s.locale, s.or_null(s.either()), s.count(), s.either(), s.count(), s.small()), gl_order_compare);
    WITH(locale, (s.locale, s.or_null(s.either()), s.count(), s.small(), key(s), s.room()), gl_order_key, gl_order_key_part);
    BY(locale, keys_for_index(s), gl_order_keys);
    WITH(locale, (s.locale, s.or_null(s.either()), s.count(), key(s), s.room(), s.copy<int32_t>({}, 2 * GL_ORDER_RANGES + 1)),
         gl_order_ranges);
    WITH(locale, (s.locale, s.or_null(s.either()), s.count(), key(s), s.room()), gl_mbsprimary);
    WITH(locale, (s.locale, s.or_null(s.either()), s.count(), key(s), LENGTH, second_key(s), LENGTH, s.room()), gl_mbsbounds);

    // Conversions and charmaps
    BY(conversion, convert(s), gl_cv_mconv);
    WITH(conversion, (s.cd), gl_iconv_expansion);
    WITH(conversion, (s.cd, s.small()), gl_cv_outbuflen);
    BY(nothing, open_conversion(s, f), gl_cv_load, gl_cv_open, gl_iconv_open, gl_iconv_open1);
    WITH(charmap, (s.cm, s.or_null(s.counted()), s.up_to_count()), gl_cm_mblen);
    WITH(charmap, (s.cm), gl_mb_cm_max, gl_mb_cm_min, gl_cm_srcver, gl_cm_cmpver, gl_cm_csname);
    BY(charmap, to_symbols(s, f), gl_mbstosyms, gl_wcstosyms);
    BY(charmap, from_symbols(s, f), gl_symstombs, gl_symstowcs);
    WITH(charmap, (s.cm, s.out(3 * GL_SYMBOL_SLOT), 3, s.counted(), s.up_to_count()), gl_mbtosymlist);
    BY(nothing, load_charmap(s), gl_cm_load);

    // Names and files
    WITH(nothing, (&error, s.or_null(s.word()), nullptr), gl_cs_name2cs_num, gl_lc_spec2cs_num);
    WITH(nothing, (&error, static_cast<uint16_t>(s.mask())), gl_cs_nums2ccsid);
    BY(nothing, name_conversion(s), gl_cs_nums2cv_fname);
    WITH(nothing, (s.word()), _gl_all_decimal_digits, gl_message, _gl_get_env_var);
    WITH(nothing, (s.word(), LENGTH), _gl_is_category);
    BY(nothing, find_specification(s), _gl_is_xopen_spec);
    BY(nothing, specify(s, f, 208, 6), gl_lc_spec2lc_fname);
    BY(nothing, specify(s, f, 11), gl_lc_spec2msg_dname);
    BY(nothing, specify(s, f, 187), gl_lc_fname2lc_spec);
    WITH(nothing, (&error, s.or_null(s.word()), s.out(200), nullptr), gl_lc_spec2lc_norm);
    WITH(nothing, (&error, s.or_null(s.word()), s.out(17), nullptr), _gl_lc_short_spec2lc_short_norm);
    WITH(nothing, (&error, s.or_null(s.word()), s.out(277), nullptr), gl_lc_short2lc_long);
    WITH(nothing, (&error, s.or_null(s.word()), s.out(32), nullptr), gl_lc_spec2lc_short);
    WITH(nothing, (&error, s.or_null(s.word()), s.small() + 3, s.out(32), nullptr), gl_lc_spec2category);
    WITH(nothing, (&error, s.or_null(s.word())), gl_is_lc_spec);
    WITH(nothing, (&error, s.or_null(s.word()), s.out(6), s.out(6), s.out(5)), gl_lc_fname2lc_pieces);
    WITH(nothing, (&error, "ja_JP", s.word(), s.or_null(s.word()), s.out(17)), gl_lc_pieces2lc_spec);
    BY(nothing, close(f(&error, s.word()), _gl_ext_fclose), gl_open_file);
    BY(nothing, close(f(&error, s.word(), "lc", "11"), _gl_ext_fclose), gl_path_search);
    BY(nothing, close(f(&error, s.word(), "lc", "11"), std::fclose), gl_path_search_no_ext);
    WITH(nothing, (s.or_null(s.word())), gl_set_directory);
    WITH(nothing, (nullptr, s.small(), s.out(), s.room()), gl_locale_name, gl_codeset_name);

    // Dates as text
    BY(locale, write_date(s, f, gl_mbsptime, some_room, &Scene::terminated), gl_mbsftime);
    BY(locale, write_date(s, f, gl_wcsptime, some_wide_room, &Scene::wide_terminated), gl_wcsftime);
    BY(locale, name_zones(s, f), gl_set_zone_names);

    // Amounts as text
    WITH(locale, (s.locale, s.out(), s.room(), s.or_null(s.terminated()), 1234.5 * s.small()), gl_mbsfmon);
    WITH(locale, (s.locale, s.wide_out(), s.room(), s.or_null(s.wide_terminated()), 1234.5 * s.small()), gl_wcsfmon);
    WITH(locale, (s.locale, s.out(), s.room(), s.terminated(), s.or_null("-99999.995")), gl_mbsfmon_text);
    WITH(locale, (s.locale, s.wide_out(), s.room(), s.wide_terminated(), s.or_null("-99999.995")), gl_wcsfmon_text);
    WITH(locale, (s.locale, s.terminated(), nullptr, s.out(), s.room()), gl_mbspmon);
    WITH(locale, (s.locale, s.wide_terminated(), nullptr, s.out(), s.room()), gl_wcspmon);
    return calls;
}

const std::vector<Call> TABLE = table();

} // namespace

const std::span<const Call> CALLS = TABLE;

} // namespace qbgl_test
