// LIKE by the characters of a locale.
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// % stands for any text and _ for any character; behind `escape`, when there is one, each stands for itself. What the rules take
// for one letter is still its characters: in Czech "c%" finds "chata". Characters are alike when `passes` of the rules find no
// difference between them (0: when they are the same). Takes time in proportion to the product of the lengths at most. Throws Error
// for an escape at the pattern's end.
bool like(const Locale &locale, std::string_view pattern, std::string_view text, int passes, std::string_view escape);

} // namespace qbgl_sqlite
