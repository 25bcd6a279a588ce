// The characters of a text in a locale's codeset, one after another, wherever blocks of input cut them.
#pragma once

#include "frame/blocks.h"
#include "frame/finding.h"
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
    Place place;
    std::string_view bytes;
    uint16_t classes; // class mask of a CHARACTER
};

class CharacterReader {
  public:
    CharacterReader(const std::string &file, const gl_locale &locale, const Messages &messages, const OutputFile &output);

    // Reads on as soon as something is there; false when nothing is left of the text. Throws Failure.
    bool read();
    // The next character of what was read; false when the rest awaits more. Of an INVALID one only the first byte is passed, for
    // the second may begin a character.
    bool next(Character &character);

    // What was read and not passed yet; and passes bytes of it that are known to be whole characters.
    std::string_view rest() const { return rest_; }
    void pass(size_t bytes);

    // What is the matter. To be called for what is no CHARACTER.
    Finding finding(const Character &character) const;
    Progress &progress() { return blocks_.progress(); }

  private:
    size_t length_at(std::string_view text) const;
    void pass_one(size_t bytes);

    static constexpr size_t LONGEST_CHARACTER = 4;
    std::string file_, codeset_, line_end_;
    Blocks blocks_;
    const gl_multi *table_;
    std::string_view rest_;
    Place place_;
};

} // namespace qbgl
