// The lines that LC_NUMERIC, LC_MONETARY, LC_TIME and LC_MESSAGES are made of in a locale object.
#pragma once

#include "definition/definition.h"
#include "locale/encoder.h"

#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

class CategoryLines {
  public:
    // All must outlive this. `place` is the category's, for what it lacks. What is wrong with a line goes to `errors`, and the line
    // is left out.
    CategoryLines(const Keywords &keywords, const Place &place, const LocaleEncoder &encoder, LocaleErrors &errors)
        : keywords_(keywords), place_(place), encoder_(encoder), errors_(errors) {}

    // A string line; an empty string when the definition is silent.
    std::string text(std::string_view keyword) const;
    std::string constant(std::u32string_view text) const {
        return errors_.collect([&] { return encoder_.line(text, place_); });
    }
    // A string line for each text, of which there must be some.
    std::string texts(std::string_view keyword) const;
    // The number of texts on a line, and a string line for each. A single empty text counts as none.
    std::string list(std::string_view keyword) const;
    std::string list(const std::vector<std::u32string> &texts, const Place &place) const;
    // The number of group sizes, and the sizes.
    std::string grouping(std::string_view keyword) const;
    // A text of money or numbers, which the conversion record of a host must have room for.
    std::string short_text(std::string_view keyword) const;
    // A line with a number that fits a signed byte, NOT_AVAILABLE when the definition is silent or says -1.
    std::string number(std::string_view keyword) const;

    // An item of the object's further text, as the library's setlc/more.h has it: texts, or numbers; nothing when the definition is
    // silent.
    std::string more_texts(std::string_view item, std::string_view keyword) const;
    std::string more_numbers(std::string_view item, std::string_view keyword) const;

    const Keyword *find(std::string_view keyword) const;
    LocaleErrors &errors() const { return errors_; }

  private:
    const Keywords &keywords_;
    const Place &place_;
    const LocaleEncoder &encoder_;
    LocaleErrors &errors_;
};

std::string numeric_section(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors);
std::string monetary_section(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors);
std::string more_of_money(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors);
std::string messages_section(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors);

} // namespace qbgl::compiler
