// The primary weights of characters, from which most comparisons of UTF-8 are decided without ICU.
#pragma once

#include "icu/host.h"

#include <atomic>
#include <unicode/ucol.h>
#include <unicode/unorm2.h>
#include <unicode/uset.h>

namespace qbgl::icu {

// Which characters stand in contractions, or have weights by what is before them.
class Contexts {
  public:
    Contexts() = default;
    Contexts(const Contexts &) = delete;
    Contexts &operator=(const Contexts &) = delete;
    ~Contexts();

    // Those of the order that all others start from. False when memory is out.
    bool open_root();
    // Those of it and of what a collator's rules change. False when memory is out.
    bool open(const Contexts &root, const UCollator *collator);

    bool may_be_joined(UChar32 value) const { return uset_contains(joined_, value) != 0; }
    bool may_join(UChar32 value) const { return uset_contains(joining_, value) != 0; }

  private:
    bool add(const USet *strings);

    USet *joined_ = nullptr;  // what may belong to something before it
    USet *joining_ = nullptr; // what may take something behind it
};

class Primaries {
  public:
    static constexpr int UNDECIDED = 2;

    Primaries() = default;
    Primaries(const Primaries &) = delete;
    Primaries &operator=(const Primaries &) = delete;
    ~Primaries();

    // Of a collator that looks at the first pass alone and outlives this. False when memory is out.
    bool open(const UCollator *letters, const Contexts &root);

    // The order of two texts of any bytes: -1, 0, 1, or UNDECIDED. It looks at no more than the characters at which they part.
    int compare(const char *s1, int32_t length1, const char *s2, int32_t length2) const;

  private:
    static constexpr int PAGE = 64, PAGES = 0x10000 / PAGE;
    struct Page {
        uint32_t weights[PAGE]; // the first four bytes of the keys; 0: not decided here
        uint64_t needs_next;    // a bit for each: by itself, the weight holds before some characters only
    };

    // What is known of a byte that may be a character of ASCII: the first three bytes of its weight, above flags.
    enum : uint32_t { NEEDS_NEXT = 1, MAY_FOLLOW = 2, WEIGHT = 0xFFFFFF00 };

    int compare_ascii(const uint8_t *a, int32_t left_of_a, const uint8_t *b, int32_t left_of_b) const;
    int compare_at(const uint8_t *a, int32_t length1, const uint8_t *b, int32_t length2, int32_t at) const;
    const Page *page_of(uint32_t value) const;
    void fill(Page &page, UChar32 first) const;
    uint32_t weight_of(UChar32 value) const;
    uint32_t weight_at(const uint8_t *s, int32_t length) const;

    const UCollator *letters_ = nullptr;
    const UNormalizer2 *forms_ = nullptr;
    Contexts contexts_;
    bool normalizes_ = false, numeric_ = false;
    uint32_t ascii_[256] = {};                      // 0 for other bytes
    mutable std::atomic<Page *> pages_[PAGES] = {}; // made when first asked for, and never changed
};

} // namespace qbgl::icu
