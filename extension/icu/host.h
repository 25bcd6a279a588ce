// What the host lends: its memory, its streams, its log. Until it has, libc's are used, and messages go nowhere.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <utility>

namespace qbgl::icu {

struct Host {
    void *(*malloc)(uint32_t size);
    void *(*calloc)(uint32_t count, uint32_t size);
    void *(*realloc)(void *block, uint32_t size);
    void (*free)(void *block);
    int (*fgetc)(FILE *stream);
    int (*fseek)(FILE *stream, int32_t offset, int whence);
    long (*ftell)(FILE *stream);
    int (*ferror)(FILE *stream);
    int (*feof)(FILE *stream);
    void (*print)(const char *text);
    int message_level, message_sublevel;
};

extern Host host;

// A block of the host's memory, uninitialised; null when memory is out.
void *allocate(size_t size);

// Logs a sentence, where the host wants messages.
[[gnu::format(printf, 1, 2)]] void say(const char *format, ...);

class KeepErrno {
  public:
    KeepErrno() = default;
    KeepErrno(const KeepErrno &) = delete;
    KeepErrno &operator=(const KeepErrno &) = delete;
    ~KeepErrno() { errno = older_; }

  private:
    const int older_ = errno;
};

// An object in the host's memory. It is made with make<T>() and needs no more than its destructor.
template <class T> class Owned {
  public:
    Owned() = default;
    explicit Owned(T *object) : object_(object) {}
    Owned(Owned &&other) noexcept : object_(other.release()) {}
    Owned &operator=(Owned &&other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Owned() { reset(); }

    T *get() const { return object_; }
    T *operator->() const { return object_; }
    T &operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }
    [[nodiscard]] T *release() { return std::exchange(object_, nullptr); }
    void reset(T *object = nullptr) {
        if (T *const old = std::exchange(object_, object)) {
            old->~T();
            host.free(old);
        }
    }

  private:
    T *object_ = nullptr;
};

// Null when memory is out.
template <class T, class... Arguments> Owned<T> make(Arguments &&...arguments) {
    void *const block = allocate(sizeof(T));
    return block != nullptr ? Owned<T>(::new (block) T(std::forward<Arguments>(arguments)...)) : Owned<T>();
}

// Room for values that need no construction: on the stack for the usual text, in the host's memory for a long one.
template <class T, size_t INLINE> class Scratch {
  public:
    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch() {
        if (block_ != nullptr) host.free(block_);
    }

    // Makes room for `count` values; what was there is lost. False when memory is out.
    bool reserve(size_t count) {
        if (count <= capacity()) return true;
        if (count > SIZE_MAX / sizeof(T)) return false;
        T *const block = static_cast<T *>(allocate(count * sizeof(T)));
        if (block == nullptr) return false;
        if (block_ != nullptr) host.free(block_);
        block_ = block;
        capacity_ = count;
        return true;
    }

    T *data() { return block_ != nullptr ? block_ : inline_; }
    size_t capacity() const { return block_ != nullptr ? capacity_ : INLINE; }
    T &operator[](size_t i) { return data()[i]; }

  private:
    T *block_ = nullptr;
    size_t capacity_ = 0;
    T inline_[INLINE];
};

} // namespace qbgl::icu
