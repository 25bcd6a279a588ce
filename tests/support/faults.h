// Faults on demand, through the library's function table: the n-th allocation, open, close or read fails.
#pragma once

#include <functional>

namespace qbgl_test {

enum class Operation { allocate, open, close, read };

// How long a fault lasts. Reads fail as at the end of a file, but without its indication.
enum class Lasting { once, on };

// While one of these lives, the memory, open, close and read slots are counted; afterwards they are empty. One at a time.
class Faults {
  public:
    Faults();
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
};

// Runs `body` with the first, second, third, ... operation failing, until it runs through without reaching the fault. It is for the
// body to judge the outcome by faults.hit(); after each run, no block and no stream may be left. Returns the number of runs with a
// fault.
unsigned for_each_fault(Operation operation, Lasting lasting, const std::function<void(const Faults &)> &body);
// Both ways of lasting.
void for_each_fault(Operation operation, const std::function<void(const Faults &)> &body);

} // namespace qbgl_test
