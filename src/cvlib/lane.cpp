#include "cvlib/lane.h"

#include "cvlib/record.h"
#include "multi/table.h"

#include <algorithm>
#include <bit>
#include <emmintrin.h>
#include <stddef.h>
#include <string.h>

namespace qbgl {

namespace {

// A child's first cell, complemented, has to fit an int32_t; this is far more than any codeset has.
constexpr uint32_t MAX_LANE_NODES = 1U << 16;

bool is_plain(const Record &record, LaneOutput output) {
    if (!record.plain()) return false;
    return output == LaneOutput::TWO_BYTES_REVERSED ? record.length() == 2 : record.length() >= 1 && record.length() <= 3;
}

LaneCell plain_cell(const Record &record, LaneOutput output) {
    uint8_t bytes[4] = {};
    memcpy(bytes, record.output(), static_cast<size_t>(record.length()));
    if (output == LaneOutput::TWO_BYTES_REVERSED) std::swap(bytes[0], bytes[1]);
    const auto value = static_cast<uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16);
    return static_cast<LaneCell>(value | static_cast<uint32_t>(record.length()) << 24);
}

// Longest character that the lane takes. Four-byte codesets have ten thousand nodes of rare characters.
constexpr int LANE_DEPTH = 3;

// Nodes with a plain character below them, the node itself, at `depth` from 1 on, included; 0 when there is none.
uint32_t count_useful(const gl_multi &table, const MultiNode &node, LaneOutput output, int depth) {
    if (depth > LANE_DEPTH) return 0;
    uint32_t below = 0;
    bool plain = false;
    for (int byte = 0; byte < 256; ++byte) {
        const auto b = static_cast<uint8_t>(byte);
        if (node.flags[b] == FLAG_CHILD)
            below += count_useful(table, *child_of(node, b), output, depth + 1);
        else if (node.flags[b] == FLAG_END && !plain)
            plain = is_plain(Record(entry_of(table, node, b)), output);
    }
    return below > 0 || plain ? below + 1 : 0;
}

class LaneBuilder {
  public:
    LaneBuilder(const gl_multi &table, LaneOutput output, Lane &lane) : table_(table), output_(output), lane_(lane) {}

    // Fills the next free node from a table node and returns its first cell.
    int32_t fill(const MultiNode &node, int depth) {
        const uint32_t first = lane_.node_count++ * 256;
        LaneCell *cells = lane_.cells + first;
        memset(cells, 0, 256 * sizeof *cells);
        for (int byte = 0; byte < 256; ++byte) {
            const auto b = static_cast<uint8_t>(byte);
            if (node.flags[b] == FLAG_CHILD) {
                const MultiNode &child = *child_of(node, b);
                if (count_useful(table_, child, output_, depth + 1) > 0) cells[b] = ~fill(child, depth + 1);
            } else if (node.flags[b] == FLAG_END) {
                const Record record(entry_of(table_, node, b));
                if (is_plain(record, output_)) cells[b] = plain_cell(record, output_);
            }
        }
        return static_cast<int32_t>(first);
    }

  private:
    const gl_multi &table_;
    LaneOutput output_;
    Lane &lane_;
};

void find_ascii(Lane &lane) {
    int exceptions = 0;
    for (int byte = 1; byte < 0x80; ++byte) {
        if (lane.cells[byte] == (1 << 24 | byte)) continue;
        if (exceptions == 2) return;
        lane.ascii_exceptions[exceptions++] = static_cast<uint8_t>(byte);
    }
    lane.copies_ascii = true;
}

// Bytes copied at a time.
constexpr int BLOCK = 16;

// Copies ASCII that maps to itself.
class AsciiBlock {
  public:
    explicit AsciiBlock(const Lane &lane)
        : exception0_(_mm_set1_epi8(static_cast<char>(lane.ascii_exceptions[0]))),
          exception1_(_mm_set1_epi8(static_cast<char>(lane.ascii_exceptions[1]))) {}

    // Stores a whole block and returns a bit for each of its bytes that is not converted by that.
    template <bool WRITE> unsigned copy(const uint8_t *in, uintptr_t out) const {
        return copy<WRITE>(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in)), out);
    }
    template <bool WRITE> unsigned copy(__m128i block, uintptr_t out) const {
        if constexpr (WRITE) _mm_storeu_si128(reinterpret_cast<__m128i *>(out), block);
        const __m128i exceptions = _mm_or_si128(_mm_cmpeq_epi8(block, exception0_), _mm_cmpeq_epi8(block, exception1_));
        const __m128i others = _mm_or_si128(_mm_or_si128(exceptions, _mm_cmpeq_epi8(block, _mm_setzero_si128())), block);
        return static_cast<unsigned>(_mm_movemask_epi8(others)); // bit 7 of each byte: set from 0x80 on
    }

  private:
    __m128i exception0_, exception1_;
};

template <bool WRITE> inline void store(uintptr_t out, LaneCell cell) {
    if constexpr (WRITE) memcpy(reinterpret_cast<void *>(out), &cell, sizeof cell);
}

constexpr uint32_t UNIT_BLOCKS = 1024, BLOCK_CELLS = 64; // of 16-bit units
constexpr LaneCell ONE_BYTE = 1 << 24;                   // no cell with a value is less

// The first of the cells of 64 units, or that of cells without a value, which the root has for bytes that begin no character.
LaneCell first_cell(const Lane &lane, uint32_t block) {
    constexpr LaneCell NONE = 0x80, FIRST_LAST_BYTE = 0x80;
    if (block < 2) return static_cast<LaneCell>(block * BLOCK_CELLS);
    if (block >> 5 == 0xD800U >> 11) return NONE; // surrogates
    const LaneCell lead = lane.cells[block < 0x20 ? 0xC0 | block : 0xE0 | block >> 6];
    if (lead >= 0) return NONE;
    const LaneCell second = block < 0x20 ? lead : lane.cells[~lead + static_cast<LaneCell>(0x80 | (block & 0x3F))];
    return second < 0 ? ~second + FIRST_LAST_BYTE : NONE;
}

bool add_units(Lane &lane) {
    const auto *const continuing = lane.cells + 0x80;
    if (std::any_of(continuing, continuing + BLOCK_CELLS, [](LaneCell cell) { return cell != 0; })) return false;
    LaneCell *const first_cells = lane.cells + size_t{lane.node_count} * 256;
    for (uint32_t block = 0; block < UNIT_BLOCKS; ++block) first_cells[block] = first_cell(lane, block);
    return true;
}

// Eight units as they count.
template <UnicodeForm FORM> __m128i load_units(const uint8_t *in) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
    return unicode::is_big_endian(FORM) ? _mm_or_si128(_mm_slli_epi16(units, 8), _mm_srli_epi16(units, 8)) : units;
}

} // namespace

Lane *build_lane(const gl_multi &table, LaneOutput output, LaneInput input) {
    const uint32_t nodes = count_useful(table, *table.root, output, 1);
    if (nodes == 0 || nodes > MAX_LANE_NODES) return nullptr;
    const size_t cells = size_t{nodes} * 256 + (input == LaneInput::UNITS ? UNIT_BLOCKS : 0);
    const auto size = static_cast<uint32_t>(sizeof(Lane) + cells * sizeof(LaneCell));
    auto *lane = static_cast<Lane *>(_gl_alloc_ptr(size));
    if (lane == nullptr) return nullptr;
    *lane = {};
    LaneBuilder(table, output, *lane).fill(*table.root, 1);
    find_ascii(*lane);
    lane->has_units = input == LaneInput::UNITS && add_units(*lane);
    return lane;
}

template <bool WRITE> LanePosition run_lane(const Lane &lane, LanePosition at, const LaneRange &range) {
    const LaneCell *const cells = lane.cells;
    const uint8_t *const in_end = range.in_end;
    const uintptr_t out_end = range.out_end;
    const uint8_t *in = at.in;
    uintptr_t out = at.out;
    const bool blocks = range.read_ahead && lane.copies_ascii;
    const AsciiBlock ascii(lane);
    bool after_one_byte = true;
    // A cell is stored whole, so four bytes of room; and that much input for any character.
    while (in_end - in >= MAX_KEY && out_end - out >= sizeof(LaneCell)) {
        if (blocks && after_one_byte && *in < 0x80) {
            while (in_end - in >= BLOCK && out_end - out >= static_cast<uintptr_t>(BLOCK)) {
                // The whole block is a case of its own: with a constant step the next load need not wait for the comparison.
                if (const unsigned others = ascii.copy<WRITE>(in, out); others != 0) {
                    const int copied = std::countr_zero(others);
                    in += copied;
                    out += static_cast<unsigned>(copied);
                    break;
                }
                in += BLOCK;
                out += BLOCK;
            }
            if (in_end - in < MAX_KEY || out_end - out < sizeof(LaneCell)) break;
        }
        LaneCell cell = cells[in[0]];
        int length = 1;
        if (cell < 0) {
            cell = cells[~cell + in[1]];
            length = 2;
            if (cell < 0) {
                cell = cells[~cell + in[2]];
                length = 3;
            }
        }
        const unsigned written = static_cast<unsigned>(cell) >> 24;
        if (written == 0) break;
        store<WRITE>(out, cell);
        in += length;
        out += written;
        after_one_byte = length == 1;
    }
    return {in, out};
}

template <UnicodeForm FORM, bool WRITE> LanePosition run_unit_lane(const Lane &lane, LanePosition at, const LaneRange &range) {
    constexpr int UNIT = 2;
    const LaneCell *const cells = lane.cells, *const first_cells = cells + size_t{lane.node_count} * 256;
    const uint8_t *in = at.in;
    uintptr_t out = at.out;
    const AsciiBlock ascii(lane);
    bool after_one_byte = true;
    while (range.in_end - in >= UNIT && range.out_end - out >= sizeof(LaneCell)) {
        if (lane.copies_ascii && after_one_byte && unicode::unit_at<FORM>(in) < 0x80) {
            while (range.in_end - in >= BLOCK * UNIT && range.out_end - out >= static_cast<uintptr_t>(BLOCK)) {
                // Units from 0x80 on become FF, or 0.
                const __m128i block = _mm_packus_epi16(load_units<FORM>(in), load_units<FORM>(in + BLOCK));
                const unsigned others = ascii.copy<WRITE>(block, out);
                const int copied = others != 0 ? std::countr_zero(others) : BLOCK;
                in += copied * UNIT;
                out += static_cast<unsigned>(copied);
                if (copied < BLOCK) break;
            }
            if (range.in_end - in < UNIT || range.out_end - out < sizeof(LaneCell)) break;
        }
        const uint32_t unit = unicode::unit_at<FORM>(in);
        const LaneCell cell = cells[first_cells[unit / BLOCK_CELLS] + static_cast<LaneCell>(unit % BLOCK_CELLS)];
        if (cell < ONE_BYTE) break;
        store<WRITE>(out, cell);
        in += UNIT;
        out += static_cast<unsigned>(cell) >> 24;
        after_one_byte = unit < 0x80;
    }
    return {in, out};
}

template <bool WRITE> LanePosition run_single_byte_lane(const Lane &lane, LanePosition at, const LaneRange &range) {
    constexpr int STRIDE = 4;
    constexpr int SPARSE = 4; // from this many copied bytes on, copying ASCII is cheaper than looking a whole block up
    const LaneCell *const cells = lane.cells;
    const AsciiBlock ascii(lane);
    const uint8_t *in = at.in;
    uintptr_t out = at.out;
    while (range.in_end - in >= BLOCK && range.out_end - out >= static_cast<uintptr_t>(BLOCK)) {
        if (lane.copies_ascii) {
            const unsigned others = ascii.copy<WRITE>(in, out);
            if (others == 0) {
                in += BLOCK;
                out += BLOCK;
                continue;
            }
            if (const int copied = std::countr_zero(others); copied >= SPARSE) {
                in += copied;
                out += static_cast<unsigned>(copied);
                continue;
            }
        }
        for (int i = 0; i < BLOCK; i += STRIDE, in += STRIDE, out += STRIDE) {
            const LaneCell a = cells[in[0]], b = cells[in[1]], c = cells[in[2]], d = cells[in[3]];
            if ((a & b & c & d & ONE_BYTE) == 0) return {in, out};
            if constexpr (WRITE) {
                auto *bytes = reinterpret_cast<uint8_t *>(out);
                bytes[0] = static_cast<uint8_t>(a);
                bytes[1] = static_cast<uint8_t>(b);
                bytes[2] = static_cast<uint8_t>(c);
                bytes[3] = static_cast<uint8_t>(d);
            }
        }
    }
    return {in, out};
}

template LanePosition run_lane<true>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_lane<false>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_unit_lane<UnicodeForm::UTF16LE, true>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_unit_lane<UnicodeForm::UTF16LE, false>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_unit_lane<UnicodeForm::UTF16BE, true>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_unit_lane<UnicodeForm::UTF16BE, false>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_single_byte_lane<true>(const Lane &, LanePosition, const LaneRange &);
template LanePosition run_single_byte_lane<false>(const Lane &, LanePosition, const LaneRange &);

} // namespace qbgl
