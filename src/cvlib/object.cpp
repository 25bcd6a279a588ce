#include "cvlib/object.h"

#include "cvlib/engine.h"
#include "cvlib/lane.h"
#include "cvlib/record.h"
#include "ext/error.h"
#include "multi/read.h"
#include "multi/text_end.h"
#include "unicode/form.h"
#include "util/object_header.h"
#include "util/owned.h"
#include "util/tokens.h"

#include <algorithm>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <string_view>

namespace qbgl {

namespace {

constexpr int MAX_SEQUENCE = 4;
constexpr int MAX_EXPANSION = 256; // far above what shift sequences and long characters can come to

// A line "UNLISTED=source target" or "UNLISTED=source": rules by which these have characters that the tables do not list.
bool take_header_line(gl_cv *cd, const char *line) {
    constexpr char KEYWORD[] = "UNLISTED=";
    constexpr size_t KEYWORD_LENGTH = sizeof KEYWORD - 1;
    if (strncmp(line, KEYWORD, KEYWORD_LENGTH) != 0) return true;
    const char *const source = line + KEYWORD_LENGTH, *const target = source + strcspn(source, " ");
    cd->source_form = static_cast<int32_t>(unlisted_form({source, static_cast<size_t>(target - source)}));
    cd->target_form = static_cast<int32_t>(unlisted_form(*target != '\0' ? target + 1 : target));
    return true;
}

// 1 when the header is that of a conversion object of this version; the stream then stands behind it. Otherwise 0.
int read_cv_header(FILE *file, gl_cv *cd) {
    const auto count_of = [](const char *line, long &count) {
        const char *equals = strchr(line, '=');
        if (equals != nullptr) count = strtol(equals + 1, nullptr, 10);
        return equals != nullptr;
    };
    const auto take = [cd](const char *line) { return take_header_line(cd, line); };
    switch (read_object_header(file, "FILE_TYPE=codeset_conversion_object", "COMPILER_VERSION=" GL_CV_VERSION, count_of, take)) {
    case Header::READ: return 1;
    case Header::OTHER_TYPE: gl_message("Invalid CVO file. Wrong FILE_TYPE."); return 0;
    case Header::OTHER_VERSION: gl_message("Invalid CVO file. Wrong Version."); return 0;
    default: return 0;
    }
}

// A hexadecimal digit n, then n bytes of two digits each. Returns n, or -1 when n is more than a sequence holds.
int read_mchar(ByteReader &in, uint8_t (&buffer)[MAX_SEQUENCE]) {
    const auto length = static_cast<int>(in.hex_digit());
    if (length > MAX_SEQUENCE) return -1;
    for (int i = 0; i < length; ++i) buffer[i] = static_cast<uint8_t>(in.hex_byte());
    return length;
}

// A control byte, then as many output bytes as it says; the rest of the record is zero.
bool conv_reader(ByteReader &in, void *value, uint32_t width, void *) {
    auto *record = static_cast<uint8_t *>(value);
    record[0] = static_cast<uint8_t>(in.hex_byte());
    const uint32_t length = record[0] & 7U;
    if (length >= width) return false;
    for (uint32_t i = 1; i <= length; ++i) record[i] = static_cast<uint8_t>(in.hex_byte());
    memset(record + 1 + length, 0, width - 1 - length);
    return true;
}

bool read_sequences(ByteReader &in, gl_cv *cd) {
    in.skip_one_blank();
    for (int i = 0; i < 4; ++i) {
        cd->sequence_length[i] = read_mchar(in, cd->sequence[i]);
        if (cd->sequence_length[i] < 0) return false;
    }
    return in.skip_newline();
}

bool read_integers(ByteReader &in, std::initializer_list<int32_t *> fields) {
    for (int32_t *field : fields) *field = static_cast<int32_t>(in.integer());
    return in.skip_newline();
}

bool read_expansion(ByteReader &in, gl_cv *cd) {
    in.skip_one_blank();
    const double factor = in.real();
    if (!(factor >= 0 && factor <= MAX_EXPANSION)) return false;
    cd->expansion = static_cast<float>(factor);
    return in.skip_newline();
}

// The lines between header and tables.
bool read_parameters(ByteReader &in, gl_cv *cd) {
    return read_integers(in, {&cd->source_stateful, &cd->target_stateful}) && read_sequences(in, cd) &&
           read_integers(in, {&cd->target_min_len, &cd->target_max_len, &cd->further[0], &cd->further[1], &cd->source_min_len,
                              &cd->source_max_len}) &&
           read_integers(in, {&cd->single_byte_table_flag}) && read_expansion(in, cd);
}

// A table whose records hold a control byte and target_max_len output bytes; null with the descriptor's error number.
gl_multi *read_conversion_table(ByteReader &in, gl_cv *cd) {
    const uint8_t unmapped[8] = {};
    gl_multi *table = _gl_create_multi(static_cast<uint32_t>(cd->target_max_len + 1), 0, unmapped);
    if (table == nullptr) {
        set_error(cd, GL_ENOMEM);
        return nullptr;
    }
    if (const TableRead result = read_table(in, *table, MAX_KEY, conv_reader, nullptr); result != TableRead::DONE) {
        set_error(cd, result == TableRead::CUT_SHORT ? GL_EBADFILE : _gl_multi_err(table));
        _gl_free_multi(table);
        return nullptr;
    }
    return table;
}

// The 256 target bytes of a conversion between single-byte codesets; 0 where there is none.
bool build_single_byte_table(gl_cv *cd) {
    cd->single_byte_table = static_cast<uint8_t *>(_gl_alloc_ptr(256));
    if (cd->single_byte_table == nullptr) {
        set_error(cd, GL_ENOMEM);
        return false;
    }
    const int error = get_error(cd);
    for (int byte = 0; byte < 256; ++byte) {
        const char source = static_cast<char>(byte);
        char target = 0;
        const char *in = &source;
        char *out = &target;
        int inleft = 1, outleft = 1, subst = 0;
        cd->single_byte_table[byte] = sb_miconv(cd, &in, &inleft, &out, &outleft, &subst) == 0 ? static_cast<uint8_t>(target) : 0;
    }
    set_error(cd, error); // a hole is no error of the load
    return true;
}

// Chooses the conversion function and builds what it works with.
bool set_iconv_fps(gl_cv *cd) {
    const bool source_stateful = cd->source_stateful != 0;
    const bool target_stateful = cd->target_stateful != 0;
    cd->single_byte_table = nullptr;
    if (!source_stateful && is_unicode_unit(cd->source_min_len, cd->source_max_len)) {
        cd->convert = little_endian_unicode_source_miconv;
    } else if (!target_stateful && is_unicode_unit(cd->target_min_len, cd->target_max_len)) {
        cd->convert = little_endian_unicode_target_miconv;
        if (cd->target_max_len == 2) cd->lane = build_lane(*cd->main_table, LaneOutput::TWO_BYTES_REVERSED);
    } else if (!source_stateful && !target_stateful && cd->source_max_len == 1 && cd->target_max_len == 1) {
        if (cd->single_byte_table_flag == 0 && !build_single_byte_table(cd)) return false;
        cd->convert = sb_miconv;
        // The lane for single bytes knows no children, which a table has when its lengths belie the object's.
        if (_gl_multi_max_length(cd->main_table) == 1) cd->lane = build_lane(*cd->main_table, LaneOutput::AS_STORED);
    } else {
        cd->convert = mb_miconv;
        if (!source_stateful && !target_stateful) cd->lane = build_lane(*cd->main_table, LaneOutput::AS_STORED);
    }
    return true;
}

// Opens a file, and tells of one that is not opened whether it is not there.
template <class Open> FILE *open_telling(gl_cv *cd, bool &missing, Open open) {
    const int before = errno;
    errno = 0; // a host's function may leave it alone
    FILE *const file = open();
    const bool absent = errno == 0 || errno == ENOENT || errno == ENOTDIR;
    missing = file == nullptr && get_error(cd) == GL_ENOFILE && absent;
    errno = before;
    return file;
}

} // namespace

void free_cv_tables(gl_cv *cd) {
    _gl_free_multi(cd->main_table);
    _gl_free_multi(cd->shifted_table);
    _gl_free_multi(cd->unlisted_table);
    _gl_free_ptr(cd->single_byte_table);
    _gl_free_ptr(cd->lane);
    cd->main_table = cd->shifted_table = cd->unlisted_table = nullptr;
    cd->single_byte_table = nullptr;
    cd->lane = nullptr;
    cd->convert = nullptr;
}

FILE *open_cv_object(gl_cv *cd, uint16_t source, uint16_t target, const char *directory, bool &missing) {
    constexpr size_t NAME_AND_MARK = 14; // "SSSSTTTT.cvo", the separator mark and the terminator
    missing = false;
    const size_t size = (directory != nullptr ? strlen(directory) : 0) + NAME_AND_MARK;
    const Owned<char> name = Owned<char>::allocate(static_cast<uint32_t>(size));
    if (!name) {
        set_error(cd, GL_ENOMEM);
        return nullptr;
    }
    gl_cs_nums2cv_fname(cd, source, target, name.get(), directory);
    return open_telling(cd, missing, [&] {
        return directory != nullptr ? gl_open_file(cd, name.get()) : gl_path_search(cd, name.get(), GL_CV_DIRECTORY, GL_CV_VERSION);
    });
}

FILE *search_cv_object(gl_cv *cd, const char *name, bool &missing) {
    return open_telling(cd, missing, [&] { return gl_path_search(cd, name, GL_CV_DIRECTORY, GL_CV_VERSION); });
}

int read_cv_tables(FILE *file, gl_cv *cd) {
    Stream stream(file);
    cd->main_table = cd->shifted_table = nullptr;
    if (!stream || read_cv_header(stream.get(), cd) == 0) {
        set_error(cd, GL_ENOFILE);
        return -1;
    }
    ByteReader in(stream.get());
    if (!read_parameters(in, cd)) {
        set_error(cd, GL_EBADFILE);
        return -1;
    }
    cd->conversion_state = 0;
    if (cd->target_max_len < 1 || cd->target_max_len > 4) {
        gl_message("cv->target_max_len should be in range 1..4");
        set_error(cd, GL_EBADFILE);
        return -1;
    }
    cd->main_table = read_conversion_table(in, cd);
    if (cd->main_table == nullptr) return -1;
    if (cd->source_stateful != 0) {
        cd->shifted_table = read_conversion_table(in, cd);
        if (cd->shifted_table == nullptr) return -1;
    }
    if (reading_failed(stream.get())) {
        set_error(cd, GL_ENOFILE);
        return -1;
    }
    return 0;
}

bool ends_at_terminator(const gl_cv &cd) {
    int shortest = MAX_KEY;
    for (const gl_multi *table : {cd.main_table, cd.shifted_table})
        if (table != nullptr) shortest = std::min(shortest, std::max(key_lengths(*table).shortest, 1));
    for (const gl_multi *table : {cd.main_table, cd.shifted_table}) {
        if (table == nullptr) continue;
        const uint8_t *const bytes = terminator_entry(*table, shortest);
        if (!stops_at_terminator(*table, shortest)) return false;
        if (bytes != nullptr && !Record(bytes).terminator() && !Record(bytes).unmapped()) return false;
    }
    return true;
}

int complete_cv(gl_cv *cd) {
    if (!ends_at_terminator(*cd)) {
        set_error(cd, GL_EBADFILE);
        return -1;
    }
    return set_iconv_fps(cd) ? 0 : -1;
}

int read_cv_file(FILE *file, gl_cv *cd) {
    if (read_cv_tables(file, cd) != 0 || complete_cv(cd) != 0) return -1;
    gl_message("CVO file loaded successfully.");
    return 0;
}

} // namespace qbgl
