// A format of dates under a locale: texts are UTF-8 whatever the locale's codeset is.
#pragma once

#include "text/encoded.h"
#include "text/instant.h"
#include "text/shown_text.h"
#include "tree/locale_handle.h"

#include <optional>
#include <vector>

namespace qbgl {

// What a text tells of a date.
struct ReadDate {
    gl_tm date;
    bool year, month, day, time, zone; // which fields of it the text tells; a day comes with its month and year

    std::string iso() const; // as much as there is
};

class DateForm {
  public:
    // Throws Failure for a format that is wrong, and DateFault for one with characters that the locale's codeset lacks.
    DateForm(gl_locale &locale, const std::string &format);

    // Both throw DateFault.
    std::string written(int64_t seconds, const Zone &zone);
    ReadDate read(const std::string &text, const Zone &zone);

  private:
    std::string in_codeset(const std::string &text) const;
    void check_format();
    std::string formatted(const std::string &format, const gl_tm &date); // format and result in the codeset
    void name_zone(const Zone &zone, const std::string &name);
    [[noreturn]] void explain_mismatch(const std::string &input);
    size_t characters(std::string_view input) const;

    gl_locale *locale_;
    std::string codeset_, format_, encoded_format_;
    std::optional<std::string> zone_name_; // that %Z writes
    TextEncoder encoder_;
    TextView view_;
};

} // namespace qbgl
