#include "icu/name.h"

#include "icu/map.h"
#include "icu/memory.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <qbgl.h>
#include <strings.h>
#include <unicode/ucol.h>

namespace qbgl::icu {

namespace {

constexpr size_t LONGEST_NAME = 120;
constexpr char OBJECT_SUFFIX[] = ".lco";
constexpr int NUMBER_DIGITS = 4;

struct Parts {
    char place[LONGEST_NAME + 1] = "";
    char modifier[LONGEST_NAME + 1] = "";
    const Map::Codeset *codeset = nullptr;
};

void copy(char *out, const char *text, size_t length) {
    memcpy(out, text, length);
    out[length] = '\0';
}

// Of an object's file: the directory's name, and in the file's the number and the modifier.
bool take_object_name(const Map &map, const char *name, Parts &parts) {
    const size_t length = strlen(name), suffix = sizeof OBJECT_SUFFIX - 1;
    if (length < suffix || strcmp(name + length - suffix, OBJECT_SUFFIX) != 0) return false;
    const char *slash = nullptr, *before = name;
    for (const char *at = name; *at != '\0'; ++at) {
        if (*at != '/' && *at != '\xFF') continue;
        if (slash != nullptr) before = slash + 1;
        slash = at;
    }
    const char *const end = name + length - suffix;
    if (slash == nullptr || end - slash - 1 < NUMBER_DIGITS) return false;
    char digits[NUMBER_DIGITS + 1];
    copy(digits, slash + 1, NUMBER_DIGITS);
    if (strspn(digits, "0123456789abcdefABCDEF") != NUMBER_DIGITS) return false;
    const long number = strtol(digits, nullptr, 16);
    parts.codeset = map.codeset(static_cast<int>(number));
    copy(parts.place, before, static_cast<size_t>(slash - before));
    const char *const modifier = slash + 1 + NUMBER_DIGITS;
    copy(parts.modifier, modifier, static_cast<size_t>(end - modifier));
    return true;
}

void take_specification(const Map &map, const char *name, Parts &parts) {
    const char *const at = name + strcspn(name, "@");
    if (*at == '@') copy(parts.modifier, at + 1, strlen(at + 1));
    const char *const dot = name + strcspn(name, ".@");
    copy(parts.place, name, static_cast<size_t>(dot - name));
    char codeset[LONGEST_NAME + 1] = "UTF-8";
    if (*dot == '.') copy(codeset, dot + 1, static_cast<size_t>(at - dot - 1));
    parts.codeset = map.codeset(codeset);
}

// 0 or an error number.
int canonicalize(const char *place, char (&icu)[ULOC_FULLNAME_CAPACITY]) {
    const Provision provision;
    if (!provision) return GL_ENOMEM;
    UErrorCode status = U_ZERO_ERROR;
    int32_t parsed = static_cast<int32_t>(strlen(place)); // a tag's wrong end is no error to ICU
    const int32_t length = parsed;
    if (strchr(place, '-') != nullptr && strchr(place, '_') == nullptr)
        uloc_forLanguageTag(place, icu, sizeof icu, &parsed, &status);
    else
        uloc_canonicalize(place, icu, sizeof icu, &status);
    if (status == U_MEMORY_ALLOCATION_ERROR) return GL_ENOMEM;
    // Two languages may be one to ICU, but each that it knows has a code of three letters.
    const bool known =
        U_SUCCESS(status) && parsed == length && status != U_STRING_NOT_TERMINATED_WARNING && *uloc_getISO3Language(icu) != '\0';
    return known ? 0 : GL_ENOFILE;
}

// Appends keywords to a name that may have some.
bool add_keywords(char (&icu)[ULOC_FULLNAME_CAPACITY], const char *keywords) {
    const size_t used = strlen(icu);
    const int added = snprintf(icu + used, sizeof icu - used, "%c%s", strchr(icu, '@') != nullptr ? ';' : '@', keywords);
    return static_cast<size_t>(added) < sizeof icu - used;
}

// 0 or an error number. ICU takes the standard order where a locale lacks the one that it asks for.
int check_collation(const char *icu) {
    const Provision provision;
    if (!provision) return GL_ENOMEM;
    constexpr char KEYWORD[] = "collation";
    UErrorCode status = U_ZERO_ERROR;
    char wanted[ULOC_KEYWORDS_CAPACITY] = "";
    const int32_t length = uloc_getKeywordValue(icu, KEYWORD, wanted, sizeof wanted, &status);
    if (U_SUCCESS(status) && (length == 0 || strcasecmp(wanted, "default") == 0)) return 0;
    UEnumeration *const all = ucol_getKeywordValuesForLocale(KEYWORD, icu, false, &status);
    bool known = false;
    for (const char *one; !known && (one = uenum_next(all, nullptr, &status)) != nullptr;) known = strcasecmp(one, wanted) == 0;
    uenum_close(all);
    if (status == U_MEMORY_ALLOCATION_ERROR) return GL_ENOMEM;
    return known ? 0 : GL_ENOFILE;
}

} // namespace

int identify(const Map &map, const char *name, LocaleId &id) {
    if (strlen(name) > LONGEST_NAME) return GL_ENOFILE;
    Parts parts;
    if (!take_object_name(map, name, parts)) take_specification(map, name, parts);
    if (parts.codeset == nullptr || *parts.place == '\0') return GL_ENOFILE;
    id.codeset = parts.codeset;
    snprintf(id.name, sizeof id.name, "%s.%s%s%s", parts.place, parts.codeset->name, *parts.modifier != '\0' ? "@" : "",
             parts.modifier);
    char whole[2 * LONGEST_NAME + 2];
    snprintf(whole, sizeof whole, "%s@%s", parts.place, parts.modifier);
    if (const Map::Text *const known = map.locale(*parts.modifier != '\0' ? whole : parts.place)) {
        const int wrong = canonicalize(known->icu, id.icu);
        return wrong != 0 ? wrong : check_collation(id.icu);
    }
    if (const int wrong = canonicalize(parts.place, id.icu)) return wrong;
    const char *keywords = parts.modifier;
    if (*keywords != '\0' && strchr(keywords, '=') == nullptr) {
        const Map::Text *const modifier = map.modifier(keywords);
        if (modifier == nullptr) return GL_ENOFILE;
        keywords = modifier->icu;
    }
    return *keywords == '\0' || add_keywords(id.icu, keywords) ? check_collation(id.icu) : GL_ENOFILE;
}

} // namespace qbgl::icu
