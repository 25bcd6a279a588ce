// The short form with a known codeset, which is what has a file name and a normal form.
#pragma once

#include "spec/text.h"

namespace qbgl {

inline constexpr size_t MODIFIER_MAX = 4;

// The views are into the parsed text.
struct ShortForm {
    std::string_view place; // ll_TT
    uint16_t codeset;
    std::string_view modifier; // letters and digits, possibly none
};

// Takes "ll_TT.codeset@modifier". A failed look-up of the codeset has set the error number of `ctx`; a malformed text leaves it
// alone.
bool take_short_form(Cursor &at, void *ctx, const char *registry_path, ShortForm &form);

void put_file_name(Writer &out, const ShortForm &form);   // ja_jp/e006.lco
void put_normal_form(Writer &out, const ShortForm &form); // ja_JP.57350

inline constexpr size_t FILE_NAME_MAX = 5 + 1 + 4 + MODIFIER_MAX + 4;
inline constexpr size_t NORMAL_FORM_MAX = 5 + 1 + 5 + 1 + MODIFIER_MAX;

} // namespace qbgl
