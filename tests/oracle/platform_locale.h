// The platform's own locales as witnesses: compiled by its localedef from the sources that ours are made of.
#pragma once

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

// The calling thread's locale while this lives.
class PlatformLocale {
  public:
    explicit PlatformLocale(const std::string &name);
    PlatformLocale &operator=(PlatformLocale &&) = delete;
    ~PlatformLocale();

    LocaleTexts texts() const;
    // Negative, 0 or positive; nothing where the platform's comparison and its sort keys disagree.
    std::optional<int> compare(const std::string &a, const std::string &b) const;

  private:
    locale_t locale_, before_;
};

} // namespace qbgl_test
