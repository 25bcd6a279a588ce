#include "definition/source.h"

#include "system/file.h"

#include <fmt/format.h>

#include <algorithm>

namespace qbgl::compiler {

namespace {

constexpr std::string_view BLANKS = " \t\r";

constexpr std::array<std::string_view, 12> CATEGORIES = {"LC_CTYPE",   "LC_COLLATE",   "LC_NUMERIC",     "LC_MONETARY",
                                                         "LC_TIME",    "LC_MESSAGES",  "LC_PAPER",       "LC_NAME",
                                                         "LC_ADDRESS", "LC_TELEPHONE", "LC_MEASUREMENT", "LC_IDENTIFICATION"};

bool is_category(std::string_view word) { return std::find(CATEGORIES.begin(), CATEGORIES.end(), word) != CATEGORIES.end(); }

class Splitter {
  public:
    explicit Splitter(DefinitionSource &source) : source_(source), text_(*source.text) {}

    void split() {
        while (next_line()) {
            const std::string_view word = take_word(line_);
            if (word.empty() || word[0] == comment_char_) continue;
            if (word == "comment_char")
                comment_char_ = character();
            else if (word == "escape_char")
                escape_char_ = character();
            else if (is_category(word))
                read_category(word);
            else
                fail(fmt::format("{}: unknown outside a category", excerpt(word)));
        }
    }

  private:
    // At the word that was taken last.
    [[noreturn]] void fail(std::string_view what) const { throw place().error(what); }
    Place place() const {
        const std::string_view before = text_.substr(line_start_, static_cast<size_t>(word_ - text_.data()) - line_start_);
        const auto is_first = [](char c) { return (static_cast<uint8_t>(c) & 0xC0) != 0x80; };
        return {source_.file, line_number_, static_cast<unsigned>(1 + std::count_if(before.begin(), before.end(), is_first))};
    }

    std::string_view take_word(std::string_view &line) {
        line.remove_prefix(std::min(line.find_first_not_of(BLANKS), line.size()));
        word_ = line.data();
        const std::string_view word = line.substr(0, line.find_first_of(BLANKS));
        line.remove_prefix(word.size());
        return word;
    }

    bool next_line() {
        if (position_ >= text_.size()) return false;
        line_start_ = position_;
        const size_t end = std::min(text_.find('\n', position_), text_.size());
        line_ = text_.substr(position_, end - position_);
        position_ = end + 1;
        ++line_number_;
        return true;
    }
    char character() {
        const std::string_view word = take_word(line_);
        if (word.size() != 1 || static_cast<unsigned char>(word[0]) >= 0x80) fail("single ASCII character expected");
        expect_end_of_line();
        return word[0];
    }
    void expect_end_of_line() {
        const std::string_view word = take_word(line_);
        if (!word.empty() && word[0] != comment_char_) fail(fmt::format("{}: end of line expected", excerpt(word)));
    }

    void read_category(std::string_view name) {
        const Place begin = place();
        expect_end_of_line();
        if (comment_char_ == escape_char_) throw begin.error(fmt::format("{} begins comments and escapes", comment_char_));
        const size_t start = position_;
        while (next_line()) {
            const std::string_view word = take_word(line_), operand = take_word(line_);
            if (is_category(word)) break;
            if (word != "END" || !is_category(operand)) continue;
            if (operand != name) fail(fmt::format("END {} in {}", operand, name));
            expect_end_of_line();
            const DefinitionSource::Category category{text_.substr(start, line_start_ - start), begin.line, comment_char_,
                                                      escape_char_};
            if (!source_.categories.emplace(name, category).second) throw begin.error(fmt::format("{}: stands twice", name));
            return;
        }
        throw begin.error(fmt::format("{} is not closed by END {}", name, name));
    }

    DefinitionSource &source_;
    std::string_view text_, line_;
    size_t position_ = 0, line_start_ = 0;
    const char *word_ = nullptr;
    unsigned line_number_ = 0;
    char comment_char_ = '#', escape_char_ = '\\';
};

} // namespace

const DefinitionSource::Category &DefinitionSource::category(std::string_view name) const {
    const auto found = categories.find(name);
    if (found == categories.end()) throw DataError(fmt::format("{}: no {}", *file, name));
    return found->second;
}

DefinitionSourcePtr load_definition(const std::filesystem::path &path) {
    auto source = std::make_shared<DefinitionSource>();
    source->file = std::make_shared<const std::string>(path.string());
    source->text = std::make_shared<const std::string>(read_file(path));
    refuse_byte_order_mark(*source->text, *source->file);
    Splitter(*source).split();
    return source;
}

} // namespace qbgl::compiler
