// Reading the text form of a table. Nothing in it is trusted: lengths, flags, runs, indexes and the depth of the tree are checked
// here, so that walks need no checks.
//
//   MAX MIN FLAGS DEFAULT-ENTRY
//   uncompressed: nodes in pre-order       compressed: F D, then F flag arrays, D data arrays, then nodes in pre-order
//     HAS-FLAGS HAS-DATA                     HAS-FLAGS HAS-DATA FLAG-INDEX DATA-INDEX
//     [flag array] [data array]              or, where FLAGS has 4: 2 NODE, as that line of 1 or 0 at the same depth, counted
//                                            from 0, and all below it
//   compact, where FLAGS has 8: as compressed, but D lines of numbers (ByteReader::number): the first byte of a data array, how
//   many entries it has, and those (RunReader, over all arrays); then in one line the nodes. A node is 0 and NODE, or 1 +
//   FLAG-INDEX, and 0 for no data array, or 1 + the coded difference of DATA-INDEX from what follows on the one that was named last
//   array: run lines "FFCCCRRR items", C items from index F on, R times in a row; then "0000000"
#include "multi/read.h"

#include "multi/nodes.h"
#include "util/growing.h"

#include <algorithm>
#include <string.h>

using namespace qbgl;

namespace {

// The nodes and keys that a walk through a table may come by where nodes stand for others: more than any codeset has.
constexpr uint32_t MOST_OF_WALK = 1U << 22;
constexpr long REPEATED = 2; // begins the line of such a node

struct Run {
    unsigned first, count, repeat;
};

enum class RunLine { ITEMS, END, BAD };

class TableReader {
  public:
    TableReader(ByteReader &in, gl_multi &table, EntryReader reader, void *self)
        : in_(in), table_(table), reader_(reader), self_(self), stride_(size_t{1} << table.element_shift) {}

    bool read() {
        in_.skip_one_blank();
        if (!reader_(in_, table_.default_entry, table_.element_size, self_) || !in_.skip_newline()) return false;
        return (table_.flags & GL_MULTI_COMPRESSED) != 0 ? read_compressed() : read_uncompressed();
    }

    // After a failure: whether memory was out.
    bool starved() const { return starved_; }

  private:
    bool got(bool memory) {
        starved_ |= !memory;
        return memory;
    }

    bool read_uncompressed() {
        table_.root = new_node(table_, 1, true);
        return got(table_.root != nullptr) && read_own_node(*table_.root);
    }

    bool read_compressed() {
        const long flag_arrays = in_.integer();
        const long data_arrays = in_.integer();
        repeats_ = (table_.flags & MULTI_REPEATS) != 0;
        runs_ = is_compact(table_);
        if (runs_ && table_.element_size != sizeof(uint16_t)) return false;
        if (!in_.skip_newline() || !read_shared_flags(flag_arrays) || !read_shared_data(data_arrays)) return false;
        return read_child(table_.root, 1, false) && (!runs_ || in_.skip_newline());
    }

    bool read_own_node(MultiNode &node) {
        const long has_flags = in_.integer();
        const long has_data = in_.integer();
        if (!in_.skip_newline() || !is_bit(has_flags) || !is_bit(has_data)) return false;
        if (has_flags != 0 && !read_flag_array(node.flags)) return false;
        if (has_data != 0 && !read_data_array(node.data)) return false;
        if (memchr(node.flags, FLAG_CHILD, 256) == nullptr) return true;
        if (node.depth >= table_.max_length || !got(make_room_for_children(table_, node))) return false;
        return read_children(node, number_children(node.flags, node.offsets), true);
    }

    // What a line says of a node: the arrays that it shares, -1 for none, or the node that it stands for.
    struct NodeLine {
        long flag_index, data_index, repeated;
    };

    bool read_node_line(NodeLine &line) {
        if (runs_) return read_compact_node(line);
        const long has_flags = in_.integer();
        const long has_data = in_.integer();
        line = {-1, -1, -1};
        if (repeats_ && has_flags == REPEATED) {
            line.repeated = std::max(has_data, -1L);
            return line.repeated >= 0 && in_.skip_newline();
        }
        const long flag_index = in_.integer();
        const long data_index = in_.integer();
        if (!in_.skip_newline() || !is_bit(has_flags) || !is_bit(has_data)) return false;
        if (has_flags != 0) line.flag_index = flag_index;
        if (has_data != 0) line.data_index = data_index;
        return (has_flags == 0 || flag_index >= 0) && (has_data == 0 || data_index >= 0);
    }

    bool read_compact_node(NodeLine &line) {
        uint32_t first, data;
        if (!in_.number(first) || first > INT32_MAX) return false;
        line = {-1, -1, -1};
        if (first == 0) {
            uint32_t number;
            if (!repeats_ || !in_.number(number) || number > INT32_MAX) return false;
            line.repeated = static_cast<long>(number);
            return true;
        }
        line.flag_index = static_cast<long>(first) - 1;
        if (!in_.number(data)) return false;
        if (data == 0) return true;
        const uint32_t index = next_data_ + ByteReader::signed_of(data - 1);
        next_data_ = index + 1;
        line.data_index = static_cast<long>(index);
        return index <= INT32_MAX;
    }

    bool read_sharing_node(MultiNode &node, const NodeLine &line) {
        long index = line.flag_index;
        if (index < 0) {
            if (no_flags_ < 0 && add_shared_flags()) no_flags_ = table_.flag_array_count - 1;
            index = no_flags_;
        }
        if (index < 0 || index >= table_.flag_array_count) return false;
        const SharedFlags &shared = table_.shared_flags[index];
        node.flag_index = static_cast<int32_t>(index);
        node.flags = shared.flags;
        node.offsets = shared.offsets;
        if (line.data_index >= 0) {
            if (line.data_index >= table_.data_array_count) return false;
            node.data_index = static_cast<int32_t>(line.data_index);
            node.data = table_.shared_data[line.data_index];
        }
        if (shared.child_count == 0) return true;
        if (node.depth >= table_.max_length || !got(make_room_for_children(table_, node, shared.child_count))) return false;
        return read_children(node, shared.child_count, false);
    }

    // child_count grows with the children that are there, so that a failure can free them.
    bool read_children(MultiNode &node, int32_t count, bool own) {
        for (int32_t i = 0; i < count; ++i)
            if (!read_child(node.next[node.child_count++], node.depth + 1, own)) return false;
        return true;
    }

    bool read_child(MultiNode *&place, int32_t depth, bool own) {
        if (own) {
            place = new_node(table_, depth, true);
            return got(place != nullptr) && read_own_node(*place);
        }
        NodeLine line;
        if (!read_node_line(line)) return false;
        if (line.repeated >= 0) return repeat_node(place, depth, line.repeated);
        MultiNode *const node = new_node(table_, depth, false);
        if (!got(node != nullptr)) return false;
        if (repeats_ && !list(*node)) {
            free_node(node);
            return false;
        }
        place = node;
        const uint32_t before = walked_;
        if (!read_sharing_node(*node, line)) return false;
        if (!repeats_) return true;
        walked_ += 1 + static_cast<uint32_t>(table_.shared_flags[node->flag_index].end_count);
        sizes_[static_cast<uint32_t>(node->number)] = walked_ - before;
        return walked_ <= MOST_OF_WALK;
    }

    // Nodes of a depth that have been listed before one of the same depth are whole.
    bool repeat_node(MultiNode *&place, int32_t depth, long number) {
        if (number >= table_.node_count || table_.nodes[number]->depth != depth) return false;
        place = table_.nodes[number];
        walked_ += sizes_[static_cast<uint32_t>(number)];
        return walked_ <= MOST_OF_WALK;
    }

    // Takes a node into the table's list, which owns it.
    bool list(MultiNode &node) {
        if (table_.node_count == node_capacity_ && !got(grow(table_.nodes, node_capacity_))) return false;
        if (!got(sizes_.append(0))) return false;
        node.number = table_.node_count;
        table_.nodes[table_.node_count++] = &node;
        return true;
    }

    // Puts one without a flag behind the shared flag arrays.
    bool add_shared_flags() {
        if (table_.flag_array_count == flag_capacity_ && !got(grow(table_.shared_flags, flag_capacity_))) return false;
        SharedFlags &shared = table_.shared_flags[table_.flag_array_count];
        shared = {static_cast<uint8_t *>(_gl_alloc_ptr(256)), static_cast<uint8_t *>(_gl_alloc_ptr(256)), 0, 0};
        ++table_.flag_array_count;
        ++table_.offset_array_count;
        if (!got(shared.flags != nullptr && shared.offsets != nullptr)) return false;
        memset(shared.flags, FLAG_NONE, 256);
        memset(shared.offsets, 0, 256);
        return true;
    }

    // The lists grow as arrays are really read, so that a count alone cannot ask for memory.
    bool read_shared_flags(long count) {
        for (long i = 0; i < count; ++i) {
            if (!add_shared_flags()) return false;
            SharedFlags &shared = table_.shared_flags[table_.flag_array_count - 1];
            if (!read_flag_array(shared.flags)) return false;
            shared.child_count = number_children(shared.flags, shared.offsets);
            shared.end_count = static_cast<int32_t>(std::count(shared.flags, shared.flags + 256, FLAG_END));
        }
        return true;
    }

    bool read_shared_data(long count) {
        int32_t capacity = 0;
        RunReader runs(in_);
        for (long i = 0; i < count; ++i) {
            if (table_.data_array_count == capacity && !got(grow(table_.shared_data, capacity))) return false;
            DataArray data;
            if (!(runs_ ? read_compact_array(runs, data) : read_data_array(data))) return false;
            table_.shared_data[table_.data_array_count - 1] = data; // counted when it was made
        }
        return true;
    }

    template <class T> static bool grow(T *&list, int32_t &capacity) {
        const uint32_t larger = larger_capacity(static_cast<uint32_t>(capacity), 0);
        if (larger > INT32_MAX || !enlarge(list, static_cast<uint32_t>(capacity), larger)) return false;
        capacity = static_cast<int32_t>(larger);
        return true;
    }

    bool read_flag_array(uint8_t *flags) {
        for (;;) {
            Run run;
            const RunLine line = read_run(run);
            if (line != RunLine::ITEMS) return line == RunLine::END;
            for (unsigned i = 0; i < run.count; ++i) {
                const unsigned flag = in_.hex_byte();
                if (flag != FLAG_NONE && flag != FLAG_CHILD && flag != FLAG_END) return false;
                flags[run.first + i] = static_cast<uint8_t>(flag);
            }
            if (!in_.skip_newline()) return false;
            repeat(flags + run.first, run, 1);
        }
    }

    // The runs are gathered in the scratch array, of which the node keeps what they cover.
    bool read_data_array(DataArray &data) {
        if (!scratch_) {
            scratch_ = Owned<uint8_t>::allocate(256U << table_.element_shift);
            if (!got(static_cast<bool>(scratch_))) return false;
            fill_with_default(table_, scratch_.get(), 256);
        }
        unsigned first = 256, end = 0;
        for (;;) {
            Run run;
            const RunLine line = read_run(run);
            if (line == RunLine::BAD) return false;
            if (line == RunLine::END) break;
            uint8_t *entries = scratch_.get() + run.first * stride_;
            for (unsigned i = 0; i < run.count; ++i)
                if (!reader_(in_, entries + i * stride_, table_.element_size, self_)) return false;
            if (!in_.skip_newline()) return false;
            repeat(entries, run, stride_);
            first = std::min(first, run.first);
            end = std::max(end, run.first + run.count * run.repeat);
        }
        if (end == 0) { // no runs: one default entry stands for all
            first = 0;
            end = 1;
        }
        uint8_t *covered = scratch_.get() + first * stride_;
        data = new_data_array(table_, static_cast<int32_t>(first), static_cast<int32_t>(end - first));
        if (!got(data.entries != nullptr)) return false;
        memcpy(data.entries, covered, (end - first) * stride_);
        fill_with_default(table_, covered, static_cast<int32_t>(end - first));
        return true;
    }

    bool read_compact_array(RunReader &runs, DataArray &data) {
        uint32_t first, count;
        if (!in_.number(first) || !in_.number(count) || first > 255 || count < 1 || count > 256 - first) return false;
        auto entries = Owned<uint16_t>::allocate(count);
        if (!got(static_cast<bool>(entries)) || !runs.read(entries.get(), count) || !in_.skip_newline()) return false;
        data = {reinterpret_cast<uint8_t *>(entries.release()), static_cast<int32_t>(first), static_cast<int32_t>(count)};
        ++table_.data_array_count;
        return true;
    }

    // The terminator is seven zeros and its newline: the newline stands where the last digit of the repeat count would.
    RunLine read_run(Run &run) {
        run.first = in_.hex(2);
        run.count = in_.hex(3);
        const unsigned high = in_.hex(2);
        const int last = in_.fgetc();
        run.repeat = high << 4 | hex_digit_value(last);
        if (run.count == 0) return last == '\n' ? RunLine::END : RunLine::BAD;
        return run.repeat >= 1 && run.first + run.count * run.repeat <= 256 ? RunLine::ITEMS : RunLine::BAD;
    }

    static void repeat(uint8_t *first, const Run &run, size_t stride) {
        const size_t size = run.count * stride;
        for (unsigned copy = 1; copy < run.repeat; ++copy) memcpy(first + copy * size, first, size);
    }

    static bool is_bit(long value) { return value == 0 || value == 1; }

    ByteReader &in_;
    gl_multi &table_;
    EntryReader reader_;
    void *self_;
    size_t stride_;
    Owned<uint8_t> scratch_; // 256 default entries between two arrays
    bool starved_ = false;
    int32_t flag_capacity_ = 0;
    int32_t no_flags_ = -1; // the shared array that stands for none, once a node needs it
    bool repeats_ = false, runs_ = false;
    uint32_t next_data_ = 0; // the index behind that of the data array named last, in the compact form
    int32_t node_capacity_ = 0;
    Growing<uint32_t> sizes_; // of the listed nodes: what a walk below them comes by
    uint32_t walked_ = 0;
};

bool call_entry_reader(ByteReader &in, void *destination, uint32_t size, void *self) {
    return (*static_cast<gl_entry_reader *>(self))(in.stream(), destination, size) == 0;
}

} // namespace

TableRead qbgl::read_table(ByteReader &in, gl_multi &table, int longest_key, EntryReader reader, void *self) {
    const long max_length = in.integer();
    const long min_length = in.integer();
    const long flags = in.integer();
    table.error = GL_ENOMEM;
    MultiNode *empty_root = new_node(table, 1, true); // what a failure leaves behind: a table without keys
    if (empty_root == nullptr) return TableRead::FAILED;
    free_nodes(table);
    TableRead result = TableRead::FAILED;
    if (max_length > longest_key || max_length > MAX_KEY)
        table.error = GL_ETABLELEN;
    else if (max_length >= 0 && min_length >= 0 && min_length <= MAX_KEY) {
        table.max_length = static_cast<int32_t>(max_length);
        table.min_length = static_cast<int32_t>(min_length);
        table.flags = static_cast<int32_t>(flags) | MULTI_MARKED;
        TableReader body(in, table, reader, self);
        if (body.read()) {
            free_node(empty_root);
            table.error = 0;
            return TableRead::DONE;
        }
        if (!body.starved() && in.getc() == EOF) result = TableRead::CUT_SHORT;
    }
    free_nodes(table);
    table.root = empty_root;
    table.flag_array_count = 1;
    table.max_length = 0;
    table.min_length = MAX_KEY;
    table.flags = MULTI_MARKED;
    return result;
}

int _gl_fscanf_multi(FILE *stream, gl_multi *table, int longest_key, gl_entry_reader reader) {
    if (table == &empty_table) return -1;
    ByteReader in(stream);
    return read_table(in, *table, longest_key, call_entry_reader, &reader) == TableRead::DONE ? 0 : -1;
}
