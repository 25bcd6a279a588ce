#include "recipe/lines.h"

#include "system/file.h"

#include <fmt/format.h>

#include <charconv>
#include <sstream>

namespace qbgl::compiler {

std::string RecipeLine::place() const { return fmt::format("{}:{}", file, line); }

DataError RecipeLine::error(std::string_view what) const { return DataError(fmt::format("{}: {}", place(), what)); }

unsigned RecipeLine::number(size_t word, int base, unsigned limit) const {
    if (word >= words.size()) throw error("number expected");
    const std::string &text = words[word];
    unsigned value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (failure != std::errc() || end != text.data() + text.size() || value > limit)
        throw error(fmt::format("{}: not a number up to {}", excerpt(text), limit));
    return value;
}

std::vector<RecipeLine> parse_recipe(std::string_view text, const std::string &file) {
    refuse_byte_order_mark(text, file);
    std::vector<RecipeLine> result;
    std::istringstream stream{std::string(text)};
    std::string line;
    for (unsigned number = 1; std::getline(stream, line); ++number) {
        RecipeLine item{file, number, {}};
        std::istringstream words(line);
        for (std::string word; words >> word && word[0] != '#';) item.words.push_back(word);
        if (!item.words.empty()) result.push_back(std::move(item));
    }
    return result;
}

std::vector<RecipeLine> read_recipe(const std::filesystem::path &path) { return parse_recipe(read_file(path), path.string()); }

} // namespace qbgl::compiler
