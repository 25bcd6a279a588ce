// Ownership as a type: memory that is freed through the table's free slot, and streams that are closed through its close slot, on
// every path out of a function.
#pragma once

#include "qbgl.h"

#include <utility>

namespace qbgl {

// A block from _gl_alloc_ptr. What it holds needs no destructor of its own.
template <class T> class Owned {
  public:
    Owned() = default;
    explicit Owned(T *block) : block_(block) {}
    Owned(Owned &&other) noexcept : block_(other.release()) {}
    Owned &operator=(Owned &&other) noexcept {
        reset(other.release());
        return *this;
    }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    ~Owned() { _gl_free_ptr(block_); }

    // Room for `count` values, uninitialised; null when memory is out or the size does not fit 32 bits.
    static Owned allocate(uint32_t count = 1) {
        if (count > UINT32_MAX / sizeof(T)) return Owned();
        return Owned(static_cast<T *>(_gl_alloc_ptr(count * static_cast<uint32_t>(sizeof(T)))));
    }

    T *get() const { return block_; }
    T *operator->() const { return block_; }
    T &operator*() const { return *block_; }
    T &operator[](uint32_t i) const { return block_[i]; }
    explicit operator bool() const { return block_ != nullptr; }
    [[nodiscard]] T *release() { return std::exchange(block_, nullptr); }
    void reset(T *block = nullptr) { _gl_free_ptr(std::exchange(block_, block)); }

  private:
    T *block_ = nullptr;
};

// A stream opened through the table.
class Stream {
  public:
    explicit Stream(FILE *stream) : stream_(stream) {}
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    ~Stream() { close(); }

    FILE *get() const { return stream_; }
    explicit operator bool() const { return stream_ != nullptr; }
    void close() {
        if (FILE *stream = std::exchange(stream_, nullptr)) _gl_ext_fclose(stream);
    }

  private:
    FILE *stream_;
};

} // namespace qbgl
