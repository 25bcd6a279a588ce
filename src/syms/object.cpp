// Reading charmap objects. Nothing in one is trusted: after loading, every name, character and range is sound.
//
//   FILE_TYPE=charmap_object
//   COMPILER_VERSION=3
//   HEADER_LENGTH=lines of the header
//   CODESET=name, SOURCE_VERSION=number, UNLISTED=the rule for characters without a record, and others, which are ignored
//   a line that is skipped
//   s LENGTH NAME N BYTES               a character
//   r LENGTH NAME START COUNT N BYTES   COUNT of them, from NAME on, whose last digits are START, and from BYTES on
#include "ext/error.h"
#include "syms/charmap.h"
#include "util/object_header.h"
#include "util/tokens.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

namespace qbgl {

namespace {

constexpr uint32_t MOST_CHARACTERS = 1U << 21; // more than any codeset has
constexpr uint32_t RECOGNIZED_WIDTH = 2;       // of the entries of the table of characters, which nobody reads

// The text behind a line's keyword, null when the line has another one.
const char *value_of(const char *line, const char *keyword) {
    const size_t length = strlen(keyword);
    return strncmp(line, keyword, length) == 0 ? line + length : nullptr;
}

bool parse_number(const char *text, int32_t &number) {
    char *end = nullptr;
    const long long value = text != nullptr ? strtoll(text, &end, 10) : 0;
    if (end == text || value < INT_MIN || value > INT_MAX) return false;
    number = static_cast<int32_t>(value);
    return true;
}

bool take_header_line(const char *line, gl_charmap *cm) {
    if (const char *name = value_of(line, "CODESET=")) {
        const size_t length = strnlen(name, sizeof cm->codeset_name - 1);
        memcpy(cm->codeset_name, name, length);
        cm->codeset_name[length] = '\0';
    }
    if (const char *rule = value_of(line, "UNLISTED=")) cm->unlisted = unlisted_form(rule);
    const char *version = value_of(line, "SOURCE_VERSION=");
    return version == nullptr || parse_number(version, cm->source_version);
}

// 0 or an error number; the stream then stands behind the header.
int read_cmap_header(FILE *stream, gl_charmap *cm) {
    const auto count_of = [](const char *line, long &count) {
        int32_t lines = 0;
        const bool is_number = parse_number(value_of(line, "HEADER_LENGTH="), lines);
        count = lines;
        return is_number;
    };
    const auto take = [cm](const char *line) { return take_header_line(line, cm); };
    switch (read_object_header(stream, "FILE_TYPE=charmap_object", "COMPILER_VERSION=" GL_CM_VERSION, count_of, take)) {
    case Header::READ: cm->compiler_version = static_cast<int32_t>(strtol(GL_CM_VERSION, nullptr, 10)); return 0;
    case Header::OTHER_VERSION: return GL_EVERSION;
    default: return GL_EBADFILE;
    }
}

bool skip_line(ByteReader &in) {
    int byte = in.getc();
    while (byte != '\n' && byte != EOF) byte = in.getc();
    return byte == '\n';
}

bool init_symbol_table(gl_charmap *cm) {
    const uint16_t unused = 0;
    cm->symbols = {};
    cm->characters = _gl_create_multi(RECOGNIZED_WIDTH, 0, &unused);
    return cm->characters != nullptr;
}

class RecordReader {
  public:
    RecordReader(ByteReader &in, gl_charmap &cm) : in_(in), cm_(cm) {}

    // 0 or an error number. `type` has been read.
    int read(int type) {
        const bool is_range = type == 'r';
        if (!is_range && type != 's') return GL_EBADFILE;
        int64_t start = 0, count = 1;
        if (!read_name()) return GL_EBADFILE;
        if (is_range) {
            start = number();
            count = number();
        }
        gl_desc first{};
        if (start < 0 || count < 1 || count > MOST_CHARACTERS || start > INT_MAX - count || !read_bytes(first) ||
            !in_.skip_newline())
            return GL_EBADFILE;
        const uint64_t values = uint64_t{1} << (8 * first.count);
        if (count > MOST_CHARACTERS - characters_ || _gl_desc_to_gl_wchar(&first) + static_cast<uint64_t>(count) > values)
            return GL_EBADFILE;
        characters_ += static_cast<uint32_t>(count);
        const bool kept = is_range ? symbol_table_insert_range(cm_.symbols, name_, first, static_cast<int32_t>(start),
                                                               static_cast<uint32_t>(count))
                                   : symbol_table_insert_sing(cm_.symbols, name_, first);
        return kept ? recognize(first, static_cast<int>(count)) : GL_ENOMEM;
    }

  private:
    long number() {
        in_.skip_whitespace();
        return in_.integer();
    }

    bool read_name() {
        const long length = number();
        in_.skip_whitespace();
        if (!in_.word(buffer_, sizeof buffer_)) return false;
        name_ = {buffer_, strlen(buffer_)};
        return length >= 1 && length <= LONGEST_SYMBOL_NAME && name_.size() == static_cast<size_t>(length);
    }

    bool read_bytes(gl_desc &character) {
        const long count = number();
        if (count < 1 || count > static_cast<long>(sizeof character.bytes)) return false;
        character.count = static_cast<uint32_t>(count);
        in_.skip_whitespace();
        for (long i = 0; i < count; ++i) {
            unsigned high, low;
            if (i > 0) in_.skip_one_blank();
            if (!read_digit(high) || !read_digit(low)) return false;
            character.bytes[i] = static_cast<uint8_t>(high << 4 | low);
        }
        return true;
    }
    bool read_digit(unsigned &digit) {
        const int byte = in_.getc();
        digit = hex_digit_value(byte);
        return digit != 0 || byte == '0';
    }

    int recognize(const gl_desc &first, int count) {
        for (int i = 0; i < count; ++i) {
            gl_desc character;
            _gl_desc_offset(&first, i, &character);
            if (_gl_insert_desc_multi(&character, nullptr, cm_.characters) != 0)
                return is_contradiction(character) ? GL_EBADFILE : GL_ENOMEM;
        }
        return 0;
    }
    // Whether the character begins another one, or another one begins it.
    bool is_contradiction(const gl_desc &character) const {
        int32_t error = 0;
        int length = 0;
        const auto count = static_cast<int>(character.count);
        const void *shorter =
            _gl_retrieve_text_multi_limit(reinterpret_cast<const char *>(character.bytes), cm_.characters, count, &length, &error);
        return shorter != nullptr || error == GL_EINVAL;
    }

    ByteReader &in_;
    gl_charmap &cm_;
    char buffer_[LONGEST_SYMBOL_NAME + 2]; // a longer name fills it
    std::string_view name_;
    uint32_t characters_ = 0;
};

int read_charmap_data(FILE *stream, gl_charmap *cm) {
    ByteReader in(stream);
    RecordReader records(in, *cm);
    if (!skip_line(in)) return GL_EBADFILE;
    for (int type = in.getc(); type != EOF; type = in.getc())
        if (const int error = records.read(type)) return error;
    if (reading_failed(stream)) return GL_ENOFILE;
    return index_symbol_table(cm->symbols) ? 0 : GL_ENOMEM;
}

} // namespace

void free_charmap_tables(gl_charmap *cm) {
    _gl_free_multi(cm->characters);
    cm->characters = nullptr;
    free_symbol_table(cm->symbols);
}

int read_charmap(FILE *stream, gl_charmap *cm) {
    int error = read_cmap_header(stream, cm);
    if (error == 0) error = init_symbol_table(cm) ? read_charmap_data(stream, cm) : GL_ENOMEM;
    if (error == 0) return 0;
    free_charmap_tables(cm);
    set_error(cm, error);
    return -1;
}

} // namespace qbgl
