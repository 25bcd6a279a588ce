// A host's functions in the library's table, with faults on demand: the n-th allocation, open, close, read or question fails.
#pragma once

#include <functional>
#include <vector>

namespace qbgl_test {

enum class Operation { allocate, open, close, read, ask };

// How long a fault lasts.
enum class Lasting { once, on };

// While one of these lives, slots of the table hold a host's functions, and calls of them are counted; afterwards they are empty.
// One at a time. Blocks and streams are the host's own, which libc knows nothing of, where the slots that need to know them are all
// replaced; otherwise libc serves. What libc opened is read by libc.
class Faults {
  public:
    // The slots of memory and files.
    Faults();
    explicit Faults(std::vector<unsigned> slots);
    Faults &operator=(Faults &&) = delete;
    ~Faults();

    // Starts counting anew and makes the n-th operation (from 1) fail.
    void arm(Operation operation, unsigned nth, Lasting lasting = Lasting::once);

    // Whether the fault has happened since arm().
    bool hit() const;
    // Operations since arm(), failed ones included.
    unsigned count(Operation operation) const;
    // What was allocated or opened through the table since construction and is still there.
    unsigned blocks() const;
    unsigned streams() const;

  private:
    const std::vector<unsigned> slots_;
};

// Runs `body` with the first, second, third, ... operation failing, until it runs through without reaching the fault. It is for the
// body to judge the outcome by faults.hit(); after each run, no block and no stream may be left. Returns the number of runs with a
// fault.
unsigned for_each_fault(Faults &faults, Operation operation, Lasting lasting, const std::function<void(const Faults &)> &body);
unsigned for_each_fault(Operation operation, Lasting lasting, const std::function<void(const Faults &)> &body);
// Both ways of lasting.
void for_each_fault(Operation operation, const std::function<void(const Faults &)> &body);

} // namespace qbgl_test
