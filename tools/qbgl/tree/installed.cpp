#include "tree/installed.h"

#include "qbgl.h"
#include "tree/directories.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

namespace qbgl {

namespace {

constexpr size_t LONGEST_FILE_NAME = 32;

// The locale specification that leads to a file by a codeset's name, empty where none does.
std::string specification_of(const std::string &file, const std::string &codeset) {
    char language_territory[6], number[6], modifier[5];
    if (gl_lc_fname2lc_pieces(nullptr, file.c_str(), language_territory, number, modifier) != 0) return "";
    std::string result = std::string(language_territory) + "." + codeset;
    if (modifier[0] != '\0') result += std::string("@") + modifier;
    char back[288];
    const bool leads_back = gl_lc_spec2lc_fname(nullptr, result.c_str(), back, nullptr, nullptr) == 0 && file == back;
    return leads_back ? result : "";
}

void add(std::set<std::string> &files, const std::filesystem::path &directory) {
    constexpr int LANGUAGE_DIRECTORY = 1;
    std::error_code error;
    auto entry = std::filesystem::recursive_directory_iterator(directory, error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
        if (entry.depth() == LANGUAGE_DIRECTORY) entry.disable_recursion_pending();
        const std::string file = entry->path().lexically_relative(directory).string();
        if (file.ends_with(".lco") && file.size() <= LONGEST_FILE_NAME && entry->is_regular_file(error)) files.insert(file);
    }
}

} // namespace

std::vector<InstalledLocale> installed_locales() {
    std::set<std::string> files;
    for (const std::string &directory : locale_directories()) add(files, directory);
    std::vector<InstalledLocale> result;
    for (const std::string &file : files) {
        const std::string codeset = header_of_object(locale_object(file)).codeset, specification = specification_of(file, codeset);
        result.push_back({specification.empty() ? file : specification, codeset, file});
    }
    std::sort(result.begin(), result.end(), [](const auto &a, const auto &b) { return a.specification < b.specification; });
    return result;
}

// The codeset line stands behind as many header lines as the third one says.
ObjectHeader header_of_object(const std::string &path) {
    constexpr std::string_view ORDER_LINE = "ORDER=";
    ObjectHeader result;
    std::ifstream object(path);
    std::string line;
    for (int i = 0; i < 3; ++i) std::getline(object, line);
    const size_t equals = line.find('=');
    if (!object || equals == std::string::npos) return {};
    for (int further = std::atoi(line.c_str() + equals + 1) - 3; further > 0 && std::getline(object, line); --further)
        if (line.starts_with(ORDER_LINE)) result.order = line.substr(ORDER_LINE.size());
    std::getline(object, result.codeset);
    return object ? result : ObjectHeader{};
}

std::string locale_object(const std::string &file) {
    for (const std::string &directory : locale_directories()) {
        const std::filesystem::path path = std::filesystem::path(directory) / file;
        std::error_code error;
        if (std::filesystem::is_regular_file(path, error)) return path.string();
    }
    return "";
}

} // namespace qbgl
