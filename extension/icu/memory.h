// ICU's own memory: the host's, with a reserve for where the host refuses more.
#pragma once

#include <atomic>

namespace qbgl::icu {

// From now on ICU's own memory is the host's, and ICU reads no files: the environment's ICU_DATA could put other rules before those
// of its data. Where the process had ICU before this library came, or has another user of it, what ICU has allocated must be freed
// as it was allocated: everything stays as it is.
void lend_memory_to_icu();
// Gives back what ICU keeps for later, if it is the host's. False where ICU lives on: because its memory is its own, or because
// somebody else in the process uses it by now. Then this library stays, too, as ICU goes on allocating by it.
bool take_memory_from_icu();

// How often ICU was refused memory, in any thread. What it makes meanwhile may be wrong although its status tells of no failure.
extern std::atomic<unsigned> refusals;

// While a thread has one, ICU is refused no memory in it. What may open, load or set up something in ICU needs one, for ICU keeps a
// failure there for good, or crashes. Threads have it one after the other; it may be taken within another one of the same thread.
class Provision {
  public:
    Provision();
    Provision(const Provision &) = delete;
    Provision &operator=(const Provision &) = delete;
    ~Provision();

    // False where the host refuses the reserve: memory is out, and ICU is not to be called.
    explicit operator bool() const { return state_ != NONE; }

  private:
    enum { NONE, WITHIN, HELD } state_;
};

} // namespace qbgl::icu
