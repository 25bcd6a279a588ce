#include "icu/locale.h"

#include "icu/entry.h"
#include "icu/map.h"
#include "icu/marks.h"
#include "icu/memory.h"
#include "icu/name.h"

#include <algorithm>
#include <cstring>
#include <unicode/uloc.h>

namespace qbgl::icu {

namespace {

int16_t error_of(UErrorCode status) { return status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_ENOFILE; }

} // namespace

Locale::~Locale() {
    for (UCollator *const collator : collators_)
        if (collator != nullptr) ucol_close(collator);
    if (case_map_ != nullptr) ucasemap_close(case_map_);
}

Owned<Locale> Locale::open(const LocaleId &id, int16_t &error) {
    error = GL_ENOMEM;
    const Provision provision;
    Owned<Locale> locale = make<Locale>();
    if (!provision || !locale || !list_doubtful_marks()) return {};
    locale->codeset_ = make<Codeset>();
    if (!locale->codeset_ || !locale->codeset_->open(*id.codeset, error)) return {};
    strcpy(locale->name_, id.icu);
    UErrorCode status = U_ZERO_ERROR;
    locale->case_map_ = ucasemap_open(id.icu, 0, &status);
    if (U_FAILURE(status)) {
        error = error_of(status);
        return {};
    }
    if (!locale->open_collators(error)) return {};
    char language[ULOC_LANG_CAPACITY] = "";
    uloc_getLanguage(id.icu, language, sizeof language, &status);
    for (const char *const own : {"tr", "az", "lt", "el"}) locale->own_case_ |= strcmp(language, own) == 0;
    error = 0;
    return locale;
}

bool Locale::open_collators(int16_t &error) {
    UErrorCode status = U_ZERO_ERROR;
    UCollator *const whole = ucol_open(name_, &status);
    if (U_FAILURE(status)) {
        error = error_of(status);
        return false;
    }
    compares_by_keys_ = ucol_getAttribute(whole, UCOL_FRENCH_COLLATION, &status) == UCOL_ON ||
                        ucol_getAttribute(whole, UCOL_ALTERNATE_HANDLING, &status) == UCOL_SHIFTED ||
                        ucol_getAttribute(whole, UCOL_NUMERIC_COLLATION, &status) == UCOL_ON ||
                        uloc_getKeywordValue(name_, "colnormalization", nullptr, 0, &status) > 0;
    status = U_ZERO_ERROR; // which had no room for the keyword's value
    if (ucol_getAttribute(whole, UCOL_NORMALIZATION_MODE, &status) == UCOL_ON) form_ = unorm2_getNFDInstance(&status);
    const UCollationStrength strength = ucol_getStrength(whole);
    passes_ = strength == UCOL_IDENTICAL ? MOST_PASSES : static_cast<int>(strength) + 1;
    collators_[passes_ - 1] = whole;
    for (int passes = 1; passes < passes_ && U_SUCCESS(status); ++passes) {
        collators_[passes - 1] = ucol_clone(whole, &status);
        if (U_FAILURE(status)) break;
        ucol_setStrength(collators_[passes - 1], static_cast<UCollationStrength>(passes - 1));
        // The case level stands before the third pass: were it on here, the key would begin no key of more passes.
        ucol_setAttribute(collators_[passes - 1], UCOL_CASE_LEVEL, UCOL_OFF, &status);
    }
    error = error_of(status);
    return U_SUCCESS(status);
}

const Primaries *Locale::count_comparison() const {
    constexpr uint32_t STEP = 256; // the first asks for what is there already, and then each of these, which may begin one
    const uint32_t count = comparisons_.fetch_add(1, std::memory_order_relaxed);
    if (count % STEP != 0) return nullptr;
    Order *order = order_.load(std::memory_order_acquire);
    if (order == nullptr) {
        order = count == 0 ? Order::find(collator(1)) : Order::find_or_make(collator(1));
        if (order == nullptr) return nullptr;
        order_.store(order, std::memory_order_release);
    }
    const Primaries *const primaries = order->primaries_after(count == 0 ? 0 : STEP);
    if (primaries != nullptr) primaries_.store(primaries, std::memory_order_release);
    return primaries;
}

Owned<Locale> Locale::clone(int16_t &error) const {
    LocaleId id;
    strcpy(id.icu, name_);
    id.codeset = &codeset_->of_map();
    return open(id, error);
}

// U+0390 in UTF-8 has two bytes, and in upper case six. In a codeset of single bytes, three characters come of one at most; in
// others these may have all the bytes that a character can have.
int Locale::case_growth() const {
    constexpr int MOST_CHARACTERS = 3;
    return codeset_->kind() == Codeset::Kind::MULTI_BYTE ? MOST_CHARACTERS * codeset_->longest() : MOST_CHARACTERS;
}

} // namespace qbgl::icu

using namespace qbgl::icu;

int glu_useIcuLocCall(const char *name, int category) {
    LocaleId id;
    const KeepErrno errno_stays;
    const Map *const map = Map::loaded();
    if (name == nullptr || map == nullptr) return 0;
    // Where memory is out, opening tells so; another answer would leave the locale to other rules.
    const int wrong = identify(*map, name, id);
    return (wrong == 0 || wrong == GL_ENOMEM) && map->serves(id, category) ? 1 : 0;
}

void *glu_lc_open(const char *name, void *map, int16_t *error) {
    if (name == nullptr || map == nullptr) return fail<int16_t, void *>(error, GL_ENULLPTR, nullptr);
    const KeepErrno errno_stays;
    LocaleId id;
    if (const int wrong = identify(*static_cast<const Map *>(map), name, id)) return fail<int16_t, void *>(error, wrong, nullptr);
    int16_t number = 0;
    Owned<Locale> locale = Locale::open(id, number);
    if (locale) return locale.release();
    say("qbgl_icu: locale %s (%s, %s) cannot be opened", name, id.icu, id.codeset->icu);
    return fail<int16_t, void *>(error, number, nullptr);
}

void *glu_lc_clone(void *locale, int16_t *error) {
    if (locale == nullptr) return fail<int16_t, void *>(error, GL_ENULLPTR, nullptr);
    const KeepErrno errno_stays;
    int16_t number = 0;
    Owned<Locale> clone = as_locale(locale)->clone(number);
    return clone ? clone.release() : fail<int16_t, void *>(error, number, nullptr);
}

void *glu_lc_close(void *locale) {
    Owned<Locale>(static_cast<Locale *>(locale)).reset();
    return nullptr;
}

const char *glu_getICULocName(void *locale) { return locale != nullptr ? as_locale(locale)->name() : nullptr; }
int glu_mb_loc_max(void *locale) { return locale != nullptr ? as_locale(locale)->codeset().longest() : -1; }
int glu_mb_loc_min(void *locale) { return locale != nullptr ? as_locale(locale)->codeset().shortest() : -1; }

// What qbglc asks for, to write an installation.
extern "C" QBGL_API const char *qbgl_icu_locale(int index) {
    const Provision provision; // ICU sets up its list
    return provision && index >= 0 && index < uloc_countAvailable() ? uloc_getAvailable(index) : nullptr;
}
