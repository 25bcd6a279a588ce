// The bytes of a stream, through the fgetc and fwrite slots. A multibyte character is several of them: where no host has replaced
// the slot they pass libc's buffer under one lock, so that threads that share a stream do not split it.
#pragma once

#include "qbgl.h"

#include <stdio.h>
#include <sys/single_threaded.h>

namespace qbgl {

inline bool slot_is_default(unsigned id) { return _gl_ext_func == 0 || _gl_get_ext_funcptr(id) == nullptr; }

// The next byte, or -1.
inline int local_fgetc(void *stream) { return _gl_ext_fgetc(static_cast<FILE *>(stream)); }

// Writes a byte: 0, or -1.
inline int local_fputc(int byte, void *stream) {
    const auto item = static_cast<uint8_t>(byte);
    return _gl_ext_fwrite(&item, 1, 1, static_cast<FILE *>(stream)) == 1 ? 0 : -1;
}

class StreamLock {
  public:
    StreamLock(FILE *stream, unsigned slot)
        : stream_(stream), direct_(slot_is_default(slot)), locked_(direct_ && __libc_single_threaded == 0) {
        if (locked_) flockfile(stream_);
    }
    StreamLock(const StreamLock &) = delete;
    StreamLock &operator=(const StreamLock &) = delete;
    ~StreamLock() {
        if (locked_) funlockfile(stream_);
    }

  protected:
    FILE *const stream_;
    const bool direct_;

  private:
    const bool locked_; // two thirds of the time that a character takes: not where there is no other thread
};

class StreamSource : StreamLock {
  public:
    explicit StreamSource(FILE *stream) : StreamLock(stream, GL_EXT_FGETC) {}
    // As local_fgetc.
    int operator()() const { return direct_ ? getc_unlocked(stream_) : local_fgetc(stream_); }
};

class StreamSink : StreamLock {
  public:
    explicit StreamSink(FILE *stream) : StreamLock(stream, GL_EXT_FWRITE) {}
    // As local_fputc.
    int operator()(uint8_t byte) const {
        if (!direct_) return local_fputc(byte, stream_);
        return putc_unlocked(byte, stream_) != EOF ? 0 : -1;
    }
};

} // namespace qbgl
