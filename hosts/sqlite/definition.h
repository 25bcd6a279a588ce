// The text of a definition in the schema: which locales it asks for.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qbgl_sqlite {

// The locales whose order the functions in a definition go by, where their names are literals: qbgl_key(name, 'cs_CZ'). What is
// put together of more than a literal is left out, and so are literals that name no locale of a call.
std::vector<std::string> locales_in(std::string_view definition);

} // namespace qbgl_sqlite
