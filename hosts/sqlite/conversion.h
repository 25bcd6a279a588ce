// Text from one codeset to another.
#pragma once

#include "statement.h"

#include "qbgl.h"

#include <memory>
#include <string_view>
#include <vector>

namespace qbgl_sqlite {

class Converters {
  public:
    struct Result {
        std::string text;
        bool is_utf8;
    };
    // Throws Error with the offset and the bytes of what cannot be converted: what the target has an approximation of only cannot.
    Result convert(std::string_view text, std::string_view from, std::string_view to);

  private:
    struct Converter {
        std::string from, to;
        bool to_utf8;
        std::unique_ptr<gl_cv, int (*)(gl_cv *)> descriptor; // null where both are one codeset
    };
    const Converter &converter(const std::string &from, const std::string &to);

    std::vector<Converter> converters_; // opening one costs what converting a page does
};

// The name of a codeset, as the library takes it. Throws Error for what is no such name.
std::string codeset_name(std::string_view name);

} // namespace qbgl_sqlite
