// A locale object as the library loads it, asked for the order of its texts.
#pragma once

#include <qbgl.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

class OrderLocale {
  public:
    // Throws SystemError for a file that cannot be read, DataError for one that is no sound locale object.
    explicit OrderLocale(const std::filesystem::path &object);

    std::string codeset() const { return handle_->codeset_name[GL_CAT_CTYPE]; }
    const gl_collate_info &rules() const { return handle_->collate; }
    const gl_ranks &ranks() const { return handle_->ranks; }
    // Whether code values alone decide, and whether the rules stand in the tables of rules().
    bool by_code_values() const { return handle_->coll_extras != 0; }
    bool by_tables() const;

    // Every character but NUL, in byte order; the texts of the collating elements, but those that are never met, because one before
    // them in the list begins them; the texts as which characters count in the first pass. Each once.
    std::vector<std::string> characters() const;
    std::vector<std::string> elements() const;
    std::vector<std::string> expansions() const;

    // The bytes of the character at the beginning of a text, 0 when there is none.
    size_t character_length(std::string_view text) const;
    bool is_text(std::string_view text) const;

    // Both take what is_text() accepts, without NUL. A failure is a SystemError.
    int compare(const std::string &a, const std::string &b) const;
    std::string key(const std::string &text) const;

  private:
    std::string encoded(const gl_wchar *chars, int32_t count) const; // empty when a character is none of the codeset's

    std::unique_ptr<gl_locale, void (*)(gl_locale *)> handle_;
};

} // namespace qbgl::compiler
