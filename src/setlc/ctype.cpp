// The section of LC_CTYPE:
//
//   codeset table: a class mask for each character
//   CLASSES                          then for each class: BIT NAME
//   case table: an index of the case pairs for each character
//   PAIRS                            then for each pair: UPPERCASELOWERCASE, eight hexadecimal digits each
//   GROWTH                           behind the last pair, on its line; nothing stands for 4.0
//
// Where the case table is in the compact form, the pairs are in one line, behind that of their number: the difference of each
// upper-case character from the one before, and of the lower-case one from that.
#include "ctype/case_maps.h"
#include "ctype/class_name.h"
#include "ext/error.h"
#include "mbwc/maps.h"
#include "multi/character_table.h"
#include "multi/text_end.h"
#include "multi/walk.h"
#include "setlc/categories.h"
#include "setlc/handle.h"
#include "util/lines.h"
#include "util/owned.h"

#include <algorithm>
#include <locale.h>
#include <stdlib.h>
#include <utility>

using namespace qbgl;

namespace {

constexpr int LINE_SIZE = 128;       // of class names and of the growth line
constexpr long MAX_CLASSES = 4096;   // of which five can ever match
constexpr long MAX_PAIRS = 0xFFFF;   // indexes have 16 bits
constexpr double NO_GROWTH = 4.0;    // the factor of a file that does not say
constexpr double MAX_GROWTH = 256.0; // far above what a character can come to

// Whether the table is right about its lengths, and its text ends at the terminator alone: every walk trusts that. A terminator is
// no character that a reader of numbers or blanks may pass over.
bool ends_text(const gl_multi &codeset) {
    constexpr unsigned PASSED_OVER = GL_CLASS_SPACE | GL_CLASS_DIGIT | GL_CLASS_BLANK;
    const KeyLengths lengths = key_lengths(codeset);
    if (lengths.longest == 0) return true;
    if (codeset.min_length != lengths.shortest || codeset.max_length < lengths.longest) return false;
    const uint8_t *const terminator = terminator_entry(codeset, lengths.shortest);
    return stops_at_terminator(codeset, lengths.shortest) && (terminator == nullptr || (value_at(terminator) & PASSED_OVER) == 0);
}

// Whether the characters below one node are among those below the other. Where a table repeats nodes, `known` has for each of them
// the one that it was found to be within last; null without.
bool keys_within(const MultiNode &node, const MultiNode &all, const MultiNode **known) {
    if (known != nullptr && std::exchange(known[node.number], &all) == &all) return true;
    if (memcmp(node.flags, all.flags, 256) != 0) {
        for (int byte = 0; byte < 256; ++byte)
            if (node.flags[byte] != FLAG_NONE && node.flags[byte] != all.flags[byte]) return false;
    }
    for (int byte = 0; node.child_count > 0 && byte < 256; ++byte) {
        const auto at = static_cast<uint8_t>(byte);
        if (node.flags[at] == FLAG_CHILD && !keys_within(*child_of(node, at), *child_of(all, at), known)) return false;
    }
    return true;
}

// Case conversion steps through text by the case table: its characters must be the codeset's, or a step may miss the terminator.
bool case_table_fits(const gl_ctype_info &info) {
    const gl_multi &codeset = *info.codeset_table, &cases = *info.case_table;
    if (!values_within(cases, static_cast<unsigned>(info.pair_count))) return false;
    if (codeset.max_length <= 1) return cases.max_length <= 1;
    Owned<const MultiNode *> known;
    if (cases.nodes != nullptr) known = Owned<const MultiNode *>::allocate(static_cast<uint32_t>(cases.node_count));
    if (known) std::fill_n(known.get(), cases.node_count, nullptr);
    return keys_within(*cases.root, *codeset.root, known.get());
}

bool read_class(ByteReader &in, gl_class_name &entry, gl_locale *locale) {
    char name[LINE_SIZE];
    entry.bit = static_cast<int32_t>(in.integer());
    in.skip_whitespace();
    if (!in.word(name, sizeof name)) {
        set_error(locale, GL_ENOMEM); // as when there is no memory for it
        return false;
    }
    const auto size = static_cast<uint32_t>(strlen(name) + 1);
    entry.name = static_cast<char *>(_gl_alloc_ptr(size));
    if (entry.name == nullptr) {
        set_error(locale, GL_ENOMEM);
        return false;
    }
    memcpy(entry.name, name, size);
    if (in.skip_newline()) return true;
    set_error(locale, GL_EBADFILE);
    return false;
}

void free_class_names(gl_ctype_info &info) {
    for (int32_t i = 0; info.class_list != nullptr && i < info.class_count; ++i) {
        _gl_free_ptr(info.class_list[i].name);
        info.class_list[i].name = nullptr;
    }
}

bool read_classes(ByteReader &in, gl_locale *locale) {
    gl_ctype_info &info = locale->ctype;
    info.class_count = 0;
    info.class_list = nullptr;
    const long count = in.integer();
    if (!in.skip_newline() || count > MAX_CLASSES) {
        set_error(locale, GL_EBADFILE);
        return false;
    }
    if (count < 1) return true;
    Owned<gl_class_name> list = Owned<gl_class_name>::allocate(static_cast<uint32_t>(count));
    if (!list) {
        set_error(locale, GL_ENOMEM);
        return false;
    }
    std::fill_n(list.get(), count, gl_class_name{0, nullptr});
    info.class_list = list.release();
    info.class_count = static_cast<int32_t>(count);
    for (int32_t i = 0; i < info.class_count; ++i) {
        if (read_class(in, info.class_list[i], locale)) continue;
        free_class_names(info);
        return false;
    }
    return true;
}

// `before` is the pair before it in the compact form, null in the other.
bool read_pair(ByteReader &in, gl_case_pair &pair, const gl_case_pair *before) {
    if (before == nullptr) {
        pair.upper = in.hex(8);
        pair.lower = in.hex(8);
        return true;
    }
    pair.upper = before->upper;
    if (!in.difference(pair.upper)) return false;
    pair.lower = pair.upper;
    return in.difference(pair.lower);
}

bool read_pairs(ByteReader &in, gl_locale *locale) {
    gl_ctype_info &info = locale->ctype;
    info.pair_count = 0;
    info.case_pairs = nullptr;
    const long count = in.integer();
    if (count < 0 || count > MAX_PAIRS) {
        set_error(locale, GL_EBADFILE);
        return false;
    }
    Owned<gl_case_pair> pairs = Owned<gl_case_pair>::allocate(static_cast<uint32_t>(count) + 1);
    if (!pairs) {
        set_error(locale, GL_ENOMEM);
        return false;
    }
    pairs[0] = {0, 0};
    const bool compact = is_compact(*info.case_table);
    for (uint32_t i = 1; i <= static_cast<uint32_t>(count); ++i) {
        if (!((compact && i > 1) || in.skip_newline()) || !read_pair(in, pairs[i], compact ? &pairs[i - 1] : nullptr)) {
            set_error(locale, GL_EBADFILE);
            return false;
        }
    }
    info.case_pairs = pairs.release();
    info.pair_count = static_cast<int32_t>(count);
    return true;
}

// The factor, or 0 when there is none to be read.
double read_growth(FILE *file) {
    char line[LINE_SIZE];
    if (!read_line(file, line, LINE_SIZE)) return 0;
    if (line[0] == '\0') return NO_GROWTH;
    const double factor = strtod_l(line, nullptr, newlocale(LC_ALL_MASK, "C", nullptr));
    return factor > 0 && factor <= MAX_GROWTH ? factor : 0;
}

// Output buffers are sized by the factor, so that it is never less than what the pairs ask for.
double sufficient_growth(const gl_ctype_info &info, double declared) {
    const gl_multi &codeset = *info.codeset_table;
    if (codeset.max_length <= 1) return declared; // a byte for a byte
    double growth = declared;
    const auto consider = [&info, &codeset, &growth](int length, uint16_t pair) {
        for (const gl_wchar wc : {info.case_pairs[pair].upper, info.case_pairs[pair].lower}) {
            if (pair == 0 || wc == 0) continue;
            uint8_t bytes[MAX_KEY];
            const int mapped = encode(codeset, bytes, wc);
            // Part of what cannot be encoded is written all the same.
            const double needed = static_cast<double>(mapped != 0 ? mapped : MAX_KEY) / length;
            const int whole = static_cast<int>(growth); // not ceil(): without optimisation that is libm's
            if (needed > (whole < growth ? whole + 1 : whole)) growth = needed;
        }
    };
    consider(codeset.min_length, value_at(info.case_table->default_entry));
    for_each_value(*info.case_table, consider);
    return growth;
}

} // namespace

int qbgl::read_ctype(FILE *file, gl_locale *locale) {
    gl_ctype_info &info = locale->ctype;
    ByteReader in(file);
    if (const int result = read_character_table(in, locale, info.codeset_table); result != 0) return result;
    if (key_lengths(*info.codeset_table).longest == 0) info.codeset_table->min_length = empty_table.min_length;
    if (!read_classes(in, locale)) return -1;
    if (const int result = read_character_table(in, locale, info.case_table); result != 0) return result;
    if (!read_pairs(in, locale)) return -1;
    const double growth = read_growth(file);
    if (growth == 0 || !ends_text(*info.codeset_table) || !case_table_fits(info)) {
        set_error(locale, GL_EBADFILE);
        return -1;
    }
    locale->case_growth = sufficient_growth(info, growth);
    CodesetMaps *maps = nullptr;
    if (!build_codeset_maps(info, own_class(info, FULL_WIDTH_CLASS), maps)) {
        set_error(locale, GL_ENOMEM); // the order for indexes must not depend on it
        return -1;
    }
    if (maps != nullptr) build_case_maps(info, *maps);
    info.maps = maps;
    return 0;
}

void qbgl::free_ctype(gl_locale *locale) {
    gl_ctype_info &info = locale->ctype;
    _gl_free_multi(info.codeset_table);
    free_class_names(info);
    _gl_free_ptr(info.class_list);
    _gl_free_multi(info.case_table);
    _gl_free_ptr(info.case_pairs);
    free_codeset_maps(info.maps);
    info = {};
    free_byte_tables(locale);
}

int _gl_read_gl_wchar(FILE *stream, gl_wchar *value) {
    *value = ByteReader(stream).hex(8);
    return 0;
}
