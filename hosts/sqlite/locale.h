// A locale of the library, for texts as SQLite has them: UTF-8 of any length, or what is none.
#pragma once

#include "qbgl.h"

#include <memory>
#include <string>
#include <string_view>

namespace qbgl_sqlite {

// The name under which a locale is known: "cs_cz" and "cs_CZ.UTF-8" are "cs_CZ.utf8". Throws Error for what is no such name, and
// for another codeset than SQLite's.
std::string locale_name(std::string_view name);

class Locale {
  public:
    // The name as locale_name makes it. Throws Error where the installation does not have it.
    explicit Locale(std::string name);

    const std::string &name() const { return name_; }
    gl_locale *handle() const { return handle_.get(); }
    std::string fingerprint() const { return gl_order_fingerprint(handle_.get()); }

    // As gl_order_compare, which has 0 where there was no memory: std::bad_alloc then.
    int compare(std::string_view a, std::string_view b, int passes) const;
    bool may_fail() const { return may_fail_; }
    std::string key(std::string_view text, int passes) const;

    // Whether a character is a combining mark, which belongs to the one before it.
    bool is_mark(std::string_view character) const;

  private:
    std::string name_; // "cs_CZ.utf8"
    std::unique_ptr<gl_locale, void (*)(gl_locale *)> handle_;
    unsigned marks_ = 0;    // the mask of the class of combining marks
    bool may_fail_ = false; // comparisons ask for memory
};

} // namespace qbgl_sqlite
