// What a locale object says about time that POSIX definitions do not.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

class Calendars {
  public:
    static Calendars load(const std::filesystem::path &file);
    static Calendars parse(std::string_view text, const std::string &file);

    static bool is_calendar(std::string_view name);
    // The month names of a calendar in a language; null when there are none.
    const std::vector<std::u32string> *months(const std::string &calendar, const std::string &language) const;
    // The letter that stands for an era; empty for most.
    std::u32string era_letter(const std::u32string &era) const;

  private:
    std::map<std::pair<std::string, std::string>, std::vector<std::u32string>> months_;
    std::map<std::u32string, std::u32string> letters_;
};

} // namespace qbgl::compiler
