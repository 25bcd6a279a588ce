// The platform's iconv program as a witness: what it reads and writes, asked for many characters at once.
#pragma once

#include "charmap/sequence.h"
#include "recipe/catalogue.h"

#include <string>
#include <string_view>
#include <vector>

namespace qbgl_test {

using qbgl::compiler::Catalogue;
using qbgl::compiler::Sequence;

// A codeset, under iconv's name for it.
class Reference {
  public:
    explicit Reference(const Catalogue::Codeset &codeset);
    static const Reference &utf32();

    bool has_shifts() const { return shifts_; } // iconv's codeset
    bool stateful() const { return shifts_ && part_ == Part::all; }
    bool doubles_only() const { return part_ == Part::doubles; }
    size_t unit() const { return line_end_.size(); } // bytes of the shortest character

    // What iconv writes for each character, empty where it cannot convert it. Throws std::runtime_error when it fails or its
    // answers cannot be told apart.
    std::vector<std::string> ask(const Reference &target, const std::vector<std::string> &characters) const;
    // Whether iconv reads them all without complaint.
    bool accepts(const std::vector<std::string> &characters) const;

  private:
    enum class Part { all, singles, doubles };
    explicit Reference(std::string name);
    // A line for each character: a zero, the character, and several ends of line, some of which iconv may leave out together with
    // what it cannot convert. Neither shift states nor combining marks reach from one line to the next.
    std::string question(const std::vector<std::string> &characters) const;
    // A character of iconv's codeset as one of ours: empty when it stands in the wrong state.
    std::string_view own(std::string_view character) const;

    std::string name_, zero_, line_end_;
    Part part_ = Part::all;
    bool shifts_ = false;
};

// One code, or more where a character reads as several, in UTF-32LE.
std::u32string codes_of(std::string_view utf32);
std::string utf32_of(char32_t code);

} // namespace qbgl_test
