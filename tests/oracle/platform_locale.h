// The platform's own locales as witnesses: compiled by its localedef from the sources that ours are made of.
#pragma once

#include <qbgl.h>

#include <filesystem>
#include <locale.h>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qbgl_test {

// What the order of text is: that of code points where it does not matter, for the rules of a definition take most of the time; or
// that of the rules, and nothing else of the definition.
enum class PlatformOrder { PLAIN, REAL };

// What has been compiled stays for other programs and later runs, until the sources or the platform change.
class PlatformLocales {
  public:
    // Lets LOCPATH name a directory below `root`: to be made before threads start.
    explicit PlatformLocales(const std::filesystem::path &root, PlatformOrder order = PlatformOrder::PLAIN);

    static bool has_charmap(const std::string &charmap);
    // The name under which newlocale finds the locale. Throws std::runtime_error when localedef makes nothing. Safe in several
    // threads and processes.
    std::string compile(const std::filesystem::path &definition, const std::string &charmap) const;

  private:
    std::filesystem::path directory_;
    PlatformOrder order_;
};

// The texts and numbers of a locale by name, as the standard's keywords are named; what has one text is a list of one.
using LocaleTexts = std::map<std::string, std::vector<std::string>>;

// All that gl_langinfo tells.
LocaleTexts items_of(gl_locale &locale);

// Of the record of either localeconv().
template <class Conventions> void add_conventions(LocaleTexts &texts, const Conventions &conv) {
    const std::pair<const char *, const char *> TEXTS[] = {{"decimal_point", conv.decimal_point},
                                                           {"thousands_sep", conv.thousands_sep},
                                                           {"grouping", conv.grouping},
                                                           {"int_curr_symbol", conv.int_curr_symbol},
                                                           {"currency_symbol", conv.currency_symbol},
                                                           {"mon_decimal_point", conv.mon_decimal_point},
                                                           {"mon_thousands_sep", conv.mon_thousands_sep},
                                                           {"mon_grouping", conv.mon_grouping},
                                                           {"positive_sign", conv.positive_sign},
                                                           {"negative_sign", conv.negative_sign}};
    const std::pair<const char *, int> NUMBERS[] = {
        {"int_frac_digits", conv.int_frac_digits}, {"frac_digits", conv.frac_digits},     {"p_cs_precedes", conv.p_cs_precedes},
        {"p_sep_by_space", conv.p_sep_by_space},   {"n_cs_precedes", conv.n_cs_precedes}, {"n_sep_by_space", conv.n_sep_by_space},
        {"p_sign_posn", conv.p_sign_posn},         {"n_sign_posn", conv.n_sign_posn}};
    for (const auto &[name, text] : TEXTS) texts[name] = {text != nullptr ? text : ""};
    for (const auto &[name, number] : NUMBERS) texts[name] = {std::to_string(number)};
}

// The calling thread's locale while this lives.
class PlatformLocale {
  public:
    explicit PlatformLocale(const std::string &name);
    PlatformLocale &operator=(PlatformLocale &&) = delete;
    ~PlatformLocale();

    locale_t get() const { return locale_; }
    LocaleTexts texts() const;
    // Negative, 0 or positive; nothing where the platform's comparison and its sort keys disagree.
    std::optional<int> compare(const std::string &a, const std::string &b) const;

  private:
    locale_t locale_, before_;
};

} // namespace qbgl_test
