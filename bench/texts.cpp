#include "texts.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iconv.h>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string.h>

namespace bench {

namespace {

namespace fs = std::filesystem;

// Languages without an example take one in the same script.
const std::map<std::string, std::string> EXAMPLES = {{"ja", "japanese"},
                                                     {"zh_TW", "chinese_traditional"},
                                                     {"zh_CN", "chinese_simplified"},
                                                     {"de", "german"},
                                                     {"ru", "russian"},
                                                     {"en", "german"},
                                                     {"fr", "german"},
                                                     {"cs", "german"}};

std::string unpack(const fs::path &page) {
    FILE *pipe = popen(("gzip -dc '" + page.string() + "'").c_str(), "r");
    if (pipe == nullptr) return {};
    std::string text;
    char block[65536];
    while (const size_t n = fread(block, 1, sizeof block, pipe)) text.append(block, n);
    pclose(pipe);
    return text;
}

// The running text of a manual page: without the lines and escapes that are markup.
std::string without_markup(const std::string &page) {
    std::istringstream lines(page);
    std::string text, line;
    while (std::getline(lines, line)) {
        if (line.empty() || line[0] == '.' || line[0] == '\'') continue;
        for (size_t i = 0; i < line.size(); ++i) {
            if (line[i] != '\\')
                text += line[i];
            else if (i + 1 < line.size() && line[i + 1] == 'f')
                i += 2;
            else
                ++i;
        }
        text += '\n';
    }
    return text;
}

std::string manual_pages(const std::string &language, size_t size) {
    const fs::path folder = language == "en" ? fs::path("/usr/share/man") : fs::path("/usr/share/man") / language;
    std::vector<fs::path> pages;
    std::error_code none;
    for (const char *section : {"man1", "man2", "man3", "man4", "man5", "man7", "man8"})
        for (const auto &entry : fs::directory_iterator(folder / section, none))
            if (entry.path().extension() == ".gz" && !entry.is_symlink()) pages.push_back(entry.path());
    std::sort(pages.begin(), pages.end());
    std::string text;
    for (const fs::path &page : pages) {
        if (text.size() >= size) break;
        text += without_markup(unpack(page));
    }
    return text;
}

// What programs say, by their message catalogues.
std::string messages(const std::string &language) {
    const fs::path folder = fs::path("/usr/share/locale") / language / "LC_MESSAGES";
    std::vector<fs::path> catalogues;
    std::error_code none;
    for (const auto &entry : fs::directory_iterator(folder, none)) catalogues.push_back(entry.path());
    std::sort(catalogues.begin(), catalogues.end());
    std::string text;
    for (const fs::path &path : catalogues) {
        std::ifstream file(path, std::ios::binary);
        const std::string catalogue(std::istreambuf_iterator<char>(file), {});
        const auto number = [&catalogue](size_t at) {
            uint32_t value = 0;
            if (at + sizeof value <= catalogue.size()) memcpy(&value, catalogue.data() + at, sizeof value);
            return size_t{value};
        };
        constexpr size_t MAGIC = 0x950412DE, COUNT = 8, TRANSLATIONS = 16, RECORD = 8;
        for (size_t i = 1; number(0) == MAGIC && i < number(COUNT); ++i) { // the first one is about the catalogue
            const size_t record = number(TRANSLATIONS) + i * RECORD, place = number(record + 4);
            if (place < catalogue.size()) text += catalogue.substr(place, number(record)) + '\n';
        }
    }
    std::replace(text.begin(), text.end(), '\0', '\n');
    return text;
}

} // namespace

std::string text_of(const std::string &language, size_t size) {
    std::string text = manual_pages(language, size);
    constexpr size_t FEW = 128 << 10;
    if (text.size() < FEW) text += messages(language);
    if (text.size() < FEW && EXAMPLES.contains(language)) {
        std::cerr << "few manual pages in " << language << " (package manpages-" << language.substr(0, 2)
                  << "): a short example text is repeated instead, which flatters everybody's branch prediction\n";
        std::ifstream file(fs::path(QBGL_TEXTS) / (EXAMPLES.at(language) + ".txt"));
        text.assign(std::istreambuf_iterator<char>(file), {});
    }
    if (text.empty()) throw std::runtime_error("no text in " + language);
    if (language == "en") std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
    const std::string once = text;
    while (text.size() < size) text += once;
    const size_t end = text.find('\n', size);
    if (end != std::string::npos) text.resize(end + 1);
    return text;
}

std::string converted(const std::string &text, const std::string &from, const std::string &to) {
    const iconv_t cd = iconv_open(to.c_str(), from.c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("the platform's iconv cannot convert " + from + " to " + to);
    std::string result(text.size() * 3, '\0');
    char *in = const_cast<char *>(text.data());
    char *out = result.data();
    size_t inleft = text.size(), outleft = result.size();
    while (inleft > 0 && iconv(cd, &in, &inleft, &out, &outleft) == static_cast<size_t>(-1)) {
        do { // over the character that the target lacks
            ++in;
            --inleft;
        } while (inleft > 0 && (static_cast<unsigned char>(*in) & 0xC0) == 0x80);
    }
    iconv_close(cd);
    result.resize(result.size() - outleft);
    return result;
}

std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    return lines;
}

} // namespace bench
