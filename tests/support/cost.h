// What something costs, in time of the processor, which does not depend on what else the machine does.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <ctime>

namespace qbgl_test {

template <class Body> double seconds_of(Body body) {
    timespec begin, end;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &begin);
    body();
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &end);
    return static_cast<double>(end.tv_sec - begin.tv_sec) + 1e-9 * static_cast<double>(end.tv_nsec - begin.tv_nsec);
}

// The cost of a size and of eight times as much: three times what is in proportion is allowed, a square is 64 times the one.
template <class Body> void expect_in_proportion(size_t size, Body body) {
    body(size); // for the caches
    const double once = seconds_of([&] { body(size); });
    EXPECT_LT(seconds_of([&] { body(8 * size); }), 24 * once + 0.05);
}

} // namespace qbgl_test
