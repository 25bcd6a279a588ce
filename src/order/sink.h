// Where the bytes of a key go.
#pragma once

#include "mbwc/ranges.h"
#include "order/maps.h"

#include <utility>

namespace qbgl {

// Bytes beyond the room are counted and not written.
class KeySink {
  public:
    KeySink(unsigned char *key, int room) : begin_(key), at_(key), end_(end_of(key, std::max(room, 0))) {}

    void put(uint32_t byte) {
        if (at_ != end_)
            *at_++ = static_cast<uint8_t>(byte);
        else
            ++beyond_;
    }
    void put_all(const uint8_t *bytes, size_t count) {
        const size_t fitting = std::min(count, static_cast<size_t>(end_ - at_));
        at_ = std::copy_n(bytes, fitting, at_);
        beyond_ += count - fitting;
    }
    // A pass ends here. That is told when a later one has anything to say, and with it how many there are until that one: the more,
    // the less the byte.
    void separate() { ++pending_; }
    void begin_pass() {
        if (pending_ > 0) put(FIRST_WEIGHT_BYTE - pending_);
        pending_ = 0;
    }

    // The byte that begin_pass would write, for those who write themselves.
    uint8_t take_separator() { return static_cast<uint8_t>(FIRST_WEIGHT_BYTE - std::exchange(pending_, 0)); }
    uint8_t *position() const { return at_; }
    uint8_t *end() const { return end_; }
    size_t room() const { return static_cast<size_t>(end_ - at_); }
    void advance(uint8_t *to) { at_ = to; }
    // Bytes that stand at the position as far as they fit.
    void take(size_t count) {
        const size_t fitting = std::min(count, room());
        at_ += fitting;
        beyond_ += count - fitting;
    }

    bool is_full() const { return at_ == end_; }
    int written() const { return static_cast<int>(at_ - begin_); }
    int size() const { return static_cast<int>(std::min<uint64_t>(static_cast<size_t>(at_ - begin_) + beyond_, INT32_MAX)); }

  private:
    uint8_t *begin_, *at_, *end_;
    uint64_t beyond_ = 0;
    uint32_t pending_ = 0;
};

} // namespace qbgl
