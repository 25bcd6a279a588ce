// Bytes as a locale object. What loads runs every operation of a handle over the last bytes of the input and over the object's own
// texts, through blocks of exactly the sizes that the operations ask for.
#include "support.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr size_t TEXT_SIZE = 32;
constexpr size_t ZEROS = 8; // a last character may take some of them with it

using Bytes = std::vector<char>;
using Wides = std::vector<gl_wchar>;

int sign(int value) { return (value > 0) - (value < 0); }
int size_of(const Bytes &text) { return static_cast<int>(text.size()); }

void convert_characters(gl_locale *locale, const Bytes &text) {
    for (size_t at = 0; at + ZEROS <= text.size(); ++at) {
        const char *s = text.data() + at;
        gl_wchar wc = 0;
        char bytes[4];
        const int length = gl_full_mbtowc(locale, &wc, s, 4);
        require(length >= -1 && length <= 4 && _qbx_gl_full_mbtowc(locale, &wc, s, 4) == length);
        require(gl_full_mblen(locale, s, 4) == length && _qbx_gl_full_mblen(locale, s, 4) >= length);
        _qbx_gl_full_mbtowc(locale, &wc, s, -1);
        const gl_wchar values[] = {wc, wc ^ 0x20, static_cast<gl_wchar>(at << 8), 0xF0908080 + wc};
        for (const gl_wchar value : values) {
            const int written = gl_full_wctomb(locale, bytes, value);
            require(written >= -1 && written != 0 && written <= 4);
            require(gl_wclen(locale, value) == (locale->single_byte != 0 ? 1 : written));
            _gl_sl_wctomb(locale, bytes, value);
            require((_gl_im_iswctype(locale, value, ~0U) & ~0xFFFFU) == 0);
            _gl_im_towupper(locale, value);
            _gl_im_towlower(locale, value);
        }
        _gl_im_ismctype(locale, s, GL_CLASS_ALPHA);
        char mapped[256];
        _gl_im_tomupper(locale, mapped, s);
        _gl_im_tomlower(locale, mapped, s);
        for (int limit = 0; limit <= 4; ++limit) {
            const Bytes exact(s, s + limit);
            require(gl_full_mbtowc(locale, &wc, exact.data(), limit) <= limit);
            _qbx_gl_im_ismctype(locale, exact.data(), limit, GL_CLASS_PRINT);
            _qbx_gl_im_tomupper(locale, mapped, exact.data(), limit);
            _qbx_gl_im_tomlower(locale, mapped, exact.data(), limit);
        }
    }
}

// The text as wide characters with their terminator; only the terminator for what is no text.
Wides convert_texts(gl_locale *locale, const Bytes &text) {
    const int shortest = _gl_multi_min_length(locale->ctype.codeset_table);
    const int bytes = gl_mbsbytes(locale, text.data());
    require(bytes >= 0 && bytes <= size_of(text));
    Wides wide(text.size() + 1);
    for (int room = 0; room <= size_of(text); room += room < 3 ? 1 : 7) {
        Wides exact(static_cast<size_t>(room));
        gl_mbstowcs(locale, exact.data(), text.data(), room);
        gl_mbfstowcfs(locale, exact.data(), text.data(), size_of(text), room);
    }
    const int length = gl_mbstowcs(locale, wide.data(), text.data(), size_of(text));
    require((length < 0) == (bytes == 0) && length <= size_of(text));
    if (length < 0) return {0};
    require(wide[static_cast<size_t>(length)] == 0 && gl_wcslen(wide.data()) == length &&
            gl_wcsbytes(wide.data()) == 4 * length + 4);
    if (locale->single_byte == 0) require(_gl_im_mbslen(locale, text.data()) == length);
    require(_qbx_gl_im_mbfslen(locale, text.data(), -1) == length);
    wide.resize(static_cast<size_t>(length) + 1);
    for (int room = 0; room < bytes; room += room < 3 ? 1 : 7) {
        Bytes exact(static_cast<size_t>(room));
        require(gl_full_wcstombs(locale, exact.data(), wide.data(), room) <= room);
        require(_qbx_gl_full_wcstombs(locale, exact.data(), wide.data(), length, room) <= room);
        if (locale->single_byte != 0) require(_qbx_gl_is_wcstombs(locale, exact.data(), wide.data(), length, room) <= room);
    }
    Bytes back(static_cast<size_t>(bytes));
    const int written = gl_full_wcstombs(locale, back.data(), wide.data(), bytes);
    require(written < 0 || written <= bytes - shortest);
    return wide;
}

void convert_case(gl_locale *locale, const Bytes &text, const Wides &wide) {
    const int length = gl_mbsbytes(locale, text.data());
    if (length == 0) return;
    const int room = gl_case_conv_outbuflen(locale, length);
    require(room >= length && room <= 256 * length);
    for (const auto map : {gl_tombsupper, gl_tombslower}) {
        Bytes exact(static_cast<size_t>(room));
        require(map(locale, exact.data(), text.data()) < room);
    }
    for (const auto map : {gl_towcsupper, gl_towcslower}) {
        Wides exact(wide.size());
        map(locale, exact.data(), wide.data());
    }
}

Bytes key_of(gl_locale *locale, const Bytes &text) {
    const int length = gl_mbsxfrm(locale, nullptr, text.data(), 0);
    require(length >= -1);
    Bytes key(static_cast<size_t>(std::max(length, 0) + 1));
    require(gl_mbsxfrm(locale, key.data(), text.data(), length + 1) == length);
    Bytes cut(key.size() / 2);
    require(gl_mbsxfrm(locale, cut.data(), text.data(), static_cast<int>(cut.size())) == length);
    require(length < 0 || std::equal(cut.begin(), cut.end(), key.begin()));
    return key;
}

void compare(gl_locale *locale, const Bytes &text, const Bytes &other, const Wides &wide, const Wides &other_wide) {
    require(gl_mbscoll(locale, text.data(), text.data()) == 0);
    const auto against = [locale](auto function, const auto &a, const auto &b) {
        require(sign(function(locale, a.data(), b.data())) == -sign(function(locale, b.data(), a.data())));
    };
    against(gl_mbscoll, text, other);
    against(_gl_im_mbscoll, text, other);
    against(gl_full_mbscmp, text, other);
    against(gl_wcscmp, wide, other_wide);
    const int length = static_cast<int>(wide.size()) - 1, other_length = static_cast<int>(other_wide.size()) - 1;
    gl_wcsncmp(locale, wide.data(), other_wide.data(), length);
    _qbx_gl_wcfscmp(locale, wide.data(), length, other_wide.data(), other_length);
    gl_full_mbsncmp(locale, text.data(), other.data(), size_of(other));
    _qbx_gl_mbscmp(locale, text.data(), size_of(text), other.data(), size_of(other));
    gl_mbfscoll(locale, text.data(), size_of(text), other.data(), size_of(other));
    _qbx_gl_im_mbfscoll(locale, text.data(), size_of(text) - 1, other.data(), size_of(other));
    key_of(locale, text);
    key_of(locale, other);
}

void search_words(gl_locale *locale, const Bytes &text, const Wides &wide) {
    void *bytes = nullptr, *wides = nullptr;
    int length, value;
    for (size_t at = 0; at + ZEROS <= text.size(); at += 5) {
        _gl_cache_mb_string(locale, &bytes, text.data() + at, static_cast<int>(at));
        _gl_cache_wc_string(locale, &wides, text.data() + at, static_cast<int>(at));
    }
    for (size_t at = 0; at + ZEROS <= text.size(); ++at) _gl_validate_mb_string(locale, bytes, text.data() + at, &length, &value);
    const gl_time_info &time = locale->time;
    for (void *cache : {wides, time.mon_names, time.abmon_names, time.day_names, time.era_names, time.alt_digit_names})
        for (const gl_wchar &wc : wide) _gl_validate_wc_string(locale, cache, &wc, &length, &value);
    _gl_free_mb_cache(locale, bytes);
    _gl_free_wc_cache(locale, wides);
    for (int i = 0; i < time.mon.count; ++i)
        require(_gl_validate_wc_string(locale, time.mon_names, time.mon.wide[i], &length, &value) == 0 && value >= 0 &&
                value < time.mon.count);
}

// Texts of the object are whole, in both forms.
void look_at_texts(gl_locale *locale) {
    const gl_time_info &time = locale->time;
    const gl_lconv &conv = *gl_localeconv(locale);
    const auto look = [locale](const char *bytes, const gl_wchar *wide) {
        require((bytes == nullptr) == (wide == nullptr));
        if (bytes == nullptr) return;
        const std::vector<gl_wchar> copy(wide, wide + gl_wcslen(wide) + 1);
        require(gl_mbsbytes(locale, bytes) >= static_cast<int>(copy.size()) - 1);
    };
    for (int i = 0; i < 7; ++i) look(time.day[i], time.w_day[i]);
    for (const gl_text_list *list : {&time.abmon, &time.mon, &time.alt_digits})
        for (int i = 0; i < list->count; ++i) look(list->bytes[i], list->wide[i]);
    for (int i = 0; i < time.era_count; ++i) look(time.eras[i].third, time.eras[i].w_third);
    look(time.joined_eras, time.w_joined_eras);
    look(conv.decimal_point, conv.w_decimal_point);
    look(conv.mon_decimal_point, conv.w_mon_decimal_point);
    look(locale->messages.yesexpr.bytes, locale->messages.yesexpr.wide);
    for (char **text = locale->all_one; text != nullptr && *text != nullptr; ++text) gl_mbsbytes(locale, *text);
    for (auto *pair = locale->equivalence; pair != nullptr && pair->member != nullptr; ++pair)
        require(gl_mbsbytes(locale, pair->member) >= 0 && gl_mbsbytes(locale, pair->representative) >= 0);
    for (const char *name : {"alpha", "alnum", "own", ""}) gl_ctype(locale, name);
}

void run_all(gl_locale *locale, const Bytes &text, const Bytes &other) {
    convert_characters(locale, text);
    const Wides wide = convert_texts(locale, text), other_wide = convert_texts(locale, other);
    convert_case(locale, text, wide);
    compare(locale, text, other, wide, other_wide);
    search_words(locale, text, wide);
}

// Dates and amounts by the object's formats, names and layouts, and back.
void write_and_read(gl_locale *locale) {
    for (const char *ascii : {"%c %Ec %EY %OB %b %+ %r %Od", "%QB %EX", "%n %i%(#9n"}) {
        Bytes format, out(200);
        for (char bytes[4]; *ascii != '\0'; ++ascii) {
            const int length = gl_full_wctomb(locale, bytes, static_cast<unsigned char>(*ascii));
            if (length < 1) return;
            format.insert(format.end(), bytes, bytes + length);
        }
        format.resize(format.size() + ZEROS);
        gl_tm date = {5, 7, 15, 0, 3, 9, 9, 124, 4, 276, 0, -5400, 1};
        char decimal[40];
        const bool written = gl_mbsftime(locale, out.data(), size_of(out), format.data(), &date) >= 0;
        if (written) gl_mbsptime(locale, out.data(), format.data(), &date);
        if (gl_mbsfmon(locale, out.data(), size_of(out), format.data(), -1234567.895) >= 0)
            gl_mbspmon(locale, out.data(), nullptr, decimal, sizeof decimal);
    }
}

void share(gl_locale *locale, const Bytes &text) {
    gl_locale *copy = nullptr;
    require(gl_create_null_locale_4(&copy) == 0);
    require(gl_copy_cat(copy, locale, GL_CAT_ALL) == 0);
    char *names = gl_setlocale_4(copy, GL_CAT_ALL, nullptr);
    require(names != nullptr);
    gl_destroystring(names);
    require(gl_mbscoll(copy, text.data(), text.data()) == 0);
    look_at_texts(locale);
    gl_free_nonshared_loc(copy);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    serve_object(data, size);
    gl_locale *locale = nullptr;
    if (gl_createlocale2_4(&locale, "/") != 0) {
        require(locale->error != 0);
        gl_lc_unload(locale);
        return 0;
    }
    require(locale->error == 0);
    look_at_texts(locale);
    Bytes text(data + size - std::min(size, TEXT_SIZE), data + size);
    text.resize(text.size() + ZEROS);
    const gl_multi *codeset = locale->ctype.codeset_table;
    const std::string name(locale->time.day[0],
                           static_cast<size_t>(gl_mbsbytes(locale, locale->time.day[0]) - _gl_multi_min_length(codeset)));
    Bytes own(name.begin(), name.begin() + static_cast<long>(std::min(name.size(), TEXT_SIZE)));
    own.resize(own.size() + ZEROS);
    run_all(locale, text, own);
    run_all(locale, own, text);
    write_and_read(locale);
    share(locale, own);
    gl_lc_unload(locale);
    return 0;
}
