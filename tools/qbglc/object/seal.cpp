#include "object/seal.h"

#include <fmt/format.h>

#include <bit>
#include <cstdlib>
#include <cstring>

namespace qbgl::compiler {

namespace {

static_assert(std::endian::native == std::endian::little, "the sum takes words as they lie in memory");

constexpr int COUNT_LINE = 3;         // of the header, holds the number of lines
constexpr int MOST_HEADER_LINES = 64; // a damaged number is not followed further

// FNV-1a over words of eight bytes, with a rotation that carries the upper bits down. Every step is a bijection, so that damage
// within one word always shows.
class Sum {
  public:
    void add(std::string_view bytes) {
        mix(bytes.size());
        uint64_t word;
        for (; bytes.size() >= sizeof word; bytes.remove_prefix(sizeof word)) {
            std::memcpy(&word, bytes.data(), sizeof word);
            mix(word);
        }
        word = 0;
        std::memcpy(&word, bytes.data(), bytes.size());
        mix(word);
    }
    std::string hex() const { return fmt::format("{:016x}", value_); }

  private:
    void mix(uint64_t word) { value_ = std::rotl((value_ ^ word) * 0x100000001B3, 29); }

    uint64_t value_ = 0xCBF29CE484222325;
};

std::string sum_of(std::string_view before, std::string_view after) {
    Sum sum;
    sum.add(before);
    sum.add(after);
    return sum.hex();
}

// The header line that begins with `key`, without its end; nothing at a null place when there is none.
std::string_view header_line(std::string_view object, std::string_view key) {
    long lines = COUNT_LINE;
    for (int i = 1; i <= lines && i <= MOST_HEADER_LINES; ++i) {
        const size_t end = object.find('\n');
        if (end == std::string_view::npos) break;
        const std::string_view line = object.substr(0, end);
        if (line.starts_with(key)) return line;
        if (i == COUNT_LINE) lines = std::strtol(std::string(line.substr(line.find('=') + 1)).c_str(), nullptr, 10);
        object.remove_prefix(end + 1);
    }
    return {};
}

} // namespace

void seal(std::string &object, size_t end_of_header) {
    const std::string_view text = object;
    const std::string sum = sum_of(text.substr(0, end_of_header), text.substr(end_of_header));
    object.insert(end_of_header, fmt::format("{}{}\n", CHECKSUM_LINE, sum));
}

Seal check_seal(std::string_view object) {
    const std::string_view line = header_line(object, CHECKSUM_LINE);
    if (line.empty()) return Seal::NONE;
    const auto at = static_cast<size_t>(line.data() - object.data());
    const std::string sum = sum_of(object.substr(0, at), object.substr(at + line.size() + 1));
    return line.substr(CHECKSUM_LINE.size()) == sum ? Seal::WHOLE : Seal::BROKEN;
}

std::string_view header_value(std::string_view object, std::string_view key) {
    const std::string_view line = header_line(object, key);
    return line.substr(std::min(key.size(), line.size()));
}

} // namespace qbgl::compiler
