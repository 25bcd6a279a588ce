// An open locale.
#pragma once

#include "icu/codeset.h"
#include "icu/order.h"

#include <unicode/ucasemap.h>
#include <unicode/ucol.h>
#include <unicode/unorm2.h>

namespace qbgl::icu {

struct LocaleId; // name.h

class Locale {
  public:
    Locale() = default;
    Locale(const Locale &) = delete;
    Locale &operator=(const Locale &) = delete;
    ~Locale();

    // Null with an error number.
    static Owned<Locale> open(const LocaleId &id, int16_t &error);
    Owned<Locale> clone(int16_t &error) const;

    const char *name() const { return name_; } // as ICU has it
    const Codeset &codeset() const { return *codeset_; }
    const UCollator *collator() const { return collators_[passes_ - 1]; }
    // The collator that looks at so many passes; -1 and more than there are: all.
    const UCollator *collator(int passes) const { return collators_[(passes < 1 || passes > passes_ ? passes_ : passes) - 1]; }
    // Whether ICU's comparison may differ from the keys in any texts: it passes over what two texts begin with, and a mark may
    // stand behind it that counts by its place from the end, or not behind a character that is passed over, or a digit of a number
    // of which it sees only those of ASCII. And with a normalization that is not the language's own it loses marks.
    bool compares_by_keys() const { return compares_by_keys_; }
    // The form that texts are normalized to, or null where the collators normalize none.
    const UNormalizer2 *form() const { return form_; }
    // What decides comparisons without ICU. Null until the locales of its order have compared so much that it is worth its making,
    // for some comparisons more, and where memory was out for it.
    const Primaries *primaries() const {
        const Primaries *const made = primaries_.load(std::memory_order_acquire);
        return made != nullptr ? made : count_comparison();
    }
    const UCaseMap *case_map() const { return case_map_; }
    // Whether single characters have another case than in most languages.
    bool has_own_case() const { return own_case_; }
    int case_growth() const;

  private:
    static constexpr int MOST_PASSES = 5; // letters, accents, case, what is mostly passed over, code values

    bool open_collators(int16_t &error);
    const Primaries *count_comparison() const;

    char name_[ULOC_FULLNAME_CAPACITY] = "";
    Owned<Codeset> codeset_;
    UCollator *collators_[MOST_PASSES] = {}; // by the number of their passes
    int passes_ = 0;
    bool compares_by_keys_ = false;
    const UNormalizer2 *form_ = nullptr;
    mutable std::atomic<const Primaries *> primaries_ = nullptr; // its order's
    mutable std::atomic<Order *> order_ = nullptr;
    mutable std::atomic<uint32_t> comparisons_ = 0;
    UCaseMap *case_map_ = nullptr;
    bool own_case_ = false;
};

inline const Locale *as_locale(const void *handle) { return static_cast<const Locale *>(handle); }

} // namespace qbgl::icu
