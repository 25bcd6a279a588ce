#include "util/processor.h"

#include <atomic>
#include <cpuid.h>
#include <stdint.h>

namespace qbgl {

bool has_ssse3() {
    constexpr int8_t UNKNOWN = -1;
    static std::atomic<int8_t> known{UNKNOWN}; // a virtual machine may take microseconds to answer
    int8_t answer = known.load(std::memory_order_relaxed);
    if (answer == UNKNOWN) {
        unsigned a = 0, b = 0, c = 0, d = 0;
        answer = __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_SSSE3) != 0 ? 1 : 0;
        known.store(answer, std::memory_order_relaxed);
    }
    return answer != 0;
}

} // namespace qbgl
