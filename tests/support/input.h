// Bytes as a source of choices: a fuzzer's, or a generator's.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qbgl_test {

class Input {
  public:
    Input(const uint8_t *data, size_t size) : data_(data), size_(size) {}

    // Zeros behind the end.
    unsigned byte() { return at_ < size_ ? data_[at_++] : 0; }
    unsigned word() {
        const unsigned high = byte();
        return high << 8 | byte();
    }
    unsigned below(unsigned limit) { return byte() % limit; }
    bool at_end() const { return at_ == size_; }

  private:
    const uint8_t *data_;
    size_t size_, at_ = 0;
};

} // namespace qbgl_test
