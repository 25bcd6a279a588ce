#include "tree/codesets.h"

#include "common/nearest.h"
#include "tree/directories.h"
#include "tree/registry.h"

#include "qbgl.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr const char *PIVOT = "utf8";

struct Name {
    std::string_view folded, registered;
};

// Names in use elsewhere that no spelling of a registered one gives.
constexpr Name ALIASES[] = {
    {"l1", "8859-1"},         {"l2", "8859-2"},
    {"l3", "8859-3"},         {"l4", "8859-4"},
    {"l5", "8859-9"},         {"l6", "8859-10"},
    {"l7", "8859-13"},        {"l8", "8859-14"},
    {"l9", "8859-15"},        {"l10", "8859-16"},
    {"cyrillic", "8859-5"},   {"arabic", "8859-6"},
    {"ecma118", "8859-7"},    {"hebrew", "8859-8"},
    {"iso885911", "8859-11"}, {"646", "ascii"},
    {"us", "ascii"},          {"ansix341968", "ascii"},
    {"iso646us", "ascii"},    {"mac", "macintosh"},
    {"macce", "1282"},        {"maccentraleurope", "1282"},
    {"xsjis", "sjis"},        {"csshiftjis", "sjis"},
    {"mskanji", "sjis"},      {"ucs2", "unicode"},
    {"ucs4", "ucs4"},         {"utf32", "ucs4"},
    {"cp1200", "unicode"},    {"cp1208", "utf8"},
    {"cp65001", "utf8"},      {"cp20866", "koi8-r"},
    {"cp21866", "koi8-u"},    {"cp51932", "eucjp"},
    {"cp51949", "euc-kr"},    {"cp54936", "gb18030"},
    {"cp28591", "8859-1"},    {"cp28592", "8859-2"},
    {"cp28605", "8859-15"},
};

// Codesets that are well known elsewhere, and what comes nearest to them here.
constexpr Name ELSEWHERE[] = {
    {"utf16", "utf-16le, or utf-16be"},
    {"ucs2be", "unicode, which is UCS-2 with the low byte first"},
    {"utf7", "utf8"},
    {"cesu8", "utf8"},
    {"iso2022jp", "eucjp, which has the same characters"},
    {"iso2022kr", "euc-kr, which has the same characters"},
    {"iso2022cn", "gb, which has the same characters"},
    {"hz", "gb, which has the same characters"},
    {"tcvn", "viscii"},
};

uint16_t known_number(const std::string &name) { return gl_lc_spec2cs_num(nullptr, name.c_str(), nullptr); }

// The number in IBM-1047, cp437, ccsid930 and the like.
std::string number_in(std::string_view name) {
    for (const std::string_view prefix : {"cp", "ibm", "ccsid", "csid", "windows"}) {
        if (name.starts_with(prefix) && name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos)
            return std::string(name.substr(prefix.size()));
    }
    return "";
}

std::string registered(const std::string &name, const Registry &registry) {
    const std::string wanted = folded_name(name);
    for (const std::string &known : registry.names) {
        if (folded_name(known) == wanted) return known;
    }
    for (const Name &alias : ALIASES) {
        if (alias.folded == wanted) return std::string(alias.registered);
    }
    uint16_t number = 0;
    const std::string digits = number_in(wanted);
    const bool read = std::from_chars(digits.data(), digits.data() + digits.size(), number).ec == std::errc();
    return read && registry.by_number.contains(number) ? registry.by_number.at(number).front() : "";
}

// The names of the three codesets that were most likely meant.
std::vector<std::string> likely_codesets(const std::string &name, const Registry &registry) {
    std::vector<std::string> result;
    std::set<uint16_t> numbers;
    for (const std::string &near : by_nearness(name, registry.names)) {
        if (result.size() == 3) break;
        if (numbers.insert(gl_cs_name2cs_num(nullptr, near.c_str(), nullptr)).second) result.push_back(near);
    }
    return result;
}

// The codeset numbers of SSSSTTTT.cvo.
bool parse_object_name(const std::string &name, uint16_t &source, uint16_t &target) {
    constexpr size_t DIGITS = 8;
    if (name.size() != DIGITS + 4 || !name.ends_with(".cvo")) return false;
    if (name.find_first_not_of("0123456789abcdef") != DIGITS) return false;
    const unsigned long both = std::stoul(name.substr(0, DIGITS), nullptr, 16);
    source = static_cast<uint16_t>(both >> 16);
    target = static_cast<uint16_t>(both);
    return true;
}

} // namespace

std::string folded_name(std::string_view name) {
    std::string result;
    for (const char c : name) {
        if (std::string_view("-_.: ").find(c) == std::string_view::npos)
            result += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    }
    return result;
}

std::string registered_name(const std::string &name) {
    if (known_number(name) != GL_NO_CODESET) return name;
    const Registry registry = read_registry();
    if (std::string result = registered(name, registry); !result.empty()) return result;
    // The codeset of a locale is what stands between the point and the modifier.
    const size_t point = name.find('.');
    if (point == std::string::npos) return name;
    const size_t end = std::min(name.find('@', point), name.size());
    const std::string codeset = registered(name.substr(point + 1, end - point - 1), registry);
    return codeset.empty() ? name : name.substr(0, point + 1) + codeset + name.substr(end);
}

uint16_t codeset_number(const std::string &name) {
    if (const uint16_t number = known_number(registered_name(name)); number != GL_NO_CODESET) return number;
    const Registry registry = read_registry();
    const std::vector<std::string> likely = likely_codesets(name, registry);
    const auto *const elsewhere = std::find_if(std::begin(ELSEWHERE), std::end(ELSEWHERE),
                                               [wanted = folded_name(name)](const Name &one) { return one.folded == wanted; });
    Failure failure{ExitStatus::CALL, "", JsonObject().text("codeset", name).raw("nearest", json_strings(likely))};
    const std::string shown = printable(name);
    if (likely.empty()) {
        failure.sentence = fmt::format("unknown codeset {}: there is no codeset registry in {}: set QUORBANEDIR", shown,
                                       printable(tree_directory()));
    } else if (const size_t suffix = name.find("//");
               suffix != std::string::npos && !registered(name.substr(0, suffix), registry).empty()) {
        failure.sentence =
            fmt::format("unknown codeset {}: what stands behind // elsewhere are options here: -c leaves out what cannot "
                        "be converted, similar characters are taken unless --strict refuses them",
                        shown);
    } else if (elsewhere != std::end(ELSEWHERE)) {
        failure.sentence = fmt::format("this installation has no {}; the nearest is {}", shown, elsewhere->registered);
    } else {
        failure.sentence =
            fmt::format("unknown codeset {}: the nearest are {}; `qbgl conv -l` lists all", shown, fmt::join(likely, ", "));
    }
    throw failure;
}

ConversionNumbers installed_conversions() {
    ConversionNumbers result;
    for (const std::string &directory : conversion_directories()) {
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator(directory, error)) {
            uint16_t source = 0, target = 0;
            if (parse_object_name(entry.path().filename().string(), source, target)) result.emplace(source, target);
        }
    }
    return result;
}

bool is_convertible(uint16_t codeset, const ConversionNumbers &conversions) {
    if (std::any_of(conversions.begin(), conversions.end(),
                    [codeset](const auto &pair) { return pair.first == codeset || pair.second == codeset; }))
        return true;
    gl_cv *cd = nullptr; // the library has codesets that need no object
    const bool opened = gl_cv_load(&cd, PIVOT, std::to_string(codeset).c_str(), nullptr, nullptr) >= 0;
    gl_cv_unload(cd);
    return opened;
}

} // namespace qbgl
