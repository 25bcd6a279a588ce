// The characters that all passes ignore, and those that no pass tells apart.
#include "coll/lists.h"
#include "ext/error.h"
#include "multi/character_table.h"
#include "multi/walk.h"

#include <span>

namespace qbgl {

namespace {

constexpr uint32_t PADDING = 4; // zero bytes behind each text
constexpr int LONGEST_ELEMENT = 15;

class Gatherer {
  public:
    Gatherer(const gl_collate_info &info, const RowGroups &groups) : info_(info), groups_(groups) {}

    // 0 or an error number.
    int gather() {
        for (int32_t i = 0; i < info_.element_count; ++i) {
            const gl_collating_element &element = info_.elements[i];
            if (const int error = save_encoded({element.chars, static_cast<size_t>(element.count)}, element.row); error != 0)
                return error;
        }
        for (uint32_t i = 0; i < groups_.expansion_rows.size(); i += 2) {
            const gl_expansion &expansion = info_.expansions[groups_.expansion_rows[i + 1]];
            const auto row = static_cast<uint32_t>(groups_.expansion_rows[i]);
            if (const int error = save_encoded({expansion.chars, static_cast<size_t>(expansion.count)}, row); error != 0)
                return error;
        }
        const auto nodes = static_cast<uint32_t>(info_.character_table->node_count);
        barren_ = Owned<uint8_t>::allocate(nodes + 1);
        if (!barren_) return GL_ENOMEM;
        memset(barren_.get(), 0, nodes);
        char key[MAX_KEY];
        return save_characters(*info_.character_table->root, key, key) ? 0 : GL_ENOMEM;
    }

    // Null-terminated. Null when memory is out.
    char **all_one_list() const {
        uint64_t count = 0, bytes = 0;
        for (uint32_t i = 0; i < saved_.size(); ++i) {
            if (saved_[i].group != RowGroups::ALL_ONE) continue;
            ++count;
            bytes += saved_[i].length + PADDING;
        }
        char *texts;
        char **list = allocate_list<char *>(count + 1, bytes, texts);
        if (list == nullptr) return nullptr;
        char **next = list;
        for (uint32_t i = 0; i < saved_.size(); ++i)
            if (saved_[i].group == RowGroups::ALL_ONE) *next++ = copy_text(saved_[i], texts);
        *next = nullptr;
        return list;
    }

    // Ended by a pair of nulls; null without any pair. False when memory is out.
    bool equivalence_pairs(gl_equivalence *&pairs) const {
        const auto class_count = static_cast<uint32_t>(groups_.class_count);
        Owned<uint32_t> end = Owned<uint32_t>::allocate(class_count + 1); // of each class, once its texts are in order
        Owned<uint32_t> in_order = Owned<uint32_t>::allocate(saved_.size() + 1);
        if (!end || !in_order) return false;
        put_in_order(end.get(), in_order.get());

        uint64_t pair_count = 0, bytes = 0;
        for (uint32_t number = 0, begin = 0; number < class_count; begin = end[number++]) {
            if (end[number] - begin < 2) continue;
            pair_count += end[number] - begin - 1;
            for (uint32_t i = begin; i < end[number]; ++i) bytes += saved_[in_order[i]].length + PADDING;
        }
        pairs = nullptr;
        if (pair_count == 0) return true;
        char *texts;
        pairs = allocate_list<gl_equivalence>(pair_count + 1, bytes, texts);
        if (pairs == nullptr) return false;
        gl_equivalence *next = pairs;
        for (uint32_t number = 0, begin = 0; number < class_count; begin = end[number++]) {
            if (end[number] - begin < 2) continue;
            char *last = copy_text(saved_[in_order[end[number] - 1]], texts);
            for (uint32_t i = begin; i + 1 < end[number]; ++i) *next++ = {copy_text(saved_[in_order[i]], texts), last};
        }
        *next = {nullptr, nullptr};
        return true;
    }

  private:
    struct Saved {
        int32_t group;
        uint32_t offset, length; // in bytes_
    };

    int32_t group_of(uint32_t row) const { return groups_.group[row]; }

    bool save(const char *text, uint32_t length, uint32_t row) {
        const int32_t group = group_of(row);
        return group == RowGroups::NONE || (saved_.append({group, bytes_.size(), length}) && bytes_.append(text, length));
    }

    int save_encoded(std::span<const gl_wchar> characters, uint32_t row) {
        char text[LONGEST_ELEMENT * MAX_KEY];
        uint32_t length = 0;
        for (const gl_wchar wc : characters) {
            const int bytes = encode(*info_.character_table, reinterpret_cast<uint8_t *>(text + length), wc);
            if (bytes == 0) return GL_EILSEQ;
            length += static_cast<uint32_t>(bytes);
        }
        return save(text, length, row) ? 0 : GL_ENOMEM;
    }

    // All characters below a node that is reached by the bytes from `key` to `end`.
    bool save_characters(const MultiNode &node, char *key, char *end) {
        const gl_multi &table = *info_.character_table;
        const auto number = static_cast<uint32_t>(node.number);
        if (table.nodes != nullptr && barren_[number] != 0) return true;
        const uint32_t before = saved_.size();
        for (int byte = 0; byte < 256; ++byte) {
            const auto at = static_cast<uint8_t>(byte);
            *end = static_cast<char>(byte);
            if (node.flags[at] == FLAG_END) {
                const auto length = static_cast<uint32_t>(end + 1 - key);
                if (!save(key, length, value_at(entry_of(table, node, at)))) return false;
            } else if (node.flags[at] == FLAG_CHILD) {
                if (!save_characters(*child_of(node, at), key, end + 1)) return false;
            }
        }
        if (table.nodes != nullptr && saved_.size() == before) barren_[number] = 1;
        return true;
    }

    // The classes one after the other, each in the order in which its texts were saved.
    void put_in_order(uint32_t *end, uint32_t *in_order) const {
        const auto class_count = static_cast<uint32_t>(groups_.class_count);
        memset(end, 0, (class_count + 1) * sizeof *end);
        for (uint32_t i = 0; i < saved_.size(); ++i)
            if (saved_[i].group >= 0) ++end[saved_[i].group + 1];
        for (uint32_t number = 0; number < class_count; ++number) end[number + 1] += end[number];
        for (uint32_t i = 0; i < saved_.size(); ++i)
            if (saved_[i].group >= 0) in_order[end[saved_[i].group]++] = i;
    }

    // One block: `count` items, then room for texts.
    template <class T> static T *allocate_list(uint64_t count, uint64_t bytes, char *&texts) {
        const uint64_t size = count * sizeof(T) + bytes;
        if (size > UINT32_MAX) return nullptr;
        void *block = _gl_alloc_ptr(static_cast<uint32_t>(size));
        if (block == nullptr) return nullptr;
        texts = static_cast<char *>(block) + count * sizeof(T);
        return static_cast<T *>(block);
    }

    char *copy_text(const Saved &saved, char *&texts) const {
        char *copy = texts;
        memcpy(copy, &bytes_[saved.offset], saved.length);
        memset(copy + saved.length, 0, PADDING);
        texts += saved.length + PADDING;
        return copy;
    }

    const gl_collate_info &info_;
    const RowGroups &groups_;
    Growing<Saved> saved_;
    Growing<char> bytes_;
    Owned<uint8_t> barren_; // of the table's listed nodes: those below which there is nothing to save
};

} // namespace

int gather_characters(gl_locale *locale, const RowGroups &groups) {
    Gatherer gatherer(locale->collate, groups);
    if (const int error = gatherer.gather(); error != 0) {
        set_error(locale, error);
        return -1;
    }
    locale->all_one = gatherer.all_one_list();
    if (locale->all_one != nullptr && gatherer.equivalence_pairs(locale->equivalence)) return 0;
    set_error(locale, GL_ENOMEM);
    return -1;
}

} // namespace qbgl
