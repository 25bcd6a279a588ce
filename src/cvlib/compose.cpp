// A conversion without an object. Between two forms of Unicode it is an algorithm. Otherwise it is composed of the halves "source
// to UTF-8" and "UTF-8 to target", into what an object of the pair would hold:
//
//   half from        half to          the descriptor gets
//   object           object           the first one's tables, each record replaced by that of its UTF-8 in the second one; and the
//                                     second one's table, where the source has characters by a rule beside its own
//   object           a form           the same, by algorithm
//   a form           object           the second one's table; the source is read by algorithm and looked up by its UTF-8
#include "cvlib/compose.h"

#include "cvlib/engine.h"
#include "cvlib/lane.h"
#include "cvlib/object.h"
#include "cvlib/record.h"
#include "ext/error.h"
#include "multi/table.h"
#include "multi/text_end.h"
#include "unicode/transcode.h"

#include <algorithm>
#include <bit>
#include <string.h>
#include <utility>

namespace qbgl {

namespace {

constexpr uint16_t UTF8 = 57372;

// The tables of a half, moved out of the descriptor that they were read into.
class Half {
  public:
    explicit Half(gl_cv &cd) : cd_(cd) { cd = {}; }
    Half(const Half &) = delete;
    Half &operator=(const Half &) = delete;
    ~Half() { free_cv_tables(&cd_); }
    const gl_cv &operator*() const { return cd_; }
    gl_multi *release_main_table() { return std::exchange(cd_.main_table, nullptr); }

  private:
    gl_cv cd_;
};

// Reads the tables of an object into the descriptor.
int read_half(gl_cv *cd, uint16_t source, uint16_t target, const char *directory) {
    bool missing = false;
    FILE *const file = open_cv_object(cd, source, target, directory, missing);
    return file != nullptr ? read_cv_tables(file, cd) : -1;
}

// How many bytes a shift sequence may add to a character.
int shift_length(const gl_cv &cd) { return cd.target_stateful != 0 ? std::max(cd.sequence_length[0], cd.sequence_length[1]) : 0; }

// Equal lengths of two or four stand for little-endian units; bytes have to declare others.
void declare_bytes(gl_cv &cd, int shortest, int longest) {
    cd.target_min_len = is_unicode_unit(shortest, longest) ? 1 : shortest;
    cd.target_max_len = longest;
}

// What the second half makes of a character's UTF-8: a record of the target, by a table or by algorithm. Little-endian units are
// kept most significant byte first for the function that turns them round; where the source has states, another one writes all
// records as they are stored.
class SecondHalf {
  public:
    SecondHalf(const gl_cv &object, bool source_stateful)
        : object_(&object), form_(static_cast<UnicodeForm>(object.target_form)), longest_(object.target_max_len),
          units_(object.target_stateful == 0 && is_unicode_unit(object.target_min_len, object.target_max_len)),
          reversed_(units_ && source_stateful) {}
    SecondHalf(UnicodeForm form, bool source_stateful)
        : form_(form), longest_(lengths_of(form).longest), units_(form == UnicodeForm::UTF32LE || form == UnicodeForm::UCS2LE),
          reversed_(units_ && !source_stateful) {}

    int longest() const { return longest_; }

    // Writes the record; false where there is none.
    bool map(const Record &utf8, uint8_t *record) const {
        if (object_ != nullptr ? !look_up(utf8, record) : !encode_one(utf8, record)) return false;
        if (reversed_) std::reverse(record + 1, record + 1 + (record[0] & 7));
        return true;
    }

    // What a descriptor says of the target, where its records have these lengths.
    void declare(gl_cv &cd, int shortest, int longest) const {
        // What the source has by a rule the target has by its own, where the first half writes it in UTF-8.
        const bool by_rule = cd.target_form == static_cast<int32_t>(UnicodeForm::UTF8);
        cd.target_form = by_rule ? static_cast<int32_t>(form_) : 0;
        if (object_ != nullptr) {
            cd.target_stateful = object_->target_stateful;
            memcpy(cd.sequence, object_->sequence, sizeof cd.sequence);
            memcpy(cd.sequence_length, object_->sequence_length, sizeof cd.sequence_length);
        }
        if (units_ && cd.source_stateful == 0)
            cd.target_min_len = cd.target_max_len = longest_;
        else if (form_ == UnicodeForm::UTF16LE || form_ == UnicodeForm::UTF16BE)
            declare_bytes(cd, lengths_of(form_).shortest, longest_);
        else
            declare_bytes(cd, shortest, longest);
    }

  private:
    bool look_up(const Record &utf8, uint8_t *record) const {
        int length = 0;
        const auto *const text = reinterpret_cast<const char *>(utf8.output());
        const void *found = _gl_retrieve_text_multi_limit(text, object_->main_table, utf8.length(), &length, nullptr);
        const auto *const bytes = static_cast<const uint8_t *>(found);
        if (bytes == nullptr) return encode_one(utf8, record);
        if (length != utf8.length() || Record(bytes).unmapped()) return false;
        memcpy(record, bytes, 1 + static_cast<size_t>(Record(bytes).length()));
        return true;
    }

    bool encode_one(const Record &utf8, uint8_t *record) const {
        const Scalar scalar = decode<UnicodeForm::UTF8>(utf8.output(), static_cast<uint32_t>(utf8.length()));
        if (form_ == UnicodeForm::NONE || scalar.length != utf8.length()) return false;
        const int length = encode(form_, scalar.code, record + 1);
        record[0] = static_cast<uint8_t>(RECORD_MAPPED | length);
        return length > 0 && length <= longest_;
    }

    const gl_cv *object_ = nullptr; // of tables; what they lack
    UnicodeForm form_;              // is written in a form, or not at all
    int longest_;
    bool units_, reversed_;
};

// Replaces the records of the first half's tables by those of the target.
class TableComposer {
  public:
    TableComposer(gl_multi &table, const SecondHalf &second)
        : table_(table), second_(second), width_(static_cast<uint32_t>(second.longest()) + 1), shift_(std::bit_width(width_ - 1)) {}

    // False when memory is out; the table may only be freed then.
    bool compose() {
        DataArray fallback = {table_.default_entry, 0, 1};
        for (int32_t i = 0; table_.shared_data != nullptr && i < table_.data_array_count; ++i)
            if (!replace(table_.shared_data[i])) return false;
        if (!replace_below(*table_.root) || !replace(fallback)) return false;
        table_.default_entry = fallback.entries;
        table_.element_size = width_;
        table_.element_shift = shift_;
        return true;
    }

  private:
    bool replace_below(MultiNode &node) {
        if (node.data_index >= 0)
            node.data = table_.shared_data[node.data_index];
        else if (!replace(node.data))
            return false;
        for (int32_t i = 0; i < node.child_count; ++i)
            if (!replace_below(*node.next[i])) return false;
        return true;
    }

    bool replace(DataArray &data) {
        if (data.entries == nullptr) return true;
        const auto size = static_cast<uint32_t>(data.count) << shift_;
        auto *const entries = static_cast<uint8_t *>(_gl_alloc_ptr(size));
        if (entries == nullptr) return false;
        memset(entries, 0, size);
        for (int32_t i = 0; i < data.count; ++i) map(data.entries + (i << table_.element_shift), entries + (i << shift_));
        _gl_free_ptr(data.entries);
        data.entries = entries;
        return true;
    }

    void map(const uint8_t *entry, uint8_t *result) const {
        const Record first(entry);
        if (first.unmapped()) return;
        const auto of_source =
            static_cast<uint8_t>(RECORD_MAPPED | (entry[0] & (RECORD_TERMINATOR | RECORD_SUBSTITUTED | RECORD_TOGGLES_SOURCE)));
        uint8_t record[8];
        if (first.length() == 0) { // a shift
            result[0] = of_source;
        } else if (second_.map(first, record)) {
            result[0] = static_cast<uint8_t>(of_source | (record[0] & (7 | RECORD_SUBSTITUTED | RECORD_TARGET_SHIFTED)));
            memcpy(result + 1, record + 1, static_cast<size_t>(record[0] & 7));
        }
    }

    gl_multi &table_;
    const SecondHalf &second_;
    const uint32_t width_;
    const int32_t shift_;
};

// What the records of the tables come to.
struct Extent {
    int shortest = 0, longest = 0; // of the records that have bytes
    float growth = 0;              // bytes of a record, and of the shift in front of it, for a byte of its key

    // Characters of four bytes that the tables do not list.
    void add_unlisted(int length, int shift) {
        longest = std::max(longest, length);
        growth = std::max(growth, static_cast<float>(length + shift) / MAX_KEY);
    }
    void gather(const gl_multi &table, const MultiNode &node, int depth, int shift) {
        for (int32_t i = 0; i < node.data.count; ++i) {
            const Record record(node.data.entries + (i << table.element_shift));
            if (node.flags[node.data.first + i] != FLAG_END || record.length() == 0) continue;
            if (shortest == 0 || record.length() < shortest) shortest = record.length();
            longest = std::max(longest, record.length());
            growth = std::max(growth, static_cast<float>(record.length() + shift) / static_cast<float>(depth));
        }
        for (int32_t i = 0; i < node.child_count; ++i) gather(table, *node.next[i], depth + 1, shift);
    }
};

// Makes the conversion of a descriptor that holds the tables of its first half.
int compose_tables(gl_cv *cd, const SecondHalf &second, int shift) {
    Extent extent;
    for (gl_multi *table : {cd->main_table, cd->shifted_table}) {
        if (table == nullptr) continue;
        if (!TableComposer(*table, second).compose()) {
            set_error(cd, GL_ENOMEM);
            return -1;
        }
        extent.gather(*table, *table->root, 1, shift);
    }
    if (cd->source_form != static_cast<int32_t>(UnicodeForm::NONE)) extent.add_unlisted(second.longest(), shift);
    second.declare(*cd, std::max(extent.shortest, 1), std::max(extent.longest, 1));
    cd->expansion = extent.growth > 0 ? extent.growth : 1;
    cd->single_byte_table_flag = 0;
    return complete_cv(cd);
}

int compose_objects(gl_cv *cd, uint16_t source, FILE *object, const char *directory) {
    if (read_cv_tables(object, cd) != 0) return -1;
    Half second(*cd);
    if (read_half(cd, source, UTF8, directory) != 0) return -1;
    if (compose_tables(cd, SecondHalf(*second, cd->source_stateful != 0), shift_length(*second)) != 0) return -1;
    if (cd->source_form != static_cast<int32_t>(UnicodeForm::NONE)) cd->unlisted_table = second.release_main_table();
    return 0;
}

int compose_to_form(gl_cv *cd, uint16_t source, UnicodeForm target, const char *directory) {
    if (read_half(cd, source, UTF8, directory) != 0) return -1;
    return compose_tables(cd, SecondHalf(target, cd->source_stateful != 0), 0);
}

// Has the source read by algorithm, in front of the tables by UTF-8 that the descriptor holds, or none.
int read_by_algorithm(gl_cv *cd, UnicodeForm source, gl_cv_function convert) {
    cd->source_form = static_cast<int32_t>(source);
    cd->source_min_len = lengths_of(source).shortest;
    cd->source_max_len = lengths_of(source).longest;
    cd->single_byte_table_flag = 1;
    cd->convert = convert;
    return 0;
}

int compose_from_form(gl_cv *cd, UnicodeForm source, FILE *object) {
    if (read_cv_tables(object, cd) != 0) return -1;
    // UTF-8 on its way has one zero byte behind it.
    if (!ends_at_terminator(*cd) || !stops_at_terminator(*cd->main_table, 1)) {
        set_error(cd, GL_EBADFILE);
        return -1;
    }
    cd->expansion = static_cast<float>(cd->target_max_len + shift_length(*cd)) / static_cast<float>(lengths_of(source).shortest);
    const bool units = is_unicode_unit(cd->target_min_len, cd->target_max_len);
    if (cd->target_stateful == 0 && !(units && cd->target_max_len == 4))
        cd->lane = build_lane(*cd->main_table, units ? LaneOutput::TWO_BYTES_REVERSED : LaneOutput::AS_STORED,
                              unicode::unit_of(source) == 2 ? LaneInput::UNITS : LaneInput::BYTES);
    return read_by_algorithm(cd, source, unicode_source_miconv);
}

int transcode_forms(gl_cv *cd, UnicodeForm source, UnicodeForm target) {
    cd->main_table = const_cast<gl_multi *>(&empty_table); // so that no open descriptor is without
    cd->target_form = static_cast<int32_t>(target);
    cd->target_min_len = lengths_of(target).shortest;
    cd->target_max_len = lengths_of(target).longest;
    cd->expansion = growth(source, target);
    return read_by_algorithm(cd, source, unicode_miconv);
}

int compose(gl_cv *cd, uint16_t source, uint16_t target, const char *directory) {
    const UnicodeForm source_form = unicode_form(source), target_form = unicode_form(target);
    const bool both = source_form != UnicodeForm::NONE && target_form != UnicodeForm::NONE;
    // Two-byte units lack characters, for which an object may have approximations: what it has for UTF-8, all forms have.
    if (both && (target_form != UnicodeForm::UCS2LE || source == UTF8)) return transcode_forms(cd, source_form, target_form);
    if (source == UTF8 || target == UTF8) { // whose own object this would be
        set_error(cd, GL_ENOFILE);
        return -1;
    }
    const bool by_algorithm = target_form != UnicodeForm::NONE;
    if (!by_algorithm || target_form == UnicodeForm::UCS2LE) {
        bool missing = false;
        FILE *const object = open_cv_object(cd, UTF8, target, directory, missing);
        if (object != nullptr)
            return source_form != UnicodeForm::NONE ? compose_from_form(cd, source_form, object)
                                                    : compose_objects(cd, source, object, directory);
        if (!by_algorithm || !missing) return -1;
        set_error(cd, 0);
    }
    return both ? transcode_forms(cd, source_form, target_form) : compose_to_form(cd, source, target_form, directory);
}

} // namespace

int compose_cv(gl_cv *cd, uint16_t source, uint16_t target, const char *directory) {
    set_error(cd, 0); // of the object that is not there
    const int result = compose(cd, source, target, directory);
    if (result == 0) gl_message("Conversion composed without an object of its own.");
    return result;
}

} // namespace qbgl
