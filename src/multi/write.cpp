// Writing the text form of a table.
#include "multi/table.h"

#include <stdio.h>
#include <string.h>

using namespace qbgl;

namespace {

// From this many equal entries in a row on, a run with a repeat count is shorter than the literal items.
constexpr int REPEAT_FROM = 4;

class TableWriter {
  public:
    TableWriter(FILE *stream, const gl_multi &table, gl_entry_writer writer)
        : stream_(stream), table_(table), writer_(writer), stride_(size_t{1} << table.element_shift) {}

    bool write() {
        char head[64];
        snprintf(head, sizeof head, "%d %d %d ", table_.max_length, table_.min_length,
                 table_.flags & ~(MULTI_REPEATS | MULTI_RUNS));
        if (!put(head) || writer_(stream_, table_.default_entry) != 0 || !put("\n")) return false;
        return table_.shared_flags != nullptr ? write_shared() : write_own_node(*table_.root);
    }

  private:
    bool write_own_node(const MultiNode &node) {
        if (!put(node.data.entries != nullptr ? "1 1\n" : "1 0\n") || !write_flags(node.flags)) return false;
        if (node.data.entries != nullptr && !write_data(node.data)) return false;
        for (int byte = 0; byte < 256; ++byte)
            if (node.flags[byte] == FLAG_CHILD && !write_own_node(*child_of(node, static_cast<uint8_t>(byte)))) return false;
        return true;
    }

    bool write_shared() {
        char counts[32];
        snprintf(counts, sizeof counts, "%d %d\n", table_.flag_array_count, table_.data_array_count);
        if (!put(counts)) return false;
        for (int32_t i = 0; i < table_.flag_array_count; ++i)
            if (!write_flags(table_.shared_flags[i].flags)) return false;
        for (int32_t i = 0; i < table_.data_array_count; ++i)
            if (!write_data(table_.shared_data[i])) return false;
        return write_sharing_node(*table_.root);
    }

    bool write_sharing_node(const MultiNode &node) {
        char line[64];
        snprintf(line, sizeof line, "1 %d %d %d\n", node.data.entries != nullptr, node.flag_index,
                 node.data.entries != nullptr ? node.data_index : 0);
        if (!put(line)) return false;
        for (int byte = 0; byte < 256; ++byte)
            if (node.flags[byte] == FLAG_CHILD && !write_sharing_node(*child_of(node, static_cast<uint8_t>(byte)))) return false;
        return true;
    }

    bool write_flags(const uint8_t *flags) {
        const uint8_t empty = FLAG_NONE;
        return write_array(flags, 0, 256, 1, 1, &empty, [this](const uint8_t *flag) {
            char item[8];
            snprintf(item, sizeof item, "%02x", unsigned{*flag});
            return put(item);
        });
    }

    bool write_data(const DataArray &data) {
        return write_array(data.entries, data.first, data.count, table_.element_size, stride_, table_.default_entry,
                           [this](const uint8_t *entry) { return writer_(stream_, entry) == 0; });
    }

    // Runs over everything that is not `empty`: equal entries in a row by repeat count, others literally up to the next of either
    // kind.
    template <class PutItem>
    bool write_array(const uint8_t *items, int first, int count, size_t size, size_t stride, const uint8_t *empty,
                     PutItem put_item) {
        const auto same = [=](const uint8_t *a, const uint8_t *b) { return memcmp(a, b, size) == 0; };
        const auto equal_from = [=](int start) {
            int end = start + 1;
            while (end < count && same(items + start * stride, items + end * stride)) ++end;
            return end - start;
        };
        for (int i = 0; i < count;) {
            if (same(items + i * stride, empty)) {
                ++i;
                continue;
            }
            const int repeat = equal_from(i);
            int literal = 1;
            if (repeat < REPEAT_FROM)
                while (i + literal < count && !same(items + (i + literal) * stride, empty) && equal_from(i + literal) < REPEAT_FROM)
                    ++literal;
            const int copies = repeat < REPEAT_FROM ? 1 : repeat;
            char run[32];
            snprintf(run, sizeof run, "%02x%03x%03x", static_cast<unsigned>(first + i), static_cast<unsigned>(literal),
                     static_cast<unsigned>(copies));
            if (!put(run)) return false;
            for (int k = 0; k < literal; ++k)
                if (!put_item(items + (i + k) * stride)) return false;
            if (!put("\n")) return false;
            i += literal * copies;
        }
        return put("0000000\n");
    }

    bool put(const char *text) {
        const auto length = static_cast<uint32_t>(strlen(text));
        return _gl_ext_fwrite(text, 1, length, stream_) == length;
    }

    FILE *stream_;
    const gl_multi &table_;
    gl_entry_writer writer_;
    size_t stride_;
};

} // namespace

int _gl_fprintf_multi(FILE *stream, gl_multi *table, gl_entry_writer writer) {
    // Every byte is a character of a single-byte codeset, whether it has an entry or not.
    if (table->max_length < 2 && table->min_length == 1 && table != &empty_table) memset(table->root->flags, FLAG_END, 256);
    if ((table->flags & GL_MULTI_COMPRESSED) != 0 && _gl_compress_multi(table) != 0) return -1;
    return TableWriter(stream, *table, writer).write() ? 0 : -1;
}
