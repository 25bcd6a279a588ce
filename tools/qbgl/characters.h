// The characters of a text in a locale's codeset, one after another, wherever blocks of input cut them.
#pragma once

#include "files.h"
#include "qbgl.h"

namespace qbgl {

enum class Sort {
    CHARACTER,
    INVALID,   // no character begins here; the bytes are those that make it plain
    INCOMPLETE // the text ends inside a character
};

// The bytes may be read as far as a character can reach, beyond the text's end.
struct Character {
    Sort sort;
    uint64_t offset; // bytes before it
    std::string_view bytes;
    uint16_t classes; // class mask of a CHARACTER
};

class CharacterReader {
  public:
    CharacterReader(const std::string &file, const gl_locale &locale) : input_(file), table_(locale.ctype.codeset_table) {}

    // Reads on as soon as something is there; false when nothing is left of the text. Throws SystemFailure.
    bool read();
    // The next character of what was read; false when the rest awaits more. Of an INVALID one only the first byte is passed, for
    // the second may begin a character.
    bool next(Character &character);

    // What was read and not passed yet; and passes bytes of it that are known to be whole characters.
    std::string_view rest() const { return rest_; }
    void pass(size_t bytes);

    uint64_t input_size() const { return input_.size(); }
    uint64_t offset() const { return offset_; }

  private:
    InputFile input_;
    const gl_multi *table_;
    static constexpr size_t BLOCK = 64 << 10, LONGEST_CHARACTER = 4;
    std::vector<char> buffer_ = std::vector<char>(BLOCK + LONGEST_CHARACTER);
    std::string_view rest_{buffer_.data(), buffer_.data()};
    uint64_t offset_ = 0;
    bool at_end_ = false;
};

// FILE: offset N, bytes XX XX: what is the matter. To be called for what is no CHARACTER.
std::string complaint(const Character &character, const std::string &file, const std::string &codeset);

} // namespace qbgl
