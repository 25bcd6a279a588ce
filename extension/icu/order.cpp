#undef U_SHOW_CPLUSPLUS_API
#define U_SHOW_CPLUSPLUS_API 1 // for the comparison of collators, which the C interface lacks

#include "icu/order.h"

#include "icu/memory.h"

#include <cstring>
#include <pthread.h>
#include <unicode/coll.h>

namespace qbgl::icu {

namespace {

pthread_mutex_t access = PTHREAD_MUTEX_INITIALIZER; // to the list
Order *first = nullptr;
// Of the order that all others start from. ICU takes longer to list them than for what another order adds.
std::atomic<Contexts *> root = nullptr;

const Contexts *contexts_of_root() {
    Contexts *known = root.load(std::memory_order_acquire);
    if (known != nullptr) return known;
    Owned<Contexts> contexts = make<Contexts>();
    if (!contexts || !contexts->open_root()) return nullptr;
    // Another thread may have been quicker.
    return root.compare_exchange_strong(known, contexts.get(), std::memory_order_acq_rel) ? contexts.release() : known;
}

const char *rules_of(const UCollator *collator) {
    UErrorCode status = U_ZERO_ERROR;
    const char *const locale = ucol_getLocaleByType(collator, ULOC_ACTUAL_LOCALE, &status);
    return U_SUCCESS(status) && locale != nullptr ? locale : "";
}

} // namespace

Order::~Order() {
    Owned<Primaries>(primaries_.load(std::memory_order_relaxed)).reset();
    if (letters_ != nullptr) ucol_close(letters_);
}

// ICU compares rules of other locales slowly, and settings at once.
bool Order::is_of(const UCollator *letters) const {
    return strcmp(rules_of(letters_), rules_of(letters)) == 0 &&
           *::icu::Collator::fromUCollator(letters_) == *::icu::Collator::fromUCollator(letters);
}

Order *Order::find(const UCollator *letters) { return find(letters, false); }
Order *Order::find_or_make(const UCollator *letters) { return find(letters, true); }

Order *Order::find(const UCollator *letters, bool makes) {
    if (pthread_mutex_trylock(&access) != 0) return nullptr; // comparisons wait for nobody
    Order *found = first;
    while (found != nullptr && !found->is_of(letters)) found = found->next_;
    if (found == nullptr && makes) {
        const Provision provision;
        UErrorCode status = U_ZERO_ERROR;
        Owned<Order> order = provision ? make<Order>() : Owned<Order>();
        if (order) order->letters_ = ucol_clone(letters, &status);
        if (order && U_SUCCESS(status) && order->letters_ != nullptr) {
            order->next_ = first;
            found = first = order.release();
        }
    }
    pthread_mutex_unlock(&access);
    return found;
}

void Order::forget_all() {
    while (first != nullptr) Owned<Order>(std::exchange(first, first->next_)).reset();
    Owned<Contexts>(root.exchange(nullptr)).reset();
}

const Primaries *Order::primaries_after(uint32_t comparisons) {
    if (const Primaries *const made = primaries_.load(std::memory_order_acquire)) return made;
    constexpr uint32_t ENOUGH = 1 << 16, ENOUGH_BESIDE_ROOT = 1 << 13;
    const uint32_t count = comparisons_.fetch_add(comparisons, std::memory_order_relaxed) + comparisons;
    const uint32_t enough = root.load(std::memory_order_relaxed) == nullptr ? ENOUGH : ENOUGH_BESIDE_ROOT;
    return count >= enough && !begun_.exchange(true) ? make_primaries() : nullptr;
}

const Primaries *Order::make_primaries() {
    const Provision provision; // it holds sets of ICU's
    const Contexts *const contexts = provision ? contexts_of_root() : nullptr;
    Owned<Primaries> primaries = make<Primaries>();
    if (contexts == nullptr || !primaries || !primaries->open(letters_, *contexts)) return nullptr;
    primaries_.store(primaries.get(), std::memory_order_release);
    return primaries.release();
}

} // namespace qbgl::icu
