// The names of locales: of an installation's objects, as specifications write them, and ICU's own.
#pragma once

#include "icu/map.h"

#include <unicode/uloc.h>

namespace qbgl::icu {

struct LocaleId {
    char icu[ULOC_FULLNAME_CAPACITY] = "";
    const Map::Codeset *codeset = nullptr;
    char name[512] = ""; // PLACE.CODESET@MODIFIER, as the rules of the map see it
};

// Understands "cs_cz/e01c.lco" (the separator may be the byte FF, and a modifier may stand behind the number), "cs_CZ.utf8@icu",
// "de_DE@collation=phonebook" and "de-u-co-phonebk". Without a codeset it is UTF-8. 0, or GL_ENOFILE for what ICU has no language
// of, and for a codeset or a modifier that the map has not, or GL_ENOMEM, where `name` is known all the same.
int identify(const Map &map, const char *name, LocaleId &id);

} // namespace qbgl::icu
