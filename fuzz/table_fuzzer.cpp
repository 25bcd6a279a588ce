// Bytes as the text of a byte-sequence table. What reads is walked whole, and what is written of it, in both forms, reads back to
// the same mapping.
#include "support.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr uint32_t ENTRY_SIZE = 3;

using Table = std::unique_ptr<gl_multi, decltype(&_gl_free_multi)>;
using File = std::unique_ptr<FILE, decltype(&std::fclose)>;

int read_entry(FILE *stream, void *destination, uint32_t size) {
    const unsigned value = _gl_get_hex(stream, 6);
    std::memcpy(destination, &value, size);
    return 0;
}
int write_entry(FILE *stream, const void *entry) {
    unsigned value = 0;
    std::memcpy(&value, entry, ENTRY_SIZE);
    return std::fprintf(stream, "%06x", value) == 6 ? 0 : -1;
}

Table read(const void *text, size_t size, int longest) {
    const unsigned unlikely = 0xD0D0D0;
    Table table(_gl_create_multi(ENTRY_SIZE, 0, &unlikely), _gl_free_multi);
    const File file(fmemopen(const_cast<void *>(text), size, "r"), std::fclose);
    if (_gl_fscanf_multi(file.get(), table.get(), longest, read_entry) == 0) return table;
    const int error = _gl_multi_err(table.get());
    require(error == GL_ENOMEM || error == GL_ETABLELEN);
    gl_desc key = {4, {1, 2, 3, 4}};
    require(_gl_insert_desc_multi(&key, &unlikely, table.get()) == 0 && _gl_retrieve_desc_multi(&key, table.get()) != nullptr);
    return {nullptr, _gl_free_multi};
}

std::string text_of(gl_multi *table) {
    char *text = nullptr;
    size_t size = 0;
    FILE *file = open_memstream(&text, &size);
    require(_gl_fprintf_multi(file, table, write_entry) == 0);
    std::fclose(file);
    std::string copy(text, size);
    std::free(text);
    return copy;
}

// Visits all keys of two tables at once, with every way to look them up.
void require_same(gl_multi *a, gl_multi *b, gl_desc key) {
    ++key.count;
    for (int byte = 0; byte < 256; ++byte) {
        key.bytes[key.count - 1] = static_cast<uint8_t>(byte);
        const auto *text = reinterpret_cast<const char *>(key.bytes);
        const int limit = static_cast<int>(key.count);
        int32_t error_a = 0, error_b = 0;
        int length_a = 0, length_b = 0;
        const void *entry_a = _gl_retrieve_text_multi_limit(text, a, limit, &length_a, &error_a);
        const void *entry_b = _gl_retrieve_text_multi_limit(text, b, limit, &length_b, &error_b);
        require(error_a == error_b && length_a == length_b && length_a == limit);
        require((entry_a == nullptr) == (entry_b == nullptr) && (entry_a != nullptr) == (error_a == 0));
        require(entry_a == nullptr || std::memcmp(entry_a, entry_b, ENTRY_SIZE) == 0);
        require(_gl_retrieve_desc_multi(&key, a) == entry_a);
        if (error_a == GL_EINVAL) {
            require(limit < 4);
            require_same(a, b, key);
        } else {
            require(_gl_retrieve_text_multi_nv(text, a, nullptr) == (entry_a != nullptr ? limit : 0));
            require(_gl_retrieve_text_multi_nl(text, b, nullptr) == entry_b);
        }
        const gl_wchar wide = _gl_desc_to_gl_wchar(&key);
        const void *of_wide = _gl_retrieve_wchar_multi_nl(nullptr, wide, a);
        require((of_wide == nullptr) == (_gl_retrieve_wchar_multi_nl(nullptr, wide, b) == nullptr));
        gl_cv units = {};
        units.source_min_len = units.source_max_len = limit;
        uint8_t reversed[4] = {};
        for (int i = 0; i < limit; ++i) reversed[i] = key.bytes[limit - 1 - i];
        if (limit == 2 || limit == 4)
            require(_gl_retrieve_little_endian_unicode_limit(reinterpret_cast<char *>(reversed), a, limit, &units) == entry_a);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2) return 0;
    const Table table = read(data + 1, size - 1, data[0] % 5);
    if (!table) return 0;
    const std::string text = text_of(table.get());
    if (text.size() > 1 << 20) return 0; // a few lines can stand for millions
    const Table again = read(text.data(), text.size(), 4);
    require(again != nullptr);
    require_same(table.get(), again.get(), {});
    // One that stands for others is written for each.
    require(_gl_compress_multi(again.get()) == 0 && _gl_multi_node_count(table.get()) <= _gl_multi_node_count(again.get()));
    require_same(table.get(), again.get(), {});
    const std::string compressed = text_of(again.get());
    const Table last = read(compressed.data(), compressed.size(), 4);
    require(last != nullptr && text_of(last.get()) == compressed);
    require_same(table.get(), last.get(), {});
    return 0;
}
