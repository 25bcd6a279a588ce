#include "object/text.h"

#include "system/error.h"

#include <fmt/format.h>

#include <cstdlib>
#include <new>
#include <utility>

namespace qbgl::compiler {

namespace {

constexpr size_t LONGEST_HEADER_LINE = 126; // the reader's buffer has room for the newline and a terminator, too

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

} // namespace

std::string object_header(std::string_view file_type, std::string_view version, const std::vector<std::string> &lines,
                          size_t further, std::string_view count_keyword) {
    const size_t count = 3 + lines.size() + further + 1; // the seal
    std::string text = fmt::format("FILE_TYPE={}\nCOMPILER_VERSION={}\n{}={}\n", file_type, version, count_keyword, count);
    for (const std::string &line : lines) {
        if (line.size() > LONGEST_HEADER_LINE) throw DataError(line + ": header line too long");
        text += line + '\n';
    }
    return text;
}

std::string ratio_text(int growth, int per) {
    const long long millionths = (growth * 1000000LL + per - 1) / per;
    std::string text = fmt::format("{}.{:06}", millionths / 1000000, millionths % 1000000);
    while (text.ends_with('0') && text[text.size() - 2] != '.') text.pop_back();
    return text;
}

TableWriter::TableWriter(size_t entry_size, const void *default_entry)
    : table_(_gl_create_multi(static_cast<uint32_t>(entry_size), 0, default_entry)) {
    if (!table_) throw std::bad_alloc();
}

void TableWriter::insert(const Sequence &key, const void *entry) {
    gl_desc desc{key.length, {}};
    std::copy_n(key.bytes.begin(), key.length, desc.bytes);
    if (_gl_insert_desc_multi(&desc, entry, table_.get()) != 0)
        throw DataError(fmt::format("{}: a character that begins another one, or that another one begins", key.hex()));
}

std::string TableWriter::text(gl_entry_writer writer) {
    MemoryStream stream;
    if (_gl_compress_multi(table_.get()) != 0 || _gl_fprintf_multi(stream.get(), table_.get(), writer) != 0) throw std::bad_alloc();
    return stream.take();
}

} // namespace qbgl::compiler
