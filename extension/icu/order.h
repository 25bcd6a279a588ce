// What the locales of one order share: the table that decides their comparisons, made when they have compared enough together.
#pragma once

#include "icu/primaries.h"

namespace qbgl::icu {

class Order {
  public:
    Order() = default;
    Order(const Order &) = delete;
    Order &operator=(const Order &) = delete;
    ~Order();

    // That of a collator which looks at the first pass alone, among those that are known, or made for it. Null where there is none,
    // where memory is out, and while another thread looks. It stays until all are forgotten.
    static Order *find(const UCollator *letters);
    static Order *find_or_make(const UCollator *letters);
    // Before ICU gives back its memory. Locales that have asked for their order must compare no more.
    static void forget_all();

    // Null until there have been so many comparisons that it is worth its making, while that goes on in another thread, and where
    // memory was out for it.
    const Primaries *primaries_after(uint32_t comparisons);

  private:
    static Order *find(const UCollator *letters, bool makes);
    bool is_of(const UCollator *letters) const;
    const Primaries *make_primaries();

    UCollator *letters_ = nullptr;
    std::atomic<Primaries *> primaries_ = nullptr;
    std::atomic<uint32_t> comparisons_ = 0;
    std::atomic<bool> begun_ = false; // whoever begins makes it, and nobody else ever does
    Order *next_ = nullptr;
};

} // namespace qbgl::icu
