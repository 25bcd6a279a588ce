#include "locale.h"

#include "../icu.h"
#include "process.h"
#include "statement.h"
#include "text.h"

#include <algorithm>
#include <limits>
#include <new>

namespace qbgl_sqlite {

namespace {

constexpr size_t LONGEST_NAME = 48;
constexpr char CODESET[] = "utf8";

// ICU's own names of locales have other forms: sr_Latn_RS@icu.
bool is_of_icu(std::string_view name) { return name.ends_with("@icu"); }

// Nothing that could lead out of the tree: no slash, no NUL, no mark that stands for a slash.
bool is_name(std::string_view name) {
    const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto is_taken = [&](char c) {
        return is_letter(c) || (c >= '0' && c <= '9') || c == '_' || c == '-' || c == '.' || c == '@';
    };
    return name.size() >= 5 && name.size() <= LONGEST_NAME && is_letter(name[0]) && (name.find('_') == 2 || is_of_icu(name)) &&
           std::all_of(name.begin(), name.end(), is_taken) && name.find("..") == std::string_view::npos;
}

char lower(char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c); }
char upper(char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - ('a' - 'A') : c); }

int length_of(std::string_view text) { return static_cast<int>(std::min<size_t>(text.size(), std::numeric_limits<int>::max())); }

} // namespace

std::string locale_name(std::string_view name) {
    if (!is_name(name)) throw Error(quoted(name) + " is no name of a locale: such as cs_CZ, or cs_CZ.utf8");
    const size_t modifier = std::min(name.find('@'), name.size()), codeset = name.find('.');
    std::string language(name.substr(0, std::min(codeset, modifier)));
    const bool is_icus_own = is_of_icu(name) && (language.size() != 5 || language[2] != '_');
    for (size_t i = 0; i < language.size() && !is_icus_own; ++i) language[i] = i < 2 ? lower(language[i]) : upper(language[i]);
    if (codeset < modifier) {
        const std::string given(name.substr(codeset + 1, modifier - codeset - 1));
        if (codeset_number(given) != codeset_number(CODESET))
            throw Error("SQLite keeps text in UTF-8: take " + language + "." + CODESET + " instead of " + std::string(name));
    }
    return language + "." + CODESET + std::string(name.substr(modifier));
}

Locale::Locale(std::string name) : name_(std::move(name)), handle_(nullptr, gl_lc_unload) {
    gl_locale *handle = nullptr;
    std::string icu;
    const int result = one_at_a_time([&] {
        const int loaded = qbgl_load_locale(&handle, name_.c_str());
        handle_.reset(handle);
        const char *const why = is_of_icu(name_) ? qbgl_why_no_icu(handle, loaded, gl_errno(handle)) : nullptr;
        if (why != nullptr) icu = why;
        return loaded;
    });
    if (!icu.empty())
        throw Error("ICU does not serve the locale " + name_ + ": " + icu + " (qbglc tree --icu puts it into an installation)");
    if (result != 0) {
        const int number = gl_errno(handle);
        if (number == GL_ENOMEM) throw std::bad_alloc();
        throw Error("the locale " + name_ + " cannot be loaded: " + gl_strerror(number) +
                    " (is it installed, and QUORBANEDIR set?)");
    }
    if (gl_order_fingerprint(handle) == nullptr)
        throw Error("the locale " + name_ +
                    " cannot be used: the extension library that orders it does not tell its order's version");
    constexpr const char *ZONES[] = {"UTC"}; // as SQLite has all times
    if (gl_set_zone_names(handle, ZONES, 1) != 0) throw std::bad_alloc();
    marks_ = gl_ctype(handle, "combining");
    may_fail_ = handle->collate.kind == GL_COLLATION_THAI || handle->collate.kind == GL_COLLATION_EXTENSION;
}

int Locale::compare(std::string_view a, std::string_view b, int passes) const {
    if (may_fail_) gl_clear_errno(handle_.get());
    const int result = gl_order_compare(handle_.get(), a.data(), length_of(a), b.data(), length_of(b), passes);
    if (result == 0 && may_fail_ && gl_errno(handle_.get()) != 0) throw std::bad_alloc();
    return result;
}

std::string Locale::key(std::string_view text, int passes) const {
    std::string key(text.size() + text.size() / 2 + 16, '\0');
    for (;;) {
        auto *const bytes = reinterpret_cast<unsigned char *>(key.data());
        const int size = gl_order_key(handle_.get(), text.data(), length_of(text), passes, bytes, length_of(key));
        if (size < 0) throw std::bad_alloc();
        const bool fits = static_cast<size_t>(size) <= key.size();
        key.resize(static_cast<size_t>(size));
        if (fits) return key;
    }
}

bool Locale::is_mark(std::string_view character) const {
    gl_wchar wc = 0;
    return static_cast<unsigned char>(character[0]) >= 0x80 &&
           gl_mbtowc(handle_.get(), &wc, character.data(), length_of(character)) > 0 && gl_iswctype(handle_.get(), wc, marks_) != 0;
}

} // namespace qbgl_sqlite
