// Memory kept for what must not fail when there is no more.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>

namespace qbgl_sqlite {

// By one exchange, for SQLite compares in several threads when it sorts (PRAGMA threads).
class Reserve {
  public:
    Reserve() = default;
    Reserve(const Reserve &) = delete;
    Reserve &operator=(const Reserve &) = delete;
    ~Reserve() { release(); }

    // Whether it is full then.
    bool fill() {
        if (block_ != nullptr) return true;
        void *const block = std::malloc(SIZE);
        void *const before = block != nullptr ? block_.exchange(block) : nullptr;
        std::free(before);
        return block != nullptr;
    }
    void release() { std::free(block_.exchange(nullptr)); }

  private:
    static constexpr size_t SIZE = size_t{1} << 20; // for two texts of some 100,000 characters
    std::atomic<void *> block_ = nullptr;
};

} // namespace qbgl_sqlite
