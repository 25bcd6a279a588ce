// Dates and amounts as texts in the manner of a language, and back.
#pragma once

#include "locale.h"
#include "statement.h"

#include <optional>

namespace qbgl_sqlite {

// Times as SQLite's own date functions read them: it is they who do it, in a database of their own, where no hook of the host's
// sees them.
class Clock {
  public:
    Clock() : db_(nullptr, sqlite3_close) {}

    // The seconds since the beginning of 1970, in ASCII; empty for a value that is no time.
    std::string seconds(const sqlite3_value *time);

  private:
    void open();

    std::unique_ptr<sqlite3, int (*)(sqlite3 *)> db_;
    std::optional<Statement> seconds_;
};

// All throw Error for a format that there is not, and for a value or text that does not have it to its end; std::length_error where
// the result is longer than any date or amount.
std::string write_time(const Locale &locale, const std::string &format, const std::string &seconds);
// "2024-12-24 18:00:00", in UTC. What the text does not tell is that of the beginning of 2000, as SQLite has it.
std::string read_time(const Locale &locale, const std::string &text, const std::string &format);
// A decimal in ASCII: a sign, digits, a point, digits.
std::string write_money(const Locale &locale, const std::string &decimal, const std::string &format);
std::string read_money(const Locale &locale, const std::string &text);

// A decimal that SQLite has made of a REAL, without its exponent.
std::string without_exponent(std::string_view number);

} // namespace qbgl_sqlite
