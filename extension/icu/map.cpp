#include "icu/map.h"

#include "icu/entry.h"
#include "icu/file.h"
#include "icu/memory.h"
#include "icu/name.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <unicode/ucnv.h>

namespace qbgl::icu {

namespace {

constexpr const char *CATEGORIES[] = {"LC_CTYPE", "LC_COLLATE", "LC_NUMERIC", "LC_MONETARY", "LC_TIME", "LC_MESSAGES"};
constexpr const char *ANY = "*";

Map *current = nullptr;

bool same(const char *a, const char *b) { return strcmp(a, b) == 0; }

unsigned bit_of(int category) { return 1U << category; }

// 0 for a word that is no category.
unsigned bit_of(const char *word) {
    for (int i = 0; i < GL_CAT_MESSAGES - GL_CAT_CTYPE + 1; ++i)
        if (same(CATEGORIES[i], word)) return bit_of(GL_CAT_CTYPE + i);
    return 0;
}

// * stands for any bytes.
bool matches(const char *pattern, const char *text) {
    const char *star = nullptr, *retry = nullptr;
    while (*text != '\0') {
        if (*pattern == '*') {
            star = pattern++;
            retry = text;
        } else if (*pattern == *text) {
            ++pattern;
            ++text;
        } else if (star != nullptr) {
            pattern = star + 1;
            text = ++retry;
        } else {
            return false;
        }
    }
    while (*pattern == '*') ++pattern;
    return *pattern == '\0';
}

} // namespace

Owned<Map> Map::load(const char *path, int &status) {
    Owned<Map> map = make<Map>();
    status = GL_ENOMEM;
    if (!map || !map->read(path, status)) return {};
    const int line = map->parse();
    if (line == 0) return map;
    status = line < 0 ? GL_ENOMEM : GL_EBADFILE;
    if (line > 0) say("qbgl_icu: %s:%d: not a line of a map", path, line);
    return {};
}

const Map *Map::loaded() { return current; }

bool Map::read(const char *path, int &status) {
    File file;
    if (!file.read(path, status)) return false;
    const size_t length = strlen(file.bytes());
    const bool is_text = length == file.size();
    if (!is_text) {
        say("qbgl_icu: %s: byte %zu is NUL: not a map", path, length);
        status = GL_EBADFILE;
    }
    text_ = file.release();
    return is_text;
}

// 0, the number of a line that is wrong, or -1 when memory is out.
int Map::parse() {
    int number = 0;
    for (char *at = text_; *at != '\0';) {
        ++number;
        char *const end = at + strcspn(at, "\n");
        const bool last = *end == '\0';
        *end = '\0';
        at[strcspn(at, "#")] = '\0';
        Words words = {{}, 0};
        char *rest = nullptr;
        for (char *word = strtok_r(at, " \t\r", &rest); word != nullptr; word = strtok_r(nullptr, " \t\r", &rest)) {
            if (words.count == MOST_WORDS) return number;
            words.word[words.count++] = word;
        }
        const int result = words.count > 0 ? take_line(words) : 0;
        if (result != 0) return result > 0 ? number : -1;
        at = last ? end : end + 1;
    }
    return 0;
}

// 0, 1 for a line that is wrong, or -1.
int Map::take_line(Words &words) {
    const char *const kind = words.word[0];
    const auto done = [](bool added) { return added ? 0 : -1; };
    if (same(kind, "codeset")) return words.count >= 4 ? take_codeset(words) : 1;
    if (same(kind, "locale")) return words.count == 3 ? done(locales_.add({words.word[1], words.word[2]})) : 1;
    if (same(kind, "modifier")) {
        const char *const keywords = words.count == 3 ? words.word[2] : "";
        return words.count == 2 || words.count == 3 ? done(modifiers_.add({words.word[1], keywords})) : 1;
    }
    if (same(kind, "leave")) return words.count == 2 ? done(locale_rules_.add({words.word[1], 0})) : 1;
    if (same(kind, "serve")) {
        LocaleRule rule = {words.word[1], 0};
        for (int i = 2; i < words.count; ++i) {
            if (bit_of(words.word[i]) == 0) return 1;
            rule.categories |= bit_of(words.word[i]);
        }
        return rule.categories != 0 ? done(locale_rules_.add(rule)) : 1;
    }
    if (same(kind, "convert") || same(kind, "keep"))
        return words.count == 3 ? done(pair_rules_.add({words.word[1], words.word[2], same(kind, "convert")})) : 1;
    return 1;
}

int Map::take_codeset(const Words &words) {
    char *end = nullptr;
    if (!isdigit(static_cast<unsigned char>(*words.word[1]))) return 1; // no sign
    const long number = strtol(words.word[1], &end, 10);
    if (*end != '\0' || number > UINT16_MAX) return 1;
    const Provision provision;
    if (!provision) return -1;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_close(ucnv_open(words.word[2], &status)); // ICU knows names of more codesets than it has
    if (U_FAILURE(status)) {
        say("qbgl_icu: ICU has no codeset %s: %s is not served", words.word[2], words.word[3]);
        return status == U_MEMORY_ALLOCATION_ERROR ? -1 : 0;
    }
    if (!codesets_.add({static_cast<int>(number), words.word[2], words.word[3]})) return -1;
    for (int i = 3; i < words.count; ++i)
        if (!names_.add({words.word[i], static_cast<int>(number)})) return -1;
    return 0;
}

const Map::Text *Map::find(const List<Text> &list, const char *name) {
    for (const Text &text : list)
        if (same(text.name, name)) return &text;
    return nullptr;
}

const Map::Codeset *Map::codeset(int number) const {
    for (const Codeset &one : codesets_)
        if (one.number == number) return &one;
    return nullptr;
}

const Map::Codeset *Map::codeset(const char *name) const {
    for (const CodesetName &one : names_)
        if (ucnv_compareNames(one.name, name) == 0) return codeset(one.number);
    for (const Codeset &one : codesets_)
        if (ucnv_compareNames(one.icu, name) == 0) return &one;
    return nullptr;
}

bool Map::serves(const LocaleId &id, int category) const {
    if (category < GL_CAT_CTYPE || category > GL_CAT_MESSAGES) return false;
    for (const LocaleRule &rule : locale_rules_)
        if (matches(rule.pattern, id.name)) return (rule.categories & bit_of(category)) != 0;
    return false;
}

bool Map::is_of(const char *pattern, const Codeset &one) const {
    if (same(pattern, ANY)) return true;
    const Codeset *const named = codeset(pattern);
    return named != nullptr && named->number == one.number;
}

bool Map::converts(int source, int target) const {
    const Codeset *const from = codeset(source), *const to = codeset(target);
    if (from == nullptr || to == nullptr || from == to) return false;
    for (const PairRule &rule : pair_rules_)
        if (is_of(rule.source, *from) && is_of(rule.target, *to)) return rule.converts;
    return false;
}

} // namespace qbgl::icu

using namespace qbgl::icu;

void *glu_loadMapData(const char *path, int *status) {
    if (path == nullptr) return fail<int, void *>(status, GL_ENULLPTR, nullptr);
    const KeepErrno errno_stays;
    int number = 0;
    Owned<Map> map = Map::load(path, number);
    if (!map) return fail<int, void *>(status, number, nullptr);
    map->older = current;
    current = map.release();
    return current;
}

void glu_unloadMapData(void *map) {
    for (Map **place = &current; *place != nullptr; place = &(*place)->older)
        if (*place == map) {
            *place = (*place)->older;
            break;
        }
    Owned<Map>(static_cast<Map *>(map)).reset();
}
