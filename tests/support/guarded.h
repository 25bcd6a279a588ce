// Blocks of memory beside pages that cannot be read: a byte too far ends the process, or is reported by survives().
#pragma once

#include <csetjmp>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace qbgl_test {

// On which side of the block the unreadable page is.
enum class Guard { before, behind };

// A few places for blocks. What stands beside a block on its other side is checked for writes when the places are used again.
class GuardedMemory {
  public:
    static constexpr size_t ROOM = 1 << 16, MOST_PLACES = 12;

    explicit GuardedMemory(size_t places = MOST_PLACES) : places_(places) {
        void *const pages = mmap(nullptr, size(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) std::abort();
        begin_ = static_cast<char *>(pages);
        for (size_t i = 0; i < places_; ++i)
            if (mprotect(place(i), ROOM, PROT_READ | PROT_WRITE) != 0) std::abort();
    }
    GuardedMemory &operator=(GuardedMemory &&) = delete;
    ~GuardedMemory() { munmap(begin_, size()); }

    // A block of `size` bytes, the bytes of `content` first when it is not null. It stays until the next clear().
    void *take(size_t size, Guard guard, const void *content = nullptr) {
        if (used_ == places_ || size + MARGIN > ROOM) std::abort();
        Block &block = blocks_[used_];
        char *const room = place(used_++);
        block.data = guard == Guard::behind ? room + ROOM - size : room;
        block.margin = guard == Guard::behind ? block.data - MARGIN : room + size;
        std::memset(block.margin, MARK, MARGIN);
        std::memset(block.data, MARK, size);
        if (content != nullptr && size > 0) std::memcpy(block.data, content, size);
        return block.data;
    }

    // Whether nothing was written beside a block. All places are free afterwards.
    bool clear() {
        bool clean = true;
        for (; used_ > 0; --used_)
            for (size_t i = 0; i < MARGIN; ++i) clean &= blocks_[used_ - 1].margin[i] == MARK;
        return clean;
    }

  private:
    static constexpr size_t MARGIN = 64;
    static constexpr char MARK = '\x5C';
    struct Block {
        char *data, *margin;
    };

    size_t size() const { return places_ * (ROOM + page_) + page_; }
    char *place(size_t i) const { return begin_ + page_ + i * (ROOM + page_); }

    const size_t page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE)), places_;
    char *begin_;
    Block blocks_[MOST_PLACES];
    size_t used_ = 0;
};

inline sigjmp_buf *survival = nullptr;

// Runs a function; false when it touched memory that it must not.
template <class Function> bool survives(Function function) {
    struct sigaction action = {}, segmentation, bus;
    action.sa_handler = [](int) { siglongjmp(*survival, 1); };
    sigaction(SIGSEGV, &action, &segmentation);
    sigaction(SIGBUS, &action, &bus);
    sigjmp_buf here;
    survival = &here;
    volatile bool alive = false;
    if (sigsetjmp(here, 1) == 0) {
        function();
        alive = true;
    }
    sigaction(SIGSEGV, &segmentation, nullptr);
    sigaction(SIGBUS, &bus, nullptr);
    return alive;
}

} // namespace qbgl_test
