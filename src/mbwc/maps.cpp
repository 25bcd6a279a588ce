#include "mbwc/maps.h"

#include "multi/character_table.h"
#include "util/growing.h"

#include <algorithm>
#include <bit>
#include <string.h>
#include <utility>

namespace qbgl {

namespace {

constexpr int DEPTH = 3;              // longest character in the arrays
constexpr uint32_t MAX_BLOCKS = 4096; // ten times what any codeset has
// Any three bytes of this shape have a page, if an empty one.
uint32_t pages_of(TextShape shape, uint32_t page_count) { return shape == TextShape::CONTINUATION ? 1U << 16 : page_count; }
uint32_t plain_values(TextShape shape) { return shape == TextShape::OTHER ? 0 : 1U << 16; }

// The distinct contents of pages. Most pages of a large codeset are alike: ideographs and syllables, without case and of the same
// classes.
class BlockPool {
  public:
    // Makes an empty block. False when memory is out or there are too many.
    bool add_empty() {
        if (count_ == capacity_ && !grow()) return false;
        memset(cells_.get() + count_ * 256, 0, 256 * sizeof(gl_character_cell));
        memset(valid_.get() + count_ * 8, 0, 8 * sizeof(uint32_t));
        return true;
    }

    gl_character_cell *new_cells() { return cells_.get() + count_ * 256; }
    uint32_t *new_valid() { return valid_.get() + count_ * 8; }

    // The number of the block made last: of one like it, when there is one.
    uint32_t number() {
        const uint32_t hash = hash_of(count_);
        for (uint32_t i = 0; i < count_; ++i) {
            if (hashes_[i] == hash && same(i, count_)) return i;
        }
        hashes_[count_] = hash;
        return count_++;
    }

    uint32_t count() const { return count_; }
    bool full() const { return full_; }
    const gl_character_cell *cells() const { return cells_.get(); }
    const uint32_t *valid() const { return valid_.get(); }

  private:
    bool grow() {
        const uint32_t capacity = capacity_ == 0 ? 16 : capacity_ * 4;
        full_ = capacity > MAX_BLOCKS;
        return !full_ && enlarge(cells_, count_ * 256, capacity * 256) && enlarge(valid_, count_ * 8, capacity * 8) &&
               enlarge(hashes_, count_, capacity) && (capacity_ = capacity) != 0;
    }

    uint32_t hash_of(uint32_t block) const {
        uint32_t hash = 0;
        for (uint32_t i = 0; i < 256; ++i) hash = hash * 31 + std::bit_cast<uint32_t>(cells_[block * 256 + i]);
        for (uint32_t i = 0; i < 8; ++i) hash = hash * 31 + valid_[block * 8 + i];
        return hash;
    }

    bool same(uint32_t a, uint32_t b) const {
        return memcmp(cells_.get() + a * 256, cells_.get() + b * 256, 256 * sizeof(gl_character_cell)) == 0 &&
               memcmp(valid_.get() + a * 8, valid_.get() + b * 8, 8 * sizeof(uint32_t)) == 0;
    }

    Owned<gl_character_cell> cells_;
    Owned<uint32_t> valid_, hashes_;
    uint32_t count_ = 0, capacity_ = 0;
    bool full_ = false;
};

// 64 values at a time are neighbours in a block.
void find_plain(const CodesetMaps &maps, uint8_t *plain) {
    constexpr uint32_t NEIGHBOURS = 64;
    const gl_character_cell *before = nullptr; // those of the neighbours before
    for (uint32_t value = 0; value < plain_values(maps.shape); value += NEIGHBOURS) {
        const bool continued = maps.shape == TextShape::CONTINUATION && value >= 0x80;
        const gl_wchar first = continued ? continued_character(value) : value;
        const uint32_t page = first >> 8;
        if (page >= maps.page_count || maps.page_blocks[page] == 0) {
            memset(plain + value, 0, NEIGHBOURS);
            before = nullptr;
            continue;
        }
        const gl_character_cell *const cells = maps.cells + maps.page_blocks[page] * 256U + (first & 0xFF);
        if (std::exchange(before, cells) == cells) { // as in most pages of a large codeset
            memcpy(plain + value, plain + value - NEIGHBOURS, NEIGHBOURS);
            continue;
        }
        for (uint32_t i = 0; i < NEIGHBOURS; ++i)
            plain[value + i] = maps.has(first + i) ? traits_of(cells[i].classes, maps.full_width) : 0;
    }
}

class MapsBuilder {
  public:
    explicit MapsBuilder(const gl_ctype_info &info) : codeset_(*info.codeset_table), cases_(*info.case_table) {}

    bool collect() {
        pages_ = Owned<uint16_t>::allocate(1U << 16);
        if (!pages_) return false;
        memset(pages_.get(), 0, sizeof(uint16_t) << 16);
        const auto nodes = static_cast<uint32_t>(codeset_.node_count);
        made_ = Owned<MadePage>::allocate(nodes + 1);
        if (!made_ || !pool_.add_empty()) return false;
        std::fill_n(made_.get(), nodes, MadePage{});
        pool_.number();
        return collect_node(*codeset_.root, cases_.root, 0, 1);
    }

    bool fits() const { return !pool_.full(); }

    CodesetMaps *assemble(TextShape shape, unsigned full_width) const {
        const uint32_t blocks = pool_.count(), pages = pages_of(shape, page_count_);
        const size_t size = sizeof(CodesetMaps) + blocks * (256 * sizeof(gl_character_cell) + 8 * sizeof(uint32_t)) +
                            pages * sizeof(uint16_t) + plain_values(shape);
        Owned<uint8_t> block = Owned<uint8_t>::allocate(static_cast<uint32_t>(size));
        if (!block) return nullptr;
        auto *cells = reinterpret_cast<gl_character_cell *>(block.get() + sizeof(CodesetMaps));
        auto *valid = reinterpret_cast<uint32_t *>(cells + blocks * 256);
        auto *page_blocks = reinterpret_cast<uint16_t *>(valid + blocks * 8);
        auto *plain = reinterpret_cast<uint8_t *>(page_blocks + pages);
        memcpy(cells, pool_.cells(), blocks * 256 * sizeof *cells);
        memcpy(valid, pool_.valid(), blocks * 8 * sizeof *valid);
        memcpy(page_blocks, pages_.get(), pages * sizeof *page_blocks);
        auto *maps = reinterpret_cast<CodesetMaps *>(block.release());
        *maps = {};
        maps->page_count = page_count_;
        maps->page_blocks = page_blocks;
        maps->valid = valid;
        maps->cells = cells;
        maps->full_width = static_cast<uint16_t>(full_width);
        maps->shape = shape;
        if (shape != TextShape::OTHER) {
            maps->plain = plain;
            (shape == TextShape::ONE_OR_TWO ? maps->pairs : maps->triples) = plain;
            find_plain(*maps, plain);
            maps->pairs_whole = shape == TextShape::CONTINUATION && memchr(plain, 0, 0x800) == nullptr;
            constexpr size_t SURROGATES = 0xD800, BEHIND_THEM = 0xE000;
            maps->whole_plane = shape == TextShape::CONTINUATION && memchr(plain, 0, SURROGATES) == nullptr &&
                                memchr(plain + BEHIND_THEM, 0, 0x10000 - BEHIND_THEM) == nullptr;
        }
        return maps;
    }

  private:
    // `prefix` are the bytes that lead to the node, `cases` is the case table's node behind the same bytes, if it has one.
    bool collect_node(const MultiNode &node, const MultiNode *cases, uint32_t prefix, int depth) {
        if (memchr(node.flags, FLAG_END, 256) != nullptr && is_shortest_form(prefix, depth) && !add_page(node, cases, prefix))
            return false;
        if (depth == DEPTH || node.child_count == 0) return true;
        for (uint32_t byte = 0; byte < 256; ++byte) {
            const auto at = static_cast<uint8_t>(byte);
            if (node.flags[at] != FLAG_CHILD) continue;
            const MultiNode *below = cases != nullptr && cases->flags[at] == FLAG_CHILD ? child_of(*cases, at) : nullptr;
            if (!collect_node(*child_of(node, at), below, prefix << 8 | byte, depth + 1)) return false;
        }
        return true;
    }

    // Whether the values of a node are encoded with as many bytes as lead through it: no zero bytes before them but for the
    // shortest length.
    bool is_shortest_form(uint32_t prefix, int depth) const {
        if (depth == codeset_.min_length) return true;
        return depth > codeset_.min_length && depth > 1 && prefix >> (8 * (depth - 2)) != 0;
    }

    // A node that stands for others has one page for all that have the same node of cases in a row.
    bool add_page(const MultiNode &node, const MultiNode *cases, uint32_t page) {
        MadePage own;
        MadePage &made = codeset_.nodes != nullptr ? made_[static_cast<uint32_t>(node.number)] : own;
        if ((made.block == 0 || made.cases != cases) && !make_page(node, cases, made)) return false;
        pages_[page] = made.block;
        page_count_ = std::max(page_count_, page + 1);
        return true;
    }

    struct MadePage {
        const MultiNode *cases = nullptr;
        uint16_t block = 0;
    };

    bool make_page(const MultiNode &node, const MultiNode *cases, MadePage &made) {
        if (!pool_.add_empty()) return false;
        gl_character_cell *const cells = pool_.new_cells();
        uint32_t *const valid = pool_.new_valid();
        for (uint32_t byte = 0; byte < 256; ++byte) {
            const auto at = static_cast<uint8_t>(byte);
            if (byte % 64 == 0 && memchr(node.flags + byte, FLAG_END, 64) == nullptr) {
                byte += 63;
                continue;
            }
            if (node.flags[at] != FLAG_END) continue;
            valid[byte / 32] |= 1U << (byte % 32);
            cells[byte].classes = value_at(entry_of(codeset_, node, at));
            if (cases != nullptr && cases->flags[at] == FLAG_END) cells[byte].case_pair = value_at(entry_of(cases_, *cases, at));
        }
        made = {cases, static_cast<uint16_t>(pool_.number())};
        return true;
    }

    const gl_multi &codeset_, &cases_;
    BlockPool pool_;
    Owned<uint16_t> pages_; // all 65536 that three bytes can have
    Owned<MadePage> made_;  // of the listed nodes
    uint32_t page_count_ = 0;
};

// `known` are flags of last bytes that were found to be right.
bool uses_continuation_bytes(const MultiNode &node, int further, const uint8_t *&known) {
    if (further == 1 && node.flags == known) return true;
    for (int byte = 0; byte < 256; ++byte) {
        const auto at = static_cast<uint8_t>(byte);
        if (node.flags[at] == FLAG_NONE) continue;
        if (byte < 0x80 || byte > 0xBF || node.flags[at] != (further > 1 ? FLAG_CHILD : FLAG_END)) return false;
        if (further > 1 && !uses_continuation_bytes(*child_of(node, at), further - 1, known)) return false;
    }
    if (further == 1) known = node.flags;
    return true;
}

// Bytes from F0 on may be of any kind: a block with one takes the general way.
bool has_continuation_shape(const MultiNode &root) {
    const uint8_t *known = nullptr;
    for (int byte = 0; byte < 0xF0; ++byte) {
        const auto at = static_cast<uint8_t>(byte);
        if (root.flags[at] == FLAG_NONE) continue;
        const int further = byte < 0x80 ? 0 : byte < 0xC0 ? -1 : byte < 0xE0 ? 1 : 2;
        if (further < 0 || root.flags[at] != (further > 0 ? FLAG_CHILD : FLAG_END)) return false;
        if (further > 0 && !uses_continuation_bytes(*child_of(root, at), further, known)) return false;
    }
    return true;
}

// Covers the lead bytes with two ranges that no single byte is in. Bytes that are neither may be in them: no character begins with
// one, so that the value which the lead's way gives it is not valid; nor is that of the beginning of a longer character. False when
// two ranges do not suffice.
bool find_leads(const MultiNode &root, LeadRange (&ranges)[2]) {
    int used = 0;
    bool open = false;
    ranges[0] = ranges[1] = {1, 0};
    for (int byte = 0; byte < 256; ++byte) {
        const uint8_t flag = root.flags[byte];
        if (flag == FLAG_END) open = false;
        if (flag != FLAG_CHILD) continue;
        if (!open && used++ == 2) return false;
        LeadRange &range = ranges[used - 1];
        if (!open) range.first = static_cast<uint8_t>(byte);
        range.last = static_cast<uint8_t>(byte);
        open = true;
    }
    return used > 0;
}

} // namespace

bool build_codeset_maps(const gl_ctype_info &info, unsigned full_width, CodesetMaps *&maps) {
    maps = nullptr;
    MapsBuilder builder(info);
    if (!builder.collect()) return !builder.fits();
    const MultiNode &root = *info.codeset_table->root;
    LeadRange leads[2] = {};
    TextShape shape = TextShape::OTHER;
    // Nothing is read behind a NUL byte, whatever it is.
    if (info.codeset_table->max_length > 1 && info.codeset_table->min_length == 1 && root.flags[0] == FLAG_END) {
        if (has_continuation_shape(root))
            shape = TextShape::CONTINUATION;
        else if (find_leads(root, leads))
            shape = TextShape::ONE_OR_TWO;
    }
    maps = builder.assemble(shape, full_width);
    if (maps == nullptr) return false;
    maps->leads[0] = leads[0];
    maps->leads[1] = leads[1];
    for (gl_wchar byte = 0; byte < 256; ++byte) maps->single[byte] = root.flags[byte] == FLAG_END ? maps->traits(byte) : 0;
    maps->ascii_plain = memchr(maps->single, 0, 0x80) == nullptr;
    maps->all_single = memchr(maps->single, 0, 0x100) == nullptr;
    return true;
}

void free_codeset_maps(const gl_codeset_maps *maps) { _gl_free_ptr(const_cast<gl_codeset_maps *>(maps)); }

} // namespace qbgl
