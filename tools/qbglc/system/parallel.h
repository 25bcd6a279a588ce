// A loop shared by several threads.
#pragma once

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace qbgl::compiler {

// Calls work(i) for every i below `count`, in the order of i as far as threads go. After an exception no further call begins, and
// the first exception is thrown here.
template <class Function> void parallel_for(size_t count, unsigned threads, Function work) {
    std::atomic<size_t> next{0};
    std::mutex mutex;
    std::exception_ptr failure;
    const auto run = [&] {
        for (size_t i; (i = next.fetch_add(1)) < count;) {
            try {
                work(i);
            } catch (...) {
                const std::lock_guard lock(mutex);
                if (!failure) failure = std::current_exception();
                next = count;
            }
        }
    };
    std::vector<std::jthread> helpers;
    for (unsigned i = 1; i < threads && i < count; ++i) helpers.emplace_back(run);
    run();
    helpers.clear();
    if (failure) std::rethrow_exception(failure);
}

} // namespace qbgl::compiler
