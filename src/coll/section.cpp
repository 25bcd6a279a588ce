// The section of LC_COLLATE:
//
//   as_specified, as_ranked, or thai_smo: nothing else stands in a section of the last
//   character table: a row for each character
//   rank table: a rank for each character of a ranked row, and
//   RANKED                           how many rows are ranked, from the row 1 on: both for as_ranked only
//   DIRECT
//   ROWS PASSES ELEMENTS EXPANSIONS FIFTH
//   DIRECTIONS                       four hexadecimal digits for each pass
//   elements                         lines KRRRRCCCCCCCC...: K characters of eight digits sort as row R
//   expansions                       lines KCCCCCCCC...
//   rows 0 to ROWS                   lines of a weight for each pass, four digits; white space is free where DIRECT is 1
//
// DIRECT 2 is 0 with elements, expansions and rows in the compact form, in numbers (ByteReader::number):
//   elements, in one line            K, the row, K characters, each by its difference from what the element before has in its place
//   expansions, in one line          the same without a row
//   a line for each pass             the weights of all rows (RunReader, each pass from 0 on)
//
// What the object tells of the keys of the order for indexes stands behind that (order/parts.h).
#include "coll/section.h"

#include "coll/lists.h"
#include "coll/maps.h"
#include "ext/error.h"
#include "multi/character_table.h"

#include <algorithm>

using namespace qbgl;

namespace {

constexpr int MODE_LINE_SIZE = 128;
constexpr long MOST_ROWS = 0xFFFF; // rows and elements are numbered with 16 bits, expansions with 14
constexpr long MOST_ELEMENTS = 0xFFFF;
constexpr long MOST_EXPANSIONS = WEIGHT_VALUE + 1;

bool end_line(gl_locale *locale, ByteReader &in) { return in.skip_newline() || fail(locale, GL_EBADFILE, false); }

enum class Mode { AS_SPECIFIED, AS_RANKED, THAI, FAILED };

Mode read_mode(FILE *file, gl_locale *locale) {
    char line[MODE_LINE_SIZE];
    if (_gl_ext_fgets(line, sizeof line, file) == nullptr || strchr(line, '\n') == nullptr) {
        set_error(locale, GL_EBADFILE);
        return Mode::FAILED;
    }
    for (const Mode mode : {Mode::AS_SPECIFIED, Mode::AS_RANKED}) {
        if (strcmp(line, mode == Mode::AS_RANKED ? "as_ranked\n" : "as_specified\n") != 0) continue;
        locale->collate.kind = GL_COLLATION_AS_SPECIFIED;
        return mode;
    }
    if (strcmp(line, "thai_smo\n") == 0) {
        locale->collate.kind = GL_COLLATION_THAI;
        return Mode::THAI;
    }
    locale->collate.kind = 0; // an unknown kind of collation has no error number
    return Mode::FAILED;
}

constexpr int32_t COMPACT = 2;           // of DIRECT
constexpr uint32_t MOST_CHARACTERS = 15; // of an element or an expansion

// A list with all items empty; null for no items.
template <class T> bool allocate_items(gl_locale *locale, T *&list, int32_t count) {
    list = nullptr;
    if (count == 0) return true;
    list = Owned<T>::allocate(static_cast<uint32_t>(count)).release();
    if (list == nullptr) return fail(locale, GL_ENOMEM, false);
    std::fill_n(list, count, T{});
    return true;
}

bool read_weight_counts(gl_locale *locale, ByteReader &in, int32_t &element_count, int32_t &expansion_count) {
    gl_collate_info &info = locale->collate;
    long counts[5];
    for (long &count : counts) {
        in.skip_whitespace();
        count = in.integer();
    }
    const auto [rows, passes, elements, expansions, fifth] = counts;
    if (!end_line(locale, in)) return false;
    if (rows < 0 || rows > MOST_ROWS || passes < 0 || passes > GL_MAX_PASSES) return fail(locale, GL_EBADFILE, false);
    if (elements < 0 || elements > MOST_ELEMENTS || expansions < 0 || expansions > MOST_EXPANSIONS)
        return fail(locale, GL_EBADFILE, false);
    info.row_count = static_cast<int32_t>(rows);
    info.pass_count = static_cast<int32_t>(passes);
    info.fifth_count = static_cast<int32_t>(fifth);
    element_count = static_cast<int32_t>(elements);
    expansion_count = static_cast<int32_t>(expansions);
    return values_within(*info.character_table, static_cast<unsigned>(rows)) || fail(locale, GL_EBADFILE, false);
}

bool read_ranks(gl_locale *locale, ByteReader &in) {
    if (read_character_table(in, locale, locale->ranks.table) != 0) return false;
    const long rows = in.integer();
    if (!end_line(locale, in)) return false;
    if (rows < 1 || rows > MOST_ROWS) return fail(locale, GL_EBADFILE, false);
    locale->ranks.row_count = static_cast<int32_t>(rows);
    return true;
}

bool read_directions(gl_locale *locale, ByteReader &in) {
    gl_collate_info &info = locale->collate;
    std::fill_n(info.weights, GL_MAX_PASSES, nullptr);
    if (info.pass_count == 0) return true;
    for (int pass = 0; pass < info.pass_count; ++pass) info.directions[pass] = static_cast<int32_t>(in.hex(4));
    for (int pass = 0; pass < info.pass_count; ++pass) {
        info.weights[pass] = Owned<uint16_t>::allocate(static_cast<uint32_t>(info.row_count) + 1).release();
        if (info.weights[pass] == nullptr) return fail(locale, GL_ENOMEM, false);
    }
    return end_line(locale, in);
}

// Reads elements or expansions, and their characters into one list.
class ItemReader {
  public:
    ItemReader(gl_locale *locale, ByteReader &in, bool compact) : locale_(locale), in_(in), compact_(compact) {}

    // The counts in the record are those of the lists: a failure may come before there are any.
    template <class Item> bool read(Item *&items, int32_t &item_count, int32_t count) {
        if (!allocate_items(locale_, items, count)) return false;
        item_count = count;
        for (int32_t i = 0; i < count; ++i)
            if (!read_head(items[i]) || !read_characters(items[i].count)) return false;
        if (count == 0) return true;
        if (compact_ && !end_line(locale_, in_)) return false;
        if (!characters_.fit()) return fail(locale_, GL_ENOMEM, false);
        gl_wchar *next = characters_.release(); // the first item's, and so the list's
        for (int32_t i = 0; i < count; next += items[i++].count) items[i].chars = next;
        return true;
    }

  private:
    bool malformed() { return fail(locale_, GL_EBADFILE, false); }

    bool read_number(uint32_t &value) { return compact_ ? in_.number(value) : (value = in_.hex(1), true); }
    bool read_head(gl_expansion &expansion) {
        uint32_t count;
        if (!read_number(count)) return malformed();
        expansion.count = static_cast<int32_t>(std::min(count, MOST_CHARACTERS + 1));
        return true;
    }
    bool read_head(gl_collating_element &element) {
        uint32_t count, row;
        if (!read_number(count)) return malformed();
        if (!compact_)
            row = in_.hex(4);
        else if (!in_.number(row))
            return malformed();
        if (row > static_cast<uint32_t>(locale_->collate.row_count)) return malformed();
        element.count = static_cast<int32_t>(std::min(count, MOST_CHARACTERS + 1));
        element.row = static_cast<uint16_t>(row);
        return true;
    }

    // One without characters would never be left.
    bool read_characters(int32_t count) {
        if (count < 1 || count > static_cast<int32_t>(MOST_CHARACTERS)) return malformed();
        for (int32_t i = 0; i < count; ++i) {
            if (!compact_)
                last_[i] = in_.hex(8);
            else if (!in_.difference(last_[i]))
                return malformed();
        }
        if (!characters_.append(last_, static_cast<uint32_t>(count))) return fail(locale_, GL_ENOMEM, false);
        locale_->coll_growth = std::max(locale_->coll_growth, static_cast<double>(count));
        return compact_ || end_line(locale_, in_);
    }

    gl_locale *const locale_;
    ByteReader &in_;
    const bool compact_;
    Growing<gl_wchar> characters_;
    gl_wchar last_[MOST_CHARACTERS] = {};
};

bool read_items(gl_locale *locale, ByteReader &in, bool compact, int32_t element_count, int32_t expansion_count) {
    gl_collate_info &info = locale->collate;
    return ItemReader(locale, in, compact).read(info.elements, info.element_count, element_count) &&
           ItemReader(locale, in, compact).read(info.expansions, info.expansion_count, expansion_count);
}

// Four hexadecimal digits. False at the end of the file.
bool read_weight(ByteReader &in, uint16_t &weight) {
    unsigned value = 0;
    for (int i = 0; i < 4; ++i) {
        const int digit = in.fgetc();
        if (digit == EOF) return false;
        value = value << 4 | hex_digit_value(digit);
    }
    weight = static_cast<uint16_t>(value);
    return true;
}

bool read_row(gl_locale *locale, ByteReader &in, int32_t row) {
    gl_collate_info &info = locale->collate;
    const bool direct = info.direct == 1;
    for (int pass = 0; pass < info.pass_count; ++pass) {
        if (direct) in.skip_whitespace();
        uint16_t weight;
        if (!read_weight(in, weight)) return !direct ? false : fail(locale, GL_EBADFILE, false);
        if (is_expansion(weight) && (weight & WEIGHT_VALUE) >= info.expansion_count) return fail(locale, GL_EBADFILE, false);
        info.weights[pass][row] = weight;
    }
    return direct || info.pass_count == 0 || in.skip_newline(); // a row that does not end has no error number
}

bool read_rows(gl_locale *locale, ByteReader &in) {
    for (int32_t row = 0; row <= locale->collate.row_count; ++row)
        if (!read_row(locale, in, row)) return false;
    return true;
}

bool read_compact_rows(gl_locale *locale, ByteReader &in) {
    gl_collate_info &info = locale->collate;
    const auto count = static_cast<uint32_t>(info.row_count) + 1;
    for (int pass = 0; pass < info.pass_count; ++pass) {
        const uint16_t *const weights = info.weights[pass];
        if (!RunReader(in).read(info.weights[pass], count) || !in.skip_newline()) return fail(locale, GL_EBADFILE, false);
        bool beyond = false;
        for (uint32_t row = 0; row < count; ++row)
            beyond |= is_expansion(weights[row]) & ((weights[row] & WEIGHT_VALUE) >= info.expansion_count);
        if (beyond) return fail(locale, GL_EBADFILE, false);
    }
    return true;
}

bool build_lists(gl_locale *locale) {
    const gl_collate_info &info = locale->collate;
    if (info.direct == 1 || info.pass_count == 0) return true;
    RowGroups groups;
    if (!classify_rows(info, groups)) return fail(locale, GL_ENOMEM, false);
    return !groups.any() || gather_characters(locale, groups) == 0;
}

bool build_candidates(gl_locale *locale) {
    gl_collate_info &info = locale->collate;
    set_exp_candidates(locale); // a locale without them only sorts more slowly
    if (info.element_count == 0) return true;
    if (!allocate_items(locale, info.element_candidates, 256)) return false;
    set_elem_candidates(locale);
    return true;
}

// Where the codes of the lookup arrays are the weights, as in all rules that a compiler writes, they are there once.
void share_weights(gl_collate_info &info) {
    const size_t size = (static_cast<size_t>(info.row_count) + 1) * sizeof *info.weights[0];
    for (int pass = 0; pass < info.pass_count; ++pass) {
        const uint16_t *const codes = info.maps->codes[pass];
        if (memcmp(info.weights[pass], codes, size) != 0) continue;
        _gl_free_ptr(info.weights[pass]);
        info.weights[pass] = const_cast<uint16_t *>(codes);
    }
}

bool build_maps(gl_locale *locale) {
    gl_collate_info &info = locale->collate;
    if (info.direct != 0 || info.pass_count == 0) return true;
    gl_collation_maps *maps = nullptr;
    if (!build_collation_maps(info, locale->ranks, maps))
        return fail(locale, GL_ENOMEM, false); // the order for indexes must not depend on it
    info.maps = maps;
    if (maps != nullptr) share_weights(info);
    return true;
}

// The walks without lookup arrays, and those by bytes, know no ranks: a codeset of single bytes has weights enough.
bool ranks_fit(gl_locale *locale) {
    const gl_collate_info &info = locale->collate;
    if (locale->ranks.row_count == 0) return true;
    const bool fit = locale->ranks.row_count <= info.row_count && info.maps != nullptr && info.character_table->max_length > 1;
    return fit || fail(locale, GL_EBADFILE, false);
}

bool read_body(gl_locale *locale, ByteReader &in) {
    int32_t element_count = 0, expansion_count = 0;
    locale->collate.direct = static_cast<int32_t>(in.integer());
    const bool compact = locale->collate.direct == COMPACT;
    if (compact) locale->collate.direct = 0; // the same rules
    return end_line(locale, in) && read_weight_counts(locale, in, element_count, expansion_count) && read_directions(locale, in) &&
           read_items(locale, in, compact, element_count, expansion_count) &&
           (compact ? read_compact_rows(locale, in) : read_rows(locale, in)) && expansions_end(locale) && build_lists(locale) &&
           build_candidates(locale) && build_maps(locale) && ranks_fit(locale);
}

} // namespace

int qbgl::read_collate(FILE *file, gl_locale *locale) {
    const Mode mode = read_mode(file, locale);
    if (mode == Mode::THAI) return 0;
    if (mode == Mode::FAILED) return -1;
    ByteReader in(file);
    if (const int result = read_character_table(in, locale, locale->collate.character_table); result != 0) return result;
    if (mode == Mode::AS_RANKED && !read_ranks(locale, in)) return -1;
    return read_body(locale, in) ? 0 : -1;
}

void qbgl::free_collate(gl_locale *locale) {
    gl_collate_info &info = locale->collate;
    _gl_free_multi(info.character_table);
    for (int pass = 0; pass < info.pass_count; ++pass)
        if (info.maps == nullptr || info.weights[pass] != info.maps->codes[pass]) _gl_free_ptr(info.weights[pass]);
    if (info.element_count > 0) _gl_free_ptr(info.elements[0].chars);
    _gl_free_ptr(info.elements);
    if (info.expansion_count > 0) _gl_free_ptr(info.expansions[0].chars);
    _gl_free_ptr(info.expansions);
    for (gl_expansion **candidates : info.expansion_candidates) _gl_free_ptr(candidates);
    _gl_free_ptr(info.element_candidates);
    _gl_free_ptr(const_cast<gl_collation_maps *>(info.maps));
    info = {};
    _gl_free_multi(std::exchange(locale->ranks, {}).table);
    _gl_free_ptr(std::exchange(locale->all_one, nullptr));
    _gl_free_ptr(std::exchange(locale->equivalence, nullptr));
}
