#include "definition/definition.h"

#include <algorithm>
#include <array>

namespace qbgl::compiler {

namespace {

struct Name {
    std::string_view name;
    char32_t code;
};

constexpr std::array NAMES = std::to_array<Name>({
    {"NUL", 0},
    {"alert", 7},
    {"BEL", 7},
    {"backspace", 8},
    {"BS", 8},
    {"tab", 9},
    {"HT", 9},
    {"newline", 10},
    {"LF", 10},
    {"vertical-tab", 11},
    {"VT", 11},
    {"form-feed", 12},
    {"FF", 12},
    {"carriage-return", 13},
    {"CR", 13},
    {"SOH", 1},
    {"STX", 2},
    {"ETX", 3},
    {"EOT", 4},
    {"ENQ", 5},
    {"ACK", 6},
    {"SO", 14},
    {"SI", 15},
    {"DLE", 16},
    {"DC1", 17},
    {"DC2", 18},
    {"DC3", 19},
    {"DC4", 20},
    {"NAK", 21},
    {"SYN", 22},
    {"ETB", 23},
    {"CAN", 24},
    {"EM", 25},
    {"SUB", 26},
    {"ESC", 27},
    {"IS4", 28},
    {"IS3", 29},
    {"IS2", 30},
    {"IS1", 31},
    {"DEL", 127},
    {"space", ' '},
    {"exclamation-mark", '!'},
    {"quotation-mark", '"'},
    {"number-sign", '#'},
    {"dollar-sign", '$'},
    {"percent-sign", '%'},
    {"ampersand", '&'},
    {"apostrophe", '\''},
    {"left-parenthesis", '('},
    {"right-parenthesis", ')'},
    {"asterisk", '*'},
    {"plus-sign", '+'},
    {"comma", ','},
    {"hyphen", '-'},
    {"hyphen-minus", '-'},
    {"period", '.'},
    {"full-stop", '.'},
    {"slash", '/'},
    {"solidus", '/'},
    {"zero", '0'},
    {"one", '1'},
    {"two", '2'},
    {"three", '3'},
    {"four", '4'},
    {"five", '5'},
    {"six", '6'},
    {"seven", '7'},
    {"eight", '8'},
    {"nine", '9'},
    {"colon", ':'},
    {"semicolon", ';'},
    {"less-than-sign", '<'},
    {"equals-sign", '='},
    {"greater-than-sign", '>'},
    {"question-mark", '?'},
    {"commercial-at", '@'},
    {"left-square-bracket", '['},
    {"backslash", '\\'},
    {"reverse-solidus", '\\'},
    {"right-square-bracket", ']'},
    {"circumflex", '^'},
    {"circumflex-accent", '^'},
    {"underscore", '_'},
    {"low-line", '_'},
    {"grave-accent", '`'},
    {"left-brace", '{'},
    {"left-curly-bracket", '{'},
    {"vertical-line", '|'},
    {"right-brace", '}'},
    {"right-curly-bracket", '}'},
    {"tilde", '~'},
});

} // namespace

std::optional<char32_t> portable_character(std::string_view name) {
    if (name.size() == 1 && ((name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z')))
        return static_cast<char32_t>(name[0]);
    const auto *found = std::find_if(NAMES.begin(), NAMES.end(), [&](const Name &entry) { return entry.name == name; });
    if (found == NAMES.end()) return std::nullopt;
    return found->code;
}

std::vector<std::pair<std::string, char32_t>> portable_names() {
    std::vector<std::pair<std::string, char32_t>> result;
    result.reserve(NAMES.size() + size_t{2} * 26);
    for (const Name &entry : NAMES) result.emplace_back(entry.name, entry.code);
    for (const char first : {'A', 'a'})
        for (int i = 0; i < 26; ++i) {
            const auto letter = static_cast<char>(first + i);
            result.emplace_back(std::string(1, letter), static_cast<char32_t>(letter));
        }
    return result;
}

} // namespace qbgl::compiler
