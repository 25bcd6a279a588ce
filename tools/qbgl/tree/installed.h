// The locales of the installation.
#pragma once

#include <string>
#include <vector>

namespace qbgl {

struct InstalledLocale {
    std::string specification; // ja_JP.sjis, or the file's name where that is no specification
    std::string codeset;
    std::string file; // ja_jp/e006.lco
};

// What the directories of locale objects hold, in the order of the specifications; of equal files the one that the library finds.
std::vector<InstalledLocale> installed_locales();

// What the header of a locale's object says. Both are empty when there is no such file.
struct ObjectHeader {
    std::string codeset;
    std::string order; // the fingerprint of its order, empty in an object that has none
};
ObjectHeader header_of_object(const std::string &path);

// The object file of a locale where the library finds it, empty when it is in none of the directories.
std::string locale_object(const std::string &file);

} // namespace qbgl
