#include "conversion_object.h"

#include "error.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

namespace qbgl::compiler {

namespace {

constexpr size_t LONGEST_HEADER_LINE = 126; // the reader's buffer has room for the newline and a terminator, too

struct FreeTable {
    void operator()(gl_multi *table) const { _gl_free_multi(table); }
};
using Table = std::unique_ptr<gl_multi, FreeTable>;

// A stream that collects what is written to it.
class MemoryStream {
  public:
    MemoryStream() : stream_(open_memstream(&text_, &size_)) {
        if (stream_ == nullptr) throw std::bad_alloc();
    }
    MemoryStream(const MemoryStream &) = delete;
    MemoryStream &operator=(const MemoryStream &) = delete;
    ~MemoryStream() {
        if (stream_ != nullptr) std::fclose(stream_);
        std::free(text_);
    }
    FILE *get() const { return stream_; }
    std::string take() {
        const bool good = std::fclose(std::exchange(stream_, nullptr)) == 0;
        if (!good) throw std::bad_alloc();
        return std::string(text_, size_);
    }

  private:
    char *text_ = nullptr;
    size_t size_ = 0;
    FILE *stream_;
};

int write_entry(FILE *stream, const void *entry) {
    constexpr const char *DIGITS = "0123456789abcdef";
    const auto *bytes = static_cast<const uint8_t *>(entry);
    const int count = 1 + (bytes[0] & 7);
    for (int i = 0; i < count; ++i) {
        putc_unlocked(DIGITS[bytes[i] >> 4], stream);
        putc_unlocked(DIGITS[bytes[i] & 15], stream);
    }
    return std::ferror(stream) ? -1 : 0;
}

void write_table(FILE *stream, const std::vector<ConversionRecord> &records, int target_max) {
    const std::array<uint8_t, 1 + Sequence::MAX> unmapped{};
    const Table table(_gl_create_multi(static_cast<uint32_t>(target_max) + 1, 0, unmapped.data()));
    if (!table) throw std::bad_alloc();
    for (const ConversionRecord &record : records) {
        gl_desc key{record.key.length, {}};
        std::copy_n(record.key.bytes.begin(), record.key.length, key.bytes);
        std::array<uint8_t, 1 + Sequence::MAX> entry{record.control};
        std::copy_n(record.output.bytes.begin(), record.output.length, entry.begin() + 1);
        if (_gl_insert_desc_multi(&key, record.control == 0 ? nullptr : entry.data(), table.get()) != 0)
            throw DataError(fmt::format("{}: a character that begins another one, or that another one begins", record.key.hex()));
    }
    if (_gl_compress_multi(table.get()) != 0 || _gl_fprintf_multi(stream, table.get(), write_entry) != 0) throw std::bad_alloc();
}

// In millionths, rounded up and computed in integers, so that every machine writes the same digits.
std::string ratio(int growth, int per) {
    const long long millionths = (growth * 1000000LL + per - 1) / per;
    std::string text = fmt::format("{}.{:06}", millionths / 1000000, millionths % 1000000);
    while (text.ends_with('0') && text[text.size() - 2] != '.') text.pop_back();
    return text;
}

} // namespace

std::string conversion_header(const std::vector<std::string> &lines) {
    std::string text = fmt::format("FILE_TYPE=codeset_conversion_object\nCOMPILER_VERSION=9\nHEADER_LINES={}\n", lines.size() + 3);
    for (const std::string &line : lines) {
        if (line.size() > LONGEST_HEADER_LINE) throw DataError(line + ": header line too long");
        text += line + '\n';
    }
    return text;
}

std::string conversion_object(const Conversion &conversion, const std::string &header) {
    const char *shift_sequences = conversion.target_stateful ? "10e10f00" : "0000";
    std::string text = header;
    text += fmt::format("{:d} {:d}\n{}\n", conversion.source_stateful, conversion.target_stateful, shift_sequences);
    text += fmt::format("{} {} 0 0 {} {}\n", conversion.target.min, conversion.target.max, conversion.source.min,
                        conversion.source.max);
    text += fmt::format("0\n{}\n", ratio(conversion.growth, conversion.per));
    MemoryStream stream;
    write_table(stream.get(), conversion.main, conversion.target.max);
    if (conversion.source_stateful) write_table(stream.get(), conversion.shifted, conversion.target.max);
    return text + stream.take();
}

} // namespace qbgl::compiler
