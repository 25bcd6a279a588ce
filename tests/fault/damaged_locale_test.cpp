// Locale objects that were damaged at random: they fail to load with a clear error, or give a handle that serves every call.
// Nothing is left behind and nothing takes long. The sanitizers watch the bounds.
#include "support/faults.h"
#include "support/files.h"
#include "support/locale_object.h"

#include "setlc/handle.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace qbgl_test;
namespace fs = std::filesystem;
using std::string;

#if defined(__SANITIZE_ADDRESS__)
constexpr int ROUNDS = 500;
#else
constexpr int ROUNDS = 2000;
#endif
constexpr auto LONGEST = std::chrono::seconds(5); // for an object of some 30 kB, on a busy machine

using Random = std::minstd_rand;
size_t below(Random &random, size_t count) { return random() % count; }

// Where a section begins and ends: most of the damage would otherwise hit the big tables.
std::pair<size_t, size_t> some_part(const string &text, Random &random) {
    std::vector<size_t> ends = {0};
    while ((ends.back() = text.find("### ", ends.back())) != string::npos) ends.push_back(ends.back() + 1);
    ends.back() = text.size();
    ends.insert(ends.begin(), 0);
    const size_t part = below(random, ends.size() - 1);
    return {ends[part], ends[part + 1]};
}

string damaged(string text, Random &random) {
    const auto [begin, end] = some_part(text, random);
    const auto place = [&] { return begin + below(random, end - begin); };
    const auto line_at = [&](size_t at) {
        const size_t first = text.rfind('\n', at == 0 ? 0 : at - 1) + 1, last = text.find('\n', first);
        return std::pair(first, last == string::npos ? text.size() - first : last + 1 - first);
    };
    constexpr const char *EXTREMES[] = {"0",     "-1",         "1",          "15",          "16",         "255",         "65535",
                                        "65536", "2147483647", "2147483648", "-2147483648", "4294967295", "ffff",        "7fff",
                                        "8000",  "0.01",       "-1.0",       "1e300",       "nan",        "999999999999"};
    switch (below(random, 8)) {
    case 0: text.resize(place()); break;
    case 1: text.erase(place(), 1 + below(random, 3)); break;
    case 2: {
        const auto [first, length] = line_at(place());
        text.erase(first, length);
        break;
    }
    case 3: {
        const auto [first, length] = line_at(place());
        text.insert(first, text.substr(first, length));
        break;
    }
    case 4: { // the later of two lines before the earlier
        const auto [a, b] = std::minmax({place(), place()});
        const auto [first, length] = line_at(b);
        const string line = text.substr(first, length);
        text.erase(first, length);
        text.insert(line_at(a).first, line);
        break;
    }
    case 5: { // a number
        const size_t first = text.find_first_of("0123456789", place());
        if (first == string::npos) break;
        const size_t last = std::min(text.find_first_not_of("0123456789.", first), text.size());
        text.replace(first, last - first, EXTREMES[below(random, std::size(EXTREMES))]);
        break;
    }
    default:
        for (size_t changes = 1 + below(random, 3); changes > 0; --changes)
            text[place()] = "0123456789abf \n-:\x80"[below(random, 18)];
    }
    return text;
}

// A block of exactly the announced size, so that the sanitizer sees what runs over.
template <class T> class Room {
  public:
    explicit Room(int size) : block_(new T[static_cast<size_t>(std::max(size, 0))]()) {}
    T *get() const { return block_.get(); }

  private:
    std::unique_ptr<T[]> block_;
};

constexpr int PADDING = 8; // zero bytes behind a text: in a damaged codeset a character may end in some of them

// Calls everything that takes text on some texts.
class TextUser {
  public:
    TextUser(gl_locale *locale, Random &random) : loc_(locale), random_(random) {
        for (const string letters : {"", "aZ09 az\x7F", "\xC0\xDF\xE0\xFF\x80", "\x82\x60\x82\xA0\x88\x9F\xB1 z",
                                     "\xE3\x81\x82\xF0\x90\x90\x80\xC4\xB1", "\x8F\xB0\xA1\xA3\xC1"})
            texts_.push_back(letters + string(PADDING, '\0'));
        for (int i = 0; i < 3; ++i) {
            string text;
            for (size_t bytes = below(random_, 24); bytes > 0; --bytes) text += static_cast<char>(1 + random_() % 255);
            texts_.push_back(text + string(PADDING, '\0'));
        }
    }

    void use_all() {
        for (const string &text : texts_) {
            use_characters(text.c_str(), length(text));
            use_text(text.c_str(), length(text));
            for (const string &other : texts_) use_order(text, other);
        }
        use_cache();
    }

  private:
    static int length(const string &text) { return static_cast<int>(text.size()) - PADDING; }

    void use_characters(const char *s, int len) {
        for (int at = 0; at <= len; ++at) {
            gl_wchar wc = static_cast<gl_wchar>(random_());
            gl_full_mbtowc(loc_, &wc, s + at, len - at);
            _qbx_gl_full_mbtowc(loc_, &wc, s + at, -1);
            gl_full_mblen(loc_, s + at, len - at);
            _qbx_gl_full_mblen(loc_, s + at, len - at);
            const Room<char> bytes(4);
            gl_full_wctomb(loc_, bytes.get(), wc);
            _gl_sl_wctomb(loc_, bytes.get(), wc);
            gl_wclen(loc_, wc);
            for (const char *name : {"alpha", "alnum", "latin", "kana", ""}) _gl_im_iswctype(loc_, wc, gl_ctype(loc_, name));
            _gl_im_ismctype(loc_, s + at, ~0U);
            _qbx_gl_im_ismctype(loc_, s + at, len - at, ~0U);
            const gl_wchar mapped[] = {_gl_im_towupper(loc_, wc), _gl_im_towlower(loc_, wc)};
            gl_full_wctomb(loc_, bytes.get(), mapped[at % 2]);
            for (const auto map : {_gl_im_tomupper, _gl_im_tomlower}) map(loc_, bytes.get(), s + at);
            for (const auto map : {_qbx_gl_im_tomupper, _qbx_gl_im_tomlower}) map(loc_, bytes.get(), s + at, len - at);
        }
    }

    void use_text(const char *s, int len) {
        for (const int n : {0, 1, len, len + 1}) {
            const Room<gl_wchar> wide(n);
            loc_->mbstowcs(loc_, wide.get(), s, n);
            loc_->mbfstowcfs(loc_, wide.get(), s, len, n);
            _gl_im_mbstowcs(loc_, wide.get(), s, n);
            _qbx_gl_im_mbfstowcfs(loc_, wide.get(), s, len, n);
        }
        _gl_im_mbslen(loc_, s);
        _qbx_gl_im_mbfslen(loc_, s, len);
        const int shortest = _gl_multi_min_length(loc_->ctype.codeset_table), bytes = gl_mbsbytes(loc_, s);
        const Room<char> mapped(gl_case_conv_outbuflen(loc_, bytes > 0 ? bytes - shortest : len + 3) + shortest);
        for (const auto map : {gl_tombsupper, gl_tombslower}) map(loc_, mapped.get(), s);
        const Room<gl_wchar> wide(len + 2), other(len + 2);
        if (loc_->mbstowcs(loc_, wide.get(), s, len + 1) < 0) wide.get()[0] = static_cast<gl_wchar>(random_());
        ASSERT_LE(gl_wcslen(wide.get()), len + 1);
        for (const auto map : {gl_towcsupper, gl_towcslower}) map(loc_, other.get(), wide.get());
        for (const int n : {0, 1, len, 4 * len + PADDING}) {
            const Room<char> text(n);
            gl_full_wcstombs(loc_, text.get(), wide.get(), n);
            _qbx_gl_full_wcstombs(loc_, text.get(), wide.get(), len + 1, n);
            if (loc_->single_byte == 0) continue;
            _gl_is_wcstombs(loc_, text.get(), wide.get(), n);
            _qbx_gl_is_wcstombs(loc_, text.get(), wide.get(), len + 1, n);
        }
        for (const int capacity : {0, 1, len, 64 * len + PADDING}) {
            const Room<char> key(capacity);
            const int length = loc_->mbsxfrm(loc_, key.get(), s, capacity);
            ASSERT_GE(length, -1);
            gl_full_mbsxfrm(loc_, key.get(), s, capacity);
        }
    }

    void use_order(const string &a, const string &b) {
        const char *s = a.c_str(), *t = b.c_str();
        loc_->mbscoll(loc_, s, t);
        loc_->mbfscoll(loc_, s, length(a), t, length(b));
        _gl_im_mbscoll(loc_, s, t);
        _qbx_gl_im_mbfscoll(loc_, s, length(a), t, length(b));
        gl_full_mbscmp(loc_, s, t);
        gl_full_mbsncmp(loc_, s, t, std::min(length(a), length(b)));
        _qbx_gl_mbscmp(loc_, s, length(a), t, length(b));
    }

    void use_cache() {
        void *multibyte = nullptr, *wide = nullptr;
        for (const string &word : texts_) {
            _gl_cache_mb_string(loc_, &multibyte, word.c_str(), 1);
            _gl_cache_wc_string(loc_, &wide, word.c_str(), 2);
        }
        for (const string &text : texts_) {
            int length_found = 0, value = 0;
            _gl_validate_mb_string(loc_, multibyte, text.c_str(), &length_found, &value);
            const Room<gl_wchar> input(length(text) + 2);
            loc_->mbstowcs(loc_, input.get(), text.c_str(), length(text) + 1);
            _gl_validate_wc_string(loc_, wide, input.get(), &length_found, &value);
        }
        _gl_free_mb_cache(loc_, multibyte);
        _gl_free_wc_cache(loc_, wide);
    }

    gl_locale *loc_;
    Random &random_;
    std::vector<string> texts_;
};

// Reads every text of the records to its end, wide forms included; returns their length, so that nothing is left out.
size_t read_records(gl_locale &locale) {
    size_t sum = 0;
    const auto read = [&](const char *text) { sum += text != nullptr ? strlen(text) : 0; };
    const auto read_wide = [&](const gl_wchar *text) { sum += text != nullptr ? static_cast<size_t>(gl_wcslen(text)) : 0; };
    const auto read_both = [&](const gl_text &text) { read(text.bytes), read_wide(text.wide); };
    const auto read_list = [&](char *const *bytes, gl_wchar *const *wide, int count) {
        for (int i = 0; i < count; ++i) read(bytes[i]), read_wide(wide[i]);
    };
    for (int i = 0; i < locale.ctype.class_count; ++i) read(locale.ctype.class_list[i].name);
    const gl_monetary_info &money = locale.monetary;
    const gl_messages_info &messages = locale.messages;
    for (const gl_text &text :
         {locale.numeric.decimal_point, locale.numeric.thousands_sep, locale.numeric.positive_sign, locale.numeric.negative_sign,
          money.int_curr_symbol, money.currency_symbol, money.mon_decimal_point, money.mon_thousands_sep, money.positive_sign,
          money.negative_sign, messages.yesexpr, messages.noexpr, messages.yesstr, messages.nostr})
        read_both(text);
    const gl_time_info &time = locale.time;
    read_list(time.abday, time.w_abday, 7);
    read_list(time.day, time.w_day, 7);
    for (const gl_text_list &list : {time.abmon, time.mon, time.alt_digits}) read_list(list.bytes, list.wide, list.count);
    read_list(time.abmon.bytes, time.abmon.wide, time.mon.count);
    for (const char *text : {time.am, time.pm, time.d_fmt, time.d_t_fmt, time.t_fmt, time.t_fmt_ampm, time.era_d_fmt,
                             time.era_t_fmt, time.era_d_t_fmt, time.joined_eras, time.joined_alt_digits})
        read(text);
    for (const gl_wchar *text :
         {time.w_am, time.w_pm, time.w_d_fmt, time.w_d_t_fmt, time.w_t_fmt, time.w_t_fmt_ampm, time.w_era_d_fmt, time.w_era_t_fmt,
          time.w_era_d_t_fmt, time.w_joined_eras, time.w_joined_alt_digits})
        read_wide(text);
    for (int i = 0; i < time.era_count; ++i) {
        const gl_era &era = time.eras[i];
        for (const char *text : {time.era_strings[i], era.name, era.format, era.third}) read(text);
        read_wide(era.w_third);
    }
    const gl_lconv &conv = *gl_localeconv(&locale);
    for (const char *text : {conv.decimal_point, conv.thousands_sep, conv.grouping, conv.int_curr_symbol, conv.currency_symbol,
                             conv.mon_decimal_point, conv.mon_thousands_sep, conv.mon_grouping, conv.positive_sign,
                             conv.negative_sign, conv.num_positive_sign, conv.num_negative_sign})
        read(text);
    return sum;
}

void use(gl_locale *locale, Random &random) {
    gl_destroystring(gl_setlocale_4(locale, GL_CAT_ALL, nullptr));
    ASSERT_GT(read_records(*locale), 0U);
    TextUser(locale, random).use_all();
    gl_locale *copy = nullptr;
    ASSERT_EQ(gl_create_null_locale_4(&copy), 0);
    if (gl_copy_cat(copy, locale, GL_CAT_ALL) == 0) TextUser(copy, random).use_all();
    gl_free_nonshared_loc(copy);
}

// Also loads what is left of a category into the handle of a whole object.
class DamagedLocales : public testing::Test {
  protected:
    void load_damaged(const string &text, int rounds) {
        Random random(11);
        const Faults faults; // counts what is left behind
        const ScopedEnv path("GL_PATH", directory_.path().string());
        write_file(directory_ / "whole.lco", text);
        for (int round = 0; round < rounds && !HasFailure(); ++round) {
            const string object = damaged(text, random);
            write_file(directory_ / "default.lco", object);
            SCOPED_TRACE(testing::Message() << "round " << round);
            const auto start = std::chrono::steady_clock::now();
            if (round % 4 != 0)
                load([&](gl_locale **out) { return gl_createlocale2_4(out, (directory_ / "").c_str()); }, random);
            else
                load(
                    [&](gl_locale **out) {
                        if (gl_lc_load(out, "whole.lco", nullptr, nullptr) != 0) return -1;
                        char *const names = gl_setlocale_4(*out, static_cast<int>(GL_CAT_CTYPE + below(random, 6)), "default.lco");
                        gl_destroystring(names);
                        return names != nullptr && gl_errno(*out) == 0 ? 0 : -1;
                    },
                    random);
            EXPECT_LT(std::chrono::steady_clock::now() - start, LONGEST);
            EXPECT_EQ(faults.blocks() + faults.streams(), 0U);
            if (HasFailure()) {
                const fs::path kept = fs::temp_directory_path() / "damaged.lco";
                write_file(kept, object);
                ADD_FAILURE() << "the object is in " << kept;
            }
        }
    }

    int served = 0;

  private:
    template <class Loader> void load(Loader loader, Random &random) {
        gl_locale *locale = nullptr;
        const int result = loader(&locale);
        const int error = gl_errno(locale);
        if (result == 0) {
            use(locale, random);
            ++served;
        } else {
            if (!qbgl::is_canned(locale)) TextUser(locale, random).use_all(); // what is left of a handle
            constexpr int ERRORS[] = {GL_EILSEQ,  GL_ENOMEM,   GL_ENEGCOUNT, GL_ENOFILE,  GL_EBADFILE,   GL_EMIXEDCS, GL_EBADERA,
                                      GL_EBADCAL, GL_EVERSION, GL_ETABLELEN, GL_ELOADCAT, GL_ENOCODESET, GL_ECTYPECS};
            EXPECT_NE(std::find(std::begin(ERRORS), std::end(ERRORS), error), std::end(ERRORS)) << "error " << error;
        }
        gl_lc_unload(locale);
    }

    const TempDir directory_;
};

TEST_F(DamagedLocales, OfEveryShape) {
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset(), two_byte_codeset()}) {
        SCOPED_TRACE(codeset.name);
        load_damaged(LocaleObject(codeset).text(), ROUNDS);
    }
    EXPECT_GT(served, ROUNDS); // damage that is not noticed is used
}

TEST_F(DamagedLocales, WithExpansionsAndElements) {
    for (Codeset codeset : {single_byte_codeset(), sjis_codeset()}) {
        Collation rules = Collation::in_order(codeset, {1, 2});
        rules.elements = {{{'c', 'h'}, 5}, {{'l', 'l'}, 7}, {{'a', 'b', 'c'}, 9}};
        rules.expansions = {{'s', 's'}, {'a', 'e'}};
        rules.rows[70][0] = 0x4000;
        rules.rows[71][1] = 0x4001;
        load_damaged(LocaleObject(codeset, rules.text()).text(), ROUNDS);
    }
}

TEST_F(DamagedLocales, OfTheTree) { load_damaged(read_file(QBGL_TREE "/vrn/lc11/de_de/0333.lco"), ROUNDS); }

} // namespace
