#include "sort/fields.h"

#include "frame/files.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

namespace qbgl {

namespace {

class Parser {
  public:
    explicit Parser(const std::string &text) : whole_(text), rest_(text) {}

    // FIELD[.CHARACTER][OPTIONS]; the numbers as written, 0 for no character.
    FieldPlace place() {
        FieldPlace result;
        result.field = number("a field");
        if (result.field == 0) fail("fields are counted from 1");
        if (take('.')) {
            result.character = number("a character");
            counted_ = true;
        }
        for (;; options_ = true) {
            if (take('b'))
                result.skip_blanks = true;
            else if (take('r'))
                chosen_.reverse = true;
            else if (take('f'))
                chosen_.fold = true;
            else if (take('n'))
                choose(PartOrder::NUMBERS);
            else if (take('h'))
                choose(PartOrder::SIZES);
            else if (take('V'))
                choose(PartOrder::VERSIONS);
            else
                return result;
        }
    }

    bool take(char c) {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool at_end() const { return rest_.empty(); }
    bool options() const { return options_; }
    const SortPart &chosen() const { return chosen_; }
    bool counted() const { return counted_; } // a character was named

    [[noreturn]] void fail(std::string_view reason) const {
        throw Failure{
            ExitStatus::CALL,
            fmt::format("-k {}: {}; it is FIELD[.CHARACTER][bfhnrV][,FIELD[.CHARACTER][bfhnrV]]", printable(whole_), reason),
            JsonObject().text("key", whole_)};
    }

  private:
    void choose(PartOrder order) {
        if (chosen_.order != PartOrder::TEXT && chosen_.order != order) fail("n, h and V exclude each other");
        chosen_.order = order;
    }

    size_t number(std::string_view what) {
        size_t value = 0;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
        if (error == std::errc::invalid_argument) fail(fmt::format("{} is missing", what));
        if (error == std::errc::result_out_of_range) value = static_cast<size_t>(-1);
        rest_.remove_prefix(static_cast<size_t>(end - rest_.data()));
        return value;
    }

    std::string whole_;
    std::string_view rest_;
    SortPart chosen_; // by the options
    bool options_ = false, counted_ = false;
};

} // namespace

SortPart sort_part(const std::string &text, const SortPart &common) {
    Parser parser(text);
    SortPart part;
    part.begin = parser.place();
    if (parser.counted() && part.begin.character == 0) parser.fail("characters are counted from 1");
    if (parser.take(',')) part.end = parser.place();
    if (!parser.at_end()) parser.fail("there is more than that");
    --part.begin.field;
    part.begin.character -= part.begin.character > 0 ? 1 : 0;
    if (part.end && part.end->character > 0) --part.end->field;
    const SortPart &chosen = parser.options() ? parser.chosen() : common;
    part.reverse = chosen.reverse;
    part.fold = chosen.fold;
    part.order = chosen.order;
    if (!parser.options()) {
        part.begin.skip_blanks = common.begin.skip_blanks;
        if (part.end) part.end->skip_blanks = common.begin.skip_blanks;
    }
    return part;
}

size_t FieldCutter::length_at(std::string_view line, size_t at, bool &blank) const {
    int length = 1;
    const auto limit = static_cast<int>(std::min<size_t>(line.size() - at, 4));
    const auto *classes = static_cast<const uint16_t *>(
        _gl_retrieve_text_multi_limit(line.data() + at, locale_.ctype.codeset_table, limit, &length, nullptr));
    blank = classes != nullptr && (*classes & GL_CLASS_BLANK) != 0;
    return std::clamp<size_t>(static_cast<size_t>(length), 1, line.size() - at);
}

// Behind the run of blanks, or of other characters, at a place.
size_t FieldCutter::pass(std::string_view line, size_t at, bool blanks) const {
    while (at < line.size()) {
        bool blank = false;
        const size_t length = length_at(line, at, blank);
        if (blank != blanks) break;
        at += length;
    }
    return at;
}

// Behind so many fields, and behind the separator of the last one unless the place is to be at it.
size_t FieldCutter::field_begin(std::string_view line, size_t fields, bool at_separator) const {
    size_t at = 0;
    while (fields > 0 && at < line.size()) {
        --fields;
        if (separator_.empty()) {
            at = pass(line, pass(line, at, true), false);
            continue;
        }
        bool blank = false;
        while (at < line.size() && line.substr(at, separator_.size()) != separator_) at += length_at(line, at, blank);
        if (at < line.size() && (fields > 0 || !at_separator)) at += separator_.size();
    }
    return at;
}

size_t FieldCutter::pass_characters(std::string_view line, size_t at, size_t count) const {
    bool blank = false;
    for (; count > 0 && at < line.size(); --count) at += length_at(line, at, blank);
    return at;
}

std::string_view FieldCutter::cut(std::string_view line, const SortPart &part) const {
    if (part.begin.field == 0 && part.begin.character == 0 && !part.begin.skip_blanks && !part.end) return line;
    const auto place = [&](const FieldPlace &where, bool at_separator) {
        size_t at = field_begin(line, where.field, at_separator);
        if (at_separator) return at;
        if (where.skip_blanks) at = pass(line, at, true);
        return pass_characters(line, at, where.character);
    };
    const size_t begin = place(part.begin, false);
    const size_t end = part.end ? place(*part.end, part.end->character == 0) : line.size();
    return line.substr(begin, std::max(end, begin) - begin);
}

} // namespace qbgl
