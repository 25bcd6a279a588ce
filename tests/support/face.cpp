#include "face.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace qbgl_test {

const std::string &Scene::some_text() { return texts[in.below(static_cast<unsigned>(texts.size()))]; }
std::span<const gl_wchar> Scene::some_wide_text() { return wides[in.below(static_cast<unsigned>(wides.size()))]; }

size_t Scene::some_room() {
    const unsigned choice = in.byte();
    return choice < 192 ? choice % 64 : choice % 8 * 64;
}

const char *Scene::counted() {
    const std::string &text = some_text();
    count_ = static_cast<int>(text.size());
    return copy<char>(text);
}

const char *Scene::terminated() {
    const std::string &text = some_text();
    count_ = static_cast<int>(text.size());
    return copy<char>(text + std::string(terminator, '\0'));
}

const char *Scene::either() {
    if (in.below(2) == 0) return counted();
    const char *text = terminated();
    count_ = -1;
    return text;
}

const gl_wchar *Scene::wide_counted() {
    const auto text = some_wide_text();
    count_ = static_cast<int>(text.size());
    return copy(text);
}

const gl_wchar *Scene::wide_terminated() {
    const auto text = some_wide_text();
    count_ = static_cast<int>(text.size());
    gl_wchar *block = copy(text, 1);
    block[text.size()] = 0;
    return block;
}

const gl_wchar *Scene::wide_either() {
    if (in.below(2) == 0) return wide_counted();
    const gl_wchar *text = wide_terminated();
    count_ = -1;
    return text;
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

// As far as both texts go.
template <auto function, auto text> void compare_beginnings(Scene &s) {
    const auto *one = (s.*text)();
    const int length = s.count();
    const auto *other = (s.*text)();
    function(s.locale, one, other, std::min(length, s.count()));
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

template <auto function> void map_text(Scene &s) {
    const char *text = s.terminated();
    char *out = s.out(static_cast<size_t>(gl_case_conv_outbuflen(s.locale, s.count())) + s.terminator);
    function(s.locale, out, text);
}
template <auto function> void map_wide_text(Scene &s) {
    const gl_wchar *text = s.wide_terminated();
    function(s.locale, s.wide_out(static_cast<size_t>(s.count()) + 1), text);
}

template <auto function, auto text> void put(Scene &s) {
    int left = s.small(), count = 0;
    const char *character = (s.*text)();
    if (function == _qbx_gl_putmb && s.count() == 0) return; // which wants a length of 1 or more
    function(s.locale, s.or_null(character), s.count(), take_byte, &left, &count);
}

// A text that is changed in its place, where it may grow by as much as one character is longer than another.
template <auto function> void replace(Scene &s) {
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
template <auto function> void find_by_index(Scene &s) {
    const char *text = s.terminated();
    const int characters = std::max(_qbx_gl_im_mbfslen(s.locale, text, -1), 0);
    function(s.locale, text, static_cast<int>(s.in.below(static_cast<unsigned>(characters) + 2)) - 1);
}
template <auto function, auto text> void to_a_place(Scene &s) {
    const auto *begin = (s.*text)();
    function(s.locale, begin, begin + s.up_to_count());
}

// Where a symbol ends at a position, the text reaches back as far as any symbol is long.
template <auto function> void find_symbol(Scene &s) {
    const gl_wchar *text = s.wide_terminated();
    const int monetary = flag(s), backward = flag(s);
    int longest = 0;
    for (const gl_text *symbol : {&s.locale->numeric.decimal_point, &s.locale->numeric.thousands_sep,
                                  &s.locale->monetary.mon_decimal_point, &s.locale->monetary.mon_thousands_sep})
        if (symbol->wide != nullptr) longest = std::max(longest, gl_wcslen(symbol->wide));
    if (backward == 0 || s.count() >= longest) function(s.locale, text + backward * s.count(), backward, monetary);
}

template <auto add, auto find, auto release, auto text> void find_words(Scene &s) {
    void *root = nullptr;
    int length = 0, value = 0;
    for (unsigned words = s.in.below(4); words > 0; --words) add(s.locale, &root, s.terminated(), s.small());
    find(s.locale, root, (s.*text)(), &length, &value);
    release(s.locale, root);
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

template <auto function> void to_symbols(Scene &s) {
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
template <auto function> void from_symbols(Scene &s) {
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
template <auto function, size_t SIZE, size_t DIRECTORIES = 0> void specify(Scene &s) {
    const char *text = s.word(), *const place = directory(s);
    char *const out = s.out(SIZE + (place != nullptr ? DIRECTORIES * strlen(place) : 0));
    if constexpr (std::is_invocable_v<decltype(function), void *, const char *, char *, const char *, const char *>)
        function(&error, s.or_null(text), out, nullptr, place);
    else
        function(&error, s.or_null(text), out, place);
}

// What a name finds. The host's functions say what is in the file.
template <auto open> void load_locale(Scene &s) {
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
template <auto open> void open_conversion(Scene &s) {
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
template <auto search, auto release> void find_file(Scene &s) {
    const char *name = s.word();
    if (auto *found = search(&error, name, "lc", "11")) release(found);
}

// A sharing handle for one call.
template <auto use> void share(Scene &s) {
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

template <auto function> void convert_date(Scene &s) {
    gl_tm date = {0, 0, 0, 0, s.small(), s.small(), s.small(), static_cast<int32_t>(s.mask()), 0, 0, 0, 0, 0};
    function(s.locale, &date, &date);
}

// Where results go that nobody looks at.
int length_found;
char *text_end;
int *const LENGTH = &length_found;
char **const END = &text_end;

} // namespace

// The arguments are evaluated in their order, whatever the compiler.
// clang-format off
#define CALL_WITH(record, function, ...) \
    {#function, Needs::record, [](Scene &s) { std::apply(function, std::tuple{__VA_ARGS__}); }}
#define CALL(function, ...) CALL_WITH(locale, function, s.locale __VA_OPT__(,) __VA_ARGS__)
#define CALL_FREE(function, ...) CALL_WITH(nothing, function, __VA_ARGS__)
#define BY(record, function, ...) {#function, Needs::record, __VA_ARGS__}
// clang-format on

namespace {

constexpr Call TABLE[] = {
    // Characters
    CALL(gl_full_mbtowc, s.wide_out(1), s.or_null(s.counted()), s.up_to_count()),
    CALL(_qbx_gl_full_mbtowc, s.wide_out(1), s.or_null(s.either()), s.count()),
    CALL(gl_mbtowc, s.wide_out(1), s.or_null(s.counted()), s.up_to_count()),
    CALL(gl_full_mbtowc, s.wide_out(1), s.terminated(), 4), // up to the terminator
    CALL(gl_mbtowc, s.wide_out(1), s.terminated(), 4),
    CALL(gl_full_mblen, s.terminated(), 4),
    CALL(gl_full_wctomb, s.out(4), s.value()),
    CALL(gl_wctomb, s.out(4), s.value()),
    CALL(_gl_sl_wctomb, s.out(4), s.value()),
    CALL(gl_full_mblen, s.or_null(s.counted()), s.up_to_count()),
    CALL(gl_mblen, s.or_null(s.counted()), s.up_to_count()),
    CALL(_qbx_gl_full_mblen, s.or_null(s.counted()), s.up_to_count()),
    CALL(gl_wclen, s.value()),
    CALL(gl_mb_loc_max),
    CALL(gl_mb_loc_min),
    CALL(gl_mbsterm, s.out(s.terminator)),
    CALL(gl_ismbsterm, s.terminated()),

    // Texts
    CALL(gl_mbstowcs, s.wide_out(), s.terminated(), s.room()),
    BY(locale, gl_mbstowcs, decode_all),
    CALL(gl_mbfstowcfs, s.wide_out(), s.either_not_empty(), s.count(), s.room()),
    CALL(_gl_im_mbstowcs, s.wide_out(), s.terminated(), s.room()),
    CALL(_qbx_gl_im_mbfstowcfs, s.wide_out(), s.either_not_empty(), s.count(), s.room()),
    BY(locale, _qbx_gl_is_wcstombs, encode_single),
    CALL(gl_full_wcstombs, s.out(), s.wide_terminated(), s.room()),
    CALL(_qbx_gl_full_wcstombs, s.out(), s.wide_either_not_empty(), s.count(), s.room()),
    BY(locale, gl_full_wcstombs, encode_all),
    CALL_FREE(gl_wcslen, s.wide_terminated()),
    CALL_FREE(gl_wcsbytes, s.wide_terminated()),
    CALL(_gl_im_mbslen, s.terminated()),
    CALL(_qbx_gl_im_mbfslen, s.either(), s.count()),
    CALL(gl_mbsbytes, s.or_null(s.terminated())),
    CALL(gl_mbsbytes_nt, s.or_null(s.terminated())),

    // Classes and case
    CALL(gl_ctype, s.word()),
    CALL(_gl_im_iswctype, s.value(), s.mask()),
    CALL(gl_iswctype, s.value(), s.mask()),
    CALL(_gl_im_ismctype, s.terminated(), s.mask()),
    CALL(_qbx_gl_im_ismctype, s.counted(), s.up_to_count(), s.mask()),
    CALL(_gl_im_towupper, s.value()),
    CALL(_gl_im_towlower, s.value()),
    CALL(_gl_im_tomupper, s.out(4), s.terminated()),
    CALL(_gl_im_tomlower, s.out(4), s.terminated()),
    CALL(_qbx_gl_im_tomupper, s.out(4), s.counted(), s.up_to_count()),
    CALL(_qbx_gl_im_tomlower, s.out(4), s.counted(), s.up_to_count()),
    BY(locale, gl_tombsupper, map_text<gl_tombsupper>),
    BY(locale, gl_tombslower, map_text<gl_tombslower>),
    BY(locale, gl_towcsupper, map_wide_text<gl_towcsupper>),
    BY(locale, gl_towcslower, map_wide_text<gl_towcslower>),
    CALL(gl_tombfsupper, s.out(), s.room(), s.either(), s.count()),
    CALL(gl_tombfslower, s.out(), s.room(), s.either(), s.count()),
    CALL(gl_towcfsupper, s.wide_out(), s.room(), s.wide_either(), s.count()),
    CALL(gl_towcfslower, s.wide_out(), s.room(), s.wide_either(), s.count()),
    CALL(gl_case_conv_outbuflen, s.small()),

    // Comparison and keys
    CALL(gl_wcscmp, s.wide_terminated(), s.wide_terminated()),
    CALL(gl_full_mbscmp, s.terminated(), s.terminated()),
    BY(locale, gl_wcsncmp, (compare_beginnings<gl_wcsncmp, &Scene::wide_counted>)),
    BY(locale, gl_full_mbsncmp, (compare_beginnings<gl_full_mbsncmp, &Scene::counted>)),
    CALL(_qbx_gl_wcfscmp, s.wide_counted(), s.count(), s.wide_counted(), s.count()),
    CALL(_qbx_gl_mbscmp, s.either(), s.count(), s.either(), s.count()),
    CALL(_qbx_gl_full_wcscoll, s.wide_either(), s.count(), s.wide_either(), s.count()),
    CALL(gl_full_wcscoll, s.or_null(s.wide_terminated()), s.wide_terminated()),
    CALL(gl_wcsxfrm, s.out(), s.or_null(s.wide_terminated()), s.room()),
    CALL(gl_wcfsxfrm, s.out(), s.or_null(s.wide_either()), s.count(), s.room()),
    CALL(gl_mbfsxfrm, s.out(), s.or_null(s.either()), s.count(), s.room()),
    CALL(gl_mbscoll, s.or_null(s.terminated()), s.terminated()),
    CALL(gl_mbfscoll, s.either(), s.count(), s.either(), s.count()),
    CALL(gl_mbsxfrm, s.out(), s.or_null(s.terminated()), s.room()),
    CALL(_gl_im_mbscoll, s.or_null(s.terminated()), s.terminated()),
    CALL(_qbx_gl_im_mbfscoll, s.either(), s.count(), s.either(), s.count()),
    CALL(gl_full_mbsxfrm, s.out(), s.or_null(s.terminated()), s.room()),

    // Stepping, trailing blanks, width
    CALL(gl_full_mbsnext, s.or_null(s.terminated())),
    CALL(gl_mbsnext, s.or_null(s.terminated())),
    CALL(_qbx_gl_full_mbsnext, s.or_null(s.counted()), s.up_to_count()),
    BY(locale, gl_full_mbsprev, (to_a_place<gl_full_mbsprev, &Scene::terminated>)),
    BY(locale, gl_mbsprev, (to_a_place<gl_mbsprev, &Scene::terminated>)),
    BY(locale, gl_full_getmbsi, find_by_index<gl_full_getmbsi>),
    CALL(gl_getmbsinull, s.or_null(s.terminated()), s.small()),
    BY(locale, gl_full_putmbsi, replace<gl_full_putmbsi>),
    BY(locale, gl_mbcreplace, replace<gl_mbcreplace>),
    CALL(gl_wcsntslen, s.or_null(s.wide_terminated())),
    CALL(_qbx_gl_wcsntslen, s.or_null(s.wide_either()), s.count()),
    CALL(gl_mbsntslen, s.or_null(s.terminated())),
    CALL(gl_mbsntsbytes, s.or_null(s.terminated())),
    CALL(_qbx_gl_mbsntsbytes, s.or_null(s.either()), s.count()),
    CALL(gl_mbsp, s.or_null(s.terminated())),
    CALL(gl_wcsntstrunc, const_cast<gl_wchar *>(s.or_null(s.wide_terminated()))),
    CALL(gl_mbsntstrunc, const_cast<char *>(s.or_null(s.terminated()))),
    CALL(gl_wcwidth, s.value()),
    CALL(gl_mbwidth, s.or_null(s.terminated())),
    CALL(gl_wcswidth, s.or_null(s.wide_terminated()), s.small() * 8),
    CALL(gl_mbswidth, s.or_null(s.terminated()), s.small() * 8),
    BY(locale, gl_wcspwidth, (to_a_place<gl_wcspwidth, &Scene::wide_terminated>)),
    BY(locale, gl_mbspwidth, (to_a_place<gl_mbspwidth, &Scene::terminated>)),

    // Streams
    BY(locale, gl_getmb,
       [](Scene &s) {
           const char *text = s.counted();
           std::string_view rest(text, static_cast<size_t>(s.count()));
           int length = 0;
           gl_getmb(s.locale, s.out(longest(s)), next_byte, &rest, &length);
       }),
    CALL(gl_full_fgetmb, s.out(longest(s)), reading(s).get()),
    CALL(gl_full_fgetwc, reading(s).get()),
    CALL(gl_fgetmbs, s.out(), s.room(), reading(s).get()),
    CALL(gl_fgetwcs, s.wide_out(), s.room(), reading(s).get()),
    BY(locale, gl_putmb, (put<gl_putmb, &Scene::either>)),
    BY(locale, _qbx_gl_putmb, (put<_qbx_gl_putmb, &Scene::counted>)),
    CALL(gl_fputmb, s.terminated(), writing(s).get()),
    CALL(gl_fputwc, s.value(), writing(s).get()),
    CALL(gl_fputmbs, s.or_null(s.terminated()), writing(s).get()),
    CALL(gl_fputwcs, s.or_null(s.wide_terminated()), writing(s).get()),

    // Numbers, calendars, words
    CALL(gl_wcstol, s.or_null(s.wide_terminated()), nullptr, base(s), flag(s)),
    CALL(gl_wcstoul, s.or_null(s.wide_terminated()), nullptr, base(s), flag(s)),
    CALL(gl_wcstoull, s.or_null(s.wide_terminated()), nullptr, base(s), flag(s)),
    CALL(gl_mbstol, s.or_null(s.terminated()), END, base(s), flag(s)),
    CALL(gl_mbstoul, s.or_null(s.terminated()), END, base(s), flag(s)),
    CALL(gl_wcstod, s.or_null(s.wide_terminated()), nullptr, flag(s)),
    CALL(gl_wcstod_num_mon, s.or_null(s.wide_terminated()), nullptr, flag(s), flag(s)),
    CALL(gl_mbstod, s.or_null(s.terminated()), END, flag(s)),
    CALL(gl_ltowcs, s.wide_out(), s.room(), static_cast<long>(s.value()), base(s), flag(s)),
    CALL(gl_ultowcs, s.wide_out(), s.room(), s.value(), base(s), flag(s)),
    CALL(gl_ltombs, s.out(), s.room(), static_cast<long>(s.value()), base(s), flag(s)),
    CALL(gl_ultombs, s.out(), s.room(), s.value(), base(s), flag(s)),
    BY(locale, gl_iswgrpsymb, find_symbol<gl_iswgrpsymb>),
    BY(locale, gl_iswcdecml, find_symbol<gl_iswcdecml>),
    CALL_FREE(gl_iswcexponent, s.wide_terminated()),
    CALL_FREE(gl_getDecimalCharIndex, s.word()),
    BY(locale, gl_cal_gregorian_to_local, convert_date<gl_cal_gregorian_to_local>),
    BY(locale, gl_cal_local_to_gregorian, convert_date<gl_cal_local_to_gregorian>),
    CALL(gl_alt_getcentury),
    BY(locale, _gl_cache_mb_string,
       (find_words<_gl_cache_mb_string, _gl_validate_mb_string, _gl_free_mb_cache, &Scene::terminated>)),
    BY(locale, _gl_cache_wc_string,
       (find_words<_gl_cache_wc_string, _gl_validate_wc_string, _gl_free_wc_cache, &Scene::wide_terminated>)),

    // The codeset's table
    CALL_WITH(locale, _gl_retrieve_text_multi, s.terminated(), s.locale->ctype.codeset_table, LENGTH, nullptr),
    CALL_WITH(locale, _gl_retrieve_text_multi_nl, s.terminated(), s.locale->ctype.codeset_table, nullptr),
    CALL_WITH(locale, _gl_retrieve_text_multi_nv, s.terminated(), s.locale->ctype.codeset_table, nullptr),
    CALL_WITH(locale, _gl_retrieve_text_multi_limit, s.counted(), s.locale->ctype.codeset_table, s.count(), LENGTH, nullptr),
    CALL_WITH(locale, _gl_retrieve_text_multi_limit_nl, s.counted(), s.locale->ctype.codeset_table, s.count(), nullptr),
    CALL_WITH(locale, _gl_retrieve_wchar_multi_nl, nullptr, s.value(), s.locale->ctype.codeset_table),
    CALL_WITH(conversion, _gl_retrieve_little_endian_unicode_limit, s.counted(), s.cd->main_table, s.count(), s.cd),

    // Handles
    CALL(gl_localeconv),
    CALL(gl_order_fingerprint),
    CALL(gl_errno),
    CALL(gl_clear_errno),
    BY(locale, gl_copy_cat, share<use_shared>),
    BY(locale, gl_make_null_category, share<gl_make_null_category>),
    BY(locale, gl_free_category, share<gl_free_category>),
    BY(nothing, gl_lc_load, load_locale<gl_lc_load>),
    BY(nothing, gl_createlocale_4, load_locale<gl_createlocale_4>),
    BY(nothing, gl_createlocale2_4, load_locale<gl_createlocale2_4>),
    BY(nothing, gl_create_null_locale_4, load_locale<gl_create_null_locale_4>),

    // Conversions and charmaps
    BY(conversion, gl_cv_mconv, convert),
    CALL_WITH(conversion, gl_iconv_expansion, s.cd),
    CALL_WITH(conversion, gl_cv_outbuflen, s.cd, s.small()),
    BY(nothing, gl_cv_load, open_conversion<gl_cv_load>),
    BY(nothing, gl_cv_open, open_conversion<gl_cv_open>),
    BY(nothing, gl_iconv_open, open_conversion<gl_iconv_open>),
    BY(nothing, gl_iconv_open1, open_conversion<gl_iconv_open1>),
    CALL_WITH(charmap, gl_cm_mblen, s.cm, s.or_null(s.counted()), s.up_to_count()),
    CALL_WITH(charmap, gl_mb_cm_max, s.cm),
    CALL_WITH(charmap, gl_mb_cm_min, s.cm),
    CALL_WITH(charmap, gl_cm_srcver, s.cm),
    CALL_WITH(charmap, gl_cm_cmpver, s.cm),
    CALL_WITH(charmap, gl_cm_csname, s.cm),
    BY(charmap, gl_mbstosyms, to_symbols<gl_mbstosyms>),
    BY(charmap, gl_wcstosyms, to_symbols<gl_wcstosyms>),
    BY(charmap, gl_symstombs, from_symbols<gl_symstombs>),
    BY(charmap, gl_symstowcs, from_symbols<gl_symstowcs>),
    CALL_WITH(charmap, gl_mbtosymlist, s.cm, s.out(3 * GL_SYMBOL_SLOT), 3, s.counted(), s.up_to_count()),
    BY(nothing, gl_cm_load,
       [](Scene &s) {
           gl_charmap *loaded = nullptr;
           gl_cm_load(&loaded, s.word(), nullptr, directory(s));
           gl_cm_unload(loaded);
       }),

    // Names and files
    CALL_FREE(gl_cs_name2cs_num, &error, s.or_null(s.word()), nullptr),
    CALL_FREE(gl_cs_nums2ccsid, &error, static_cast<uint16_t>(s.mask())),
    BY(nothing, gl_cs_nums2cv_fname,
       [](Scene &s) {
           const char *const place = directory(s);
           char *const out = s.out(14 + (place != nullptr ? strlen(place) : 0));
           gl_cs_nums2cv_fname(&error, static_cast<uint16_t>(s.mask()), 0xFFFF, out, place);
       }),
    CALL_FREE(_gl_all_decimal_digits, s.word()),
    CALL_FREE(_gl_is_category, s.word(), LENGTH),
    BY(nothing, _gl_is_xopen_spec,
       [](Scene &s) {
           const char *text = s.word();
           char *out = s.out(19);
           uint16_t number = 0;
           _gl_is_xopen_spec(&error, &text, &out, &number, nullptr);
       }),
    BY(nothing, gl_lc_spec2lc_fname, (specify<gl_lc_spec2lc_fname, 208, 6>)),
    BY(nothing, gl_lc_spec2msg_dname, (specify<gl_lc_spec2msg_dname, 11>)),
    BY(nothing, gl_lc_fname2lc_spec, (specify<gl_lc_fname2lc_spec, 187>)),
    CALL_FREE(gl_lc_spec2cs_num, &error, s.or_null(s.word()), nullptr),
    CALL_FREE(gl_lc_spec2lc_norm, &error, s.or_null(s.word()), s.out(200), nullptr),
    CALL_FREE(_gl_lc_short_spec2lc_short_norm, &error, s.or_null(s.word()), s.out(17), nullptr),
    CALL_FREE(gl_lc_short2lc_long, &error, s.or_null(s.word()), s.out(277), nullptr),
    CALL_FREE(gl_lc_spec2lc_short, &error, s.or_null(s.word()), s.out(32), nullptr),
    CALL_FREE(gl_lc_spec2category, &error, s.or_null(s.word()), s.small() + 3, s.out(32), nullptr),
    CALL_FREE(gl_is_lc_spec, &error, s.or_null(s.word())),
    CALL_FREE(gl_lc_fname2lc_pieces, &error, s.or_null(s.word()), s.out(6), s.out(6), s.out(5)),
    CALL_FREE(gl_lc_pieces2lc_spec, &error, "ja_JP", s.word(), s.or_null(s.word()), s.out(17)),
    BY(nothing, gl_open_file,
       [](Scene &s) {
           if (FILE *file = gl_open_file(&error, s.word())) _gl_ext_fclose(file);
       }),
    BY(nothing, gl_path_search, (find_file<gl_path_search, _gl_ext_fclose>)),
    BY(nothing, gl_path_search_no_ext, (find_file<gl_path_search_no_ext, std::fclose>)),
    CALL_FREE(gl_message, s.word()),
    CALL_FREE(gl_set_directory, s.or_null(s.word())),
    CALL_FREE(gl_locale_name, nullptr, s.small(), s.out(), s.room()),
    CALL_FREE(gl_codeset_name, nullptr, s.small(), s.out(), s.room()),
    CALL_FREE(_gl_get_env_var, s.word()),
};

} // namespace

const std::span<const Call> CALLS = TABLE;

constexpr LeftOut NAMES[] = {
    {"cd_* cm_* loc_* glu_* handleglu pMap pg_* unicode_collate gl_ext_functions gl_reg_functions _gl_ext_func", "variables"},
    {"gl_setlocale_4 gl_lc_unload gl_free_nonshared_loc gl_cv_unload gl_cm_unload gl_miconv gl_mconvlen gl_destroystring "
     "_gl_validate_* _gl_free_mb_cache _gl_free_wc_cache gl_path_search_rpath gl_path_search_no_ext_rpath gl_path_search1",
     "called around the calls above, or parts of them"},
    {"_gl_ext_* gl_ext_* gl_setextfunc _gl_set_ext_funcptr _gl_get_ext_funcptr _gl_alloc_ptr _gl_free_ptr gl_fix_rpath "
     "gl_get_gl_path",
     "libc, as the host has replaced it"},
    {"_gl_is_mbs* _qbx_gl_is_mbf* _gl_thaismo* _qbx_gl_thaismoncoll _gl_is_wcstombs",
     "called by those above for the handles that have chosen them"},
    {"gl_assert_failed", "ends the process"},
    {"gl_init_debug _gl_exit_utilities gl_cache_registry gl_free_registry_cache gl_ccsid2cs_nums gl_strerror gl_version "
     "gl_version_text gl_set_log gl_locale_count gl_codeset_count",
     "take no text and no record"},
    {"_gl_init_* _gl_read_* _gl_copy_* _gl_get_* _gl_skip_* _gl_next_cs_*",
     "readers of objects, on streams: every load calls them"},
    {"_gl_create_multi _gl_free_multi _gl_insert_desc_multi _gl_retrieve_desc_multi _gl_multi_* _gl_compress_multi "
     "_gl_fscanf_multi _gl_fprintf_multi _gl_desc_*",
     "tables without a locale have a fuzzer of their own"},
    {"_gl_gregorian_* gl_cal_gregorian_to_hebrew gl_cal_hebrew_to_gregorian gl_cal_gregorian_to_islamic "
     "gl_cal_islamic_to_gregorian _gl_digits _gl_udigits _gl_ipow _gl_fpow _gl_list_*",
     "take numbers"},
    {"_glu_* glx_* qbnx_* gl_useglu gl_init_glu gl_init_glu_dll gl_unload_glu", "the extension's"},
};
const std::span<const LeftOut> LEFT_OUT = NAMES;

} // namespace qbgl_test
