// Whether a text is one of the locale's codeset, and where it is not.
#pragma once

#include "frame/files.h"
#include "text/lines.h"

namespace qbgl {

class TextCheck {
  public:
    // What the command offers for lines with NUL characters, if anything.
    explicit TextCheck(gl_locale &locale, std::string nul_remedy = "");

    // Throws what is the matter with a line of a file: bytes that are no character, or a NUL character within.
    void operator()(const Line &line, const std::string &file);
    // Throws when a line is too long for a key.
    static void check_length(const Line &line, const std::string &file);

    // Neither of them is in it, and it is not too long for a key.
    bool is_sound(std::string_view text);

  private:
    static constexpr size_t LONG = 1 << 20;

    bool is_sound_by_characters(std::string_view text) const;
    bool is_character(std::string_view text, int &length, bool &cut) const;
    Failure failure(const Line &line, const std::string &file) const;

    gl_locale &locale_;
    std::string nul_remedy_;
    bool known_[256] = {};         // the bytes that are characters of a single-byte codeset
    bool only_nul_is_bad_ = false; // and all of them are
    bool is_ascii_ = true;         // of another: the bytes of ASCII are characters
    std::vector<gl_wchar> wide_;
};

} // namespace qbgl
