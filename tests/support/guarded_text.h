// Text in memory that ends where no page is: whatever reads behind it ends the process.
#pragma once

#include <cstdlib>
#include <cstring>
#include <span>
#include <sys/mman.h>

namespace qbgl_test {

template <class T> class Guarded {
  public:
    explicit Guarded(std::span<const T> text) : text_(reinterpret_cast<T *>(pages_ + ROOM - text.size_bytes())) {
        if (text.size_bytes() > ROOM || mprotect(pages_ + ROOM, PAGE, PROT_NONE) != 0) std::abort();
        if (!text.empty()) std::memcpy(text_, text.data(), text.size_bytes());
    }
    Guarded &operator=(Guarded &&) = delete;
    ~Guarded() { munmap(pages_, ROOM + PAGE); }
    operator T *() const { return text_; }

  private:
    static constexpr size_t PAGE = 4096, ROOM = 4 * PAGE;
    char *const pages_ =
        static_cast<char *>(mmap(nullptr, ROOM + PAGE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    T *const text_;
};

} // namespace qbgl_test
