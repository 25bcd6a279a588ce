#include "recipe/catalogue.h"

#include "charmap/sequence.h"
#include "recipe/lines.h"
#include "system/file.h"
#include "unicode/form.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <set>

namespace qbgl::compiler {

namespace {

constexpr size_t LONGEST_NAME = 21; // what a lookup compares

constexpr std::array<std::pair<std::string_view, CodesetSource::Kind>, 7> KINDS{{
    {"charmap", CodesetSource::Kind::CHARMAP},
    {"charmap-iconv", CodesetSource::Kind::CHARMAP_ICONV},
    {"iconv", CodesetSource::Kind::ICONV},
    {"iconv-single", CodesetSource::Kind::ICONV_SINGLE},
    {"iconv-double", CodesetSource::Kind::ICONV_DOUBLE},
    {"unicode", CodesetSource::Kind::UNICODE},
    {"none", CodesetSource::Kind::NONE},
}};

void check_name(const RecipeLine &line, const std::string &name) {
    if (name.size() > LONGEST_NAME) throw line.error(fmt::format("{}: longer than {} characters", name, LONGEST_NAME));
    // The registry reads names in lower case; "/" and "." cannot stand in the name of an object file or in a locale specification.
    for (const char c : name)
        if (!std::isgraph(static_cast<unsigned char>(c)) || std::isupper(static_cast<unsigned char>(c)) || c == '/' || c == '.')
            throw line.error(name + ": not a codeset name");
}

std::string joined(const std::vector<std::string> &words, size_t from) {
    return fmt::format("{}",
                       fmt::join(words.begin() + static_cast<std::ptrdiff_t>(std::min(from, words.size())), words.end(), " "));
}

// NAME NUMBER ICONV KIND ARGUMENT, or NAME NUMBER - none REASON
Catalogue::Codeset parse_codeset(const RecipeLine &line, uint16_t number) {
    const auto &words = line.words;
    if (words.size() < 5) throw line.error("NAME NUMBER ICONV-NAME SOURCE ARGUMENT expected");
    const auto kind = std::find_if(KINDS.begin(), KINDS.end(), [&](const auto &item) { return item.first == words[3]; });
    if (kind == KINDS.end()) throw line.error(words[3] + ": unknown kind of source");
    Catalogue::Codeset codeset{words[0], number, words[2] == "-" ? "" : words[2], {kind->second, words[4], CODE_LIMIT}, {}};
    if (!codeset.available()) {
        codeset.source.argument.clear();
        codeset.reason = joined(words, 4);
    } else if (words.size() == 7 && words[5] == "below" && kind->second == CodesetSource::Kind::CHARMAP) {
        codeset.source.below = line.number(6, 16, CODE_LIMIT);
    } else if (words.size() != 5) {
        throw line.error(words[5] + ": not understood");
    }
    if (kind->second == CodesetSource::Kind::CHARMAP_ICONV && codeset.iconv.empty()) throw line.error("needs a name for iconv");
    return codeset;
}

} // namespace

std::string CodesetSource::text() const {
    const auto item = std::find_if(KINDS.begin(), KINDS.end(), [&](const auto &candidate) { return candidate.second == kind; });
    std::string result(item->first);
    if (!argument.empty()) result += ' ' + argument;
    if (below != CODE_LIMIT) result += fmt::format(" below {:X}", below);
    return result;
}

Catalogue Catalogue::parse(std::string_view text, const std::string &file) {
    Catalogue result;
    std::map<uint16_t, size_t> by_number;
    std::map<std::string, uint16_t> by_name;
    for_each_line(parse_recipe(text, file), [&](const RecipeLine &line) {
        const std::string &name = line.words[0];
        check_name(line, name);
        const auto number = static_cast<uint16_t>(line.number(1, 10, 0xFFFF));
        if (number == GL_NO_CODESET) throw line.error("this number means that there is no codeset");
        if (const auto [place, is_new] = by_name.emplace(name, number); !is_new && place->second != number)
            throw line.error(name + ": has another number above");
        const bool known = by_number.contains(number);
        const bool same = line.words.size() == 3 && line.words[2] == "same";
        if (same && !known) throw line.error("no codeset of this number stands above");
        if (!same && known) throw line.error("this number has its source above: say \"same\"");
        if (!known) {
            by_number[number] = result.codesets_.size();
            result.codesets_.push_back(parse_codeset(line, number));
        }
        result.names_.push_back({name, number, by_number[number]});
    });
    if (result.names_.empty()) throw DataError(file + ": no codesets");
    return result;
}

Catalogue Catalogue::load(const std::filesystem::path &directory) {
    const std::filesystem::path path = directory / "codesets";
    return parse(read_file(path), path.string());
}

std::optional<size_t> Catalogue::find(std::string_view name) const {
    for (const Name &candidate : names_)
        if (candidate.name == name) return candidate.codeset;
    for (size_t i = 0; i < codesets_.size(); ++i)
        if (std::to_string(codesets_[i].number) == name) return i;
    return std::nullopt;
}

std::vector<Catalogue::Pair> Catalogue::parse_conversions(std::string_view text, const std::string &file) const {
    std::set<std::pair<std::pair<uint16_t, uint16_t>, Pair>> pairs;
    const auto add = [&](size_t a, size_t b) {
        if (a != b) pairs.insert({{codesets_[a].number, codesets_[b].number}, {a, b}});
    };
    // The library converts between the forms of Unicode by itself. Two-byte units lack characters, for which there are
    // approximations: those need an object.
    const auto is_algorithm = [&](size_t source, size_t target) {
        const UnicodeForm from = unicode_form(codesets_[source].number), to = unicode_form(codesets_[target].number);
        return from != UnicodeForm::NONE && to != UnicodeForm::NONE && to != UnicodeForm::UCS2LE;
    };
    for_each_line(parse_recipe(text, file), [&](const RecipeLine &line) {
        const auto codeset = [&](const std::string &name) {
            const auto index = find(name);
            if (!index) throw line.error(name + ": unknown codeset");
            if (!codesets_[*index].available()) throw line.error(name + ": has no source");
            return *index;
        };
        if (line.words.size() < 2) throw line.error("one codeset, and those that it converts to and from, expected");
        const size_t first = codeset(line.words[0]);
        for (size_t i = 1; i < line.words.size(); ++i) {
            if (line.words[i] != "*") {
                const size_t other = codeset(line.words[i]);
                add(first, other);
                add(other, first);
                continue;
            }
            for (size_t other = 0; other < codesets_.size(); ++other) {
                if (!codesets_[other].available()) continue;
                if (!is_algorithm(first, other)) add(first, other);
                if (!is_algorithm(other, first)) add(other, first);
            }
        }
    });
    std::vector<Pair> result;
    result.reserve(pairs.size());
    for (const auto &item : pairs) result.push_back(item.second);
    return result;
}

std::string Catalogue::registry() const {
    std::string text = "# Codeset names and numbers. Of several lines with one name, the first counts.\n";
    for (const Name &name : names_) text += fmt::format("{} {}\n", name.name, name.number);
    return text;
}

} // namespace qbgl::compiler
