// Line ends of converted text, which become those of another system.
#pragma once

#include <string>
#include <string_view>

namespace qbgl {

enum class Newline { AS_IT_IS, LF, CRLF };

class NewlineFilter {
  public:
    // Of a text in a codeset that the installation converts to. Throws Failure.
    NewlineFilter(Newline wanted, const std::string &codeset);

    // The next piece of the text, which ends with a character; valid until the next call.
    std::string_view filter(std::string_view text);
    // What is still to come behind the last piece.
    std::string_view end();

  private:
    Newline wanted_;
    std::string return_, feed_, result_;
    bool after_return_ = false;
};

} // namespace qbgl
