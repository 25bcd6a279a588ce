// The platform's own locales as witnesses: compiled by its localedef from the sources that ours are made of.
#pragma once

#include <filesystem>
#include <locale.h>
#include <map>
#include <string>
#include <vector>

namespace qbgl_test {

// What has been compiled stays for other programs and later runs, until the sources or the platform change.
class PlatformLocales {
  public:
    // Lets LOCPATH name a directory below `root`: to be made before threads start.
    explicit PlatformLocales(const std::filesystem::path &root);

    static bool has_charmap(const std::string &charmap);
    // The name under which newlocale finds the locale. Order of text is that of code points: the rules of the definition would
    // take most of the time. Throws std::runtime_error when localedef makes nothing. Safe in several threads and processes.
    std::string compile(const std::filesystem::path &definition, const std::string &charmap) const;

  private:
    std::filesystem::path directory_;
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

  private:
    locale_t locale_, before_;
};

} // namespace qbgl_test
