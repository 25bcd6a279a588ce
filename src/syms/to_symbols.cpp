// From characters to their symbols.
#include "ext/error.h"
#include "syms/symbols.h"

#include <algorithm>
#include <limits.h>
#include <string.h>

using namespace qbgl;

namespace {

constexpr int LONGEST_CHARACTER = 4;

// The output of a call. The first symbol that does not fit ends the writing, not the reading.
class SymbolWriter {
  public:
    SymbolWriter(char *out, int size) : out_(out), room_(std::max(size, 0)) {
        if (room_ > 0) *out_ = '\0';
    }

    void put(std::string_view name) {
        const int length = string_to_symbol(name, out_, room_);
        if (length < 0) {
            room_ = 0;
            return;
        }
        out_ += length;
        room_ -= length;
        written_ += length;
    }
    int result() const { return written_ + 1; }

  private:
    char *out_;
    int room_, written_ = 0;
};

// Puts the name of a character; false with GL_ENOSYM when it has none.
bool mb_to_symbol(gl_charmap *cm, const gl_desc &character, SymbolWriter &out) {
    RangeName buffer;
    const std::string_view name = name_of_character(*cm, character, buffer);
    if (name.empty()) {
        set_error(cm, GL_ENOSYM);
        return false;
    }
    out.put(name);
    return true;
}

bool next_character(gl_charmap *cm, const char *at, int limit, gl_desc &character) {
    if (recognize_charmap_char(*cm, at, limit, character) == 0) return true;
    if (cm->characters != nullptr) set_error(cm, GL_ENOSYM);
    return false;
}

// Where terminated text ends: before as many zero bytes as the shortest character has, whatever longer ones a charmap may list.
const char *end_of(gl_charmap *cm, const char *text) {
    static constexpr char ZEROS[LONGEST_CHARACTER] = {};
    const auto unit = static_cast<size_t>(gl_mb_cm_min(cm));
    while (memcmp(text, ZEROS, unit) != 0) text += unit;
    return text;
}

// The symbols of what stands before `end`, which `in` moves up to.
bool put_symbols(gl_charmap *cm, const char *&in, const char *end, SymbolWriter &out) {
    gl_desc character;
    while (in < end) {
        if (!next_character(cm, in, static_cast<int>(end - in), character) || !mb_to_symbol(cm, character, out)) return false;
        in += character.count;
    }
    return true;
}

int gl_mbstosyms_null(gl_charmap *cm, char *out, int outsize, const char **in) {
    SymbolWriter writer(out, outsize);
    const char *const end = end_of(cm, *in);
    gl_desc terminator;
    const bool good = put_symbols(cm, *in, end, writer) && next_character(cm, end, gl_mb_cm_min(cm), terminator);
    return good ? writer.result() : -1;
}

int gl_mbstosyms_len(gl_charmap *cm, char *out, int outsize, const char **in, int inlen) {
    SymbolWriter writer(out, outsize);
    return put_symbols(cm, *in, *in + inlen, writer) ? writer.result() : -1;
}

// The bytes of wide characters, a block at a time.
class WideBytes {
  public:
    WideBytes(const gl_charmap &cm, const gl_wchar *text, int count) : rest_(text), left_(count), shortest_(shortest_of(cm)) {}

    // Whether there are bytes, as many as a character can have or all that are left.
    bool fill() {
        if (filled_ - begin_ >= LONGEST_CHARACTER) return true;
        memmove(block_, block_ + begin_, static_cast<size_t>(filled_ - begin_));
        filled_ -= begin_;
        begin_ = 0;
        for (; left_ > 0 && filled_ + LONGEST_CHARACTER <= BLOCK; --left_) add(*rest_++);
        return filled_ > 0;
    }
    const char *at() const { return block_ + begin_; }
    int size() const { return filled_ - begin_; }
    void pass(uint32_t bytes) { begin_ += static_cast<int>(bytes); }

  private:
    static constexpr int BLOCK = 512;

    static int shortest_of(const gl_charmap &cm) { return cm.characters != nullptr ? _gl_multi_min_length(cm.characters) : 1; }

    void add(gl_wchar value) {
        const int significant = value > 0xFFFFFF ? 4 : value > 0xFFFF ? 3 : value > 0xFF ? 2 : 1;
        for (int i = std::max(significant, shortest_) - 1; i >= 0; --i) block_[filled_++] = static_cast<char>(value >> (8 * i));
    }

    const gl_wchar *rest_;
    int left_, shortest_;
    char block_[BLOCK];
    int begin_ = 0, filled_ = 0;
};

int length_of(const gl_wchar *text) {
    int length = 0;
    while (text[length] != 0 && length < INT_MAX) ++length;
    return length;
}

// The slots of a list of symbols; those behind the last count, but are not there.
class SlotWriter {
  public:
    SlotWriter(char *list, int slots) : list_(list), left_(std::max(slots, 0)) {}

    bool full() const { return left_ == 0; }
    // A symbol that is longer than a slot leaves it empty.
    void put(std::string_view name) {
        if (full()) return;
        *list_ = '\0';
        string_to_symbol(name, list_, GL_SYMBOL_SLOT);
        list_ += GL_SYMBOL_SLOT;
        --left_;
    }

  private:
    char *list_;
    int left_;
};

} // namespace

int gl_mbstosyms(gl_charmap *cm, char *out, int outsize, const char **in, int inlen) {
    return inlen < 1 ? gl_mbstosyms_null(cm, out, outsize, in) : gl_mbstosyms_len(cm, out, outsize, in, inlen);
}

int gl_wcstosyms(gl_charmap *cm, char *out, int outsize, const gl_wchar **in, int inlen) {
    const int count = inlen < 1 ? length_of(*in) : inlen;
    SymbolWriter writer(out, outsize);
    if (count == 0) return 0;
    WideBytes bytes(*cm, *in, count);
    int characters = 0;
    gl_desc character;
    bool good = true;
    while (good && bytes.fill()) {
        good = next_character(cm, bytes.at(), bytes.size(), character) && mb_to_symbol(cm, character, writer);
        if (!good) break;
        bytes.pass(character.count);
        ++characters;
    }
    *in += std::min(characters, count); // a value whose bytes are several characters counts as these
    return good ? writer.result() : -1;
}

int gl_mbtosymlist(gl_charmap *cm, char *out_list, int max, const char *s, int n) {
    if (cm->characters == nullptr) return -1;
    if (max > 0 && out_list == nullptr) {
        set_error(cm, GL_EBADARG);
        return -1;
    }
    gl_desc character;
    const int error = s != nullptr ? recognize_charmap_char(*cm, s, n, character) : GL_EINVAL;
    if (error != 0) {
        set_error(cm, error);
        return -1;
    }
    const SymbolTable &table = cm->symbols;
    SlotWriter slots(out_list, max);
    int singles = 0;
    for (const SingleSymbol *one = symbol_table_query_desc_sing(table, character); one != nullptr;
         one = next_of_desc(table, *one)) {
        slots.put(name_of(table, one->name));
        ++singles;
    }
    for (uint32_t from = 0; !slots.full();) {
        const RangeMember member = symbol_table_query_desc_range(table, character, from);
        if (member.range == nullptr) break;
        slots.put(calculate_name(table, *member.range, member.offset).view());
        from = static_cast<uint32_t>(member.range - table.ranges.items) + 1;
    }
    const int listed = singles + count_ranges_of_desc(table, character);
    RangeName buffer;
    const std::string_view unlisted = listed == 0 ? name_of_character(*cm, character, buffer) : std::string_view();
    if (unlisted.empty()) return listed;
    slots.put(unlisted);
    return 1;
}
