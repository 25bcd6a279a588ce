// Lines from a stream. The newline and the terminator of a codeset are those of ASCII behind zero bytes, as many bytes together as
// its shortest character has.
#include "mbwc/ranges.h"
#include "qbnxdl/served.h"
#include "stream/bytes.h"
#include "stream/read.h"

#include <algorithm>
#include <limits.h>
#include <type_traits>

using namespace qbgl;

namespace {

constexpr gl_wchar NEWLINE = '\n';

// The room of a line. A character is put in whole or not at all.
class ByteLine {
  public:
    ByteLine(char *buffer, int size, int shortest)
        : next_(buffer), end_(end_of(buffer, size > 0 ? size : 0)), shortest_(shortest) {}
    bool put(const Read &read) {
        if (end_ - next_ < read.length) return false;
        next_ = append_bytes(next_, read.value, read.length);
        return true;
    }
    bool is_newline(const Read &read) const { return read.value == NEWLINE && read.length == shortest_; }
    bool terminate() { return put({0, shortest_, 0}); }

  private:
    char *next_, *const end_;
    const int shortest_;
};

class WideLine {
  public:
    WideLine(gl_wchar *buffer, int count) : next_(buffer), end_(end_of(buffer, count > 0 ? count : 0)) {}
    bool put(const Read &read) {
        if (next_ == end_) return false;
        *next_++ = read.value;
        return true;
    }
    static bool is_newline(const Read &read) { return read.value == NEWLINE; }
    bool terminate() { return put({}); }

  private:
    gl_wchar *next_, *const end_;
};

constexpr int REPORTED = -1; // an error that the locale has already

// Fills the line with what `next` reads until its newline: 0, the error of a read, or GL_E2BIG.
template <class Line, class Next> int fill(Line line, const Next &next) {
    for (;;) {
        const Read read = next();
        if (read.error != 0) return read.error;
        if (!line.put(read)) return GL_E2BIG;
        if (line.is_newline(read)) return line.terminate() ? 0 : GL_E2BIG;
    }
}

// The characters of a single-byte codeset. A host's reader may give the low byte of -1 at the end, where the stream tells it from a
// character.
template <class Line> int fill_with_bytes(const Line &line, FILE *stream) {
    const StreamSource next_byte(stream);
    return fill(line, [&] {
        const int byte = next_byte();
        if (byte < 0 || (byte == 0xFF && _gl_ext_feof(stream) != 0)) return Read{0, 0, refined_by_stream(stream, GL_EEOF, GL_EEOF)};
        return Read{static_cast<uint8_t>(byte), 1, 0};
    });
}

template <class Line, class ErrorOf>
int fill_by_walk(const gl_locale *locale, const Line &line, FILE *stream, const ErrorOf &error_of) {
    const MultiNode *const root = locale->ctype.codeset_table->root;
    const StreamSource next_byte(stream);
    return fill(line, [&] {
        Read read = read_character(root, next_byte);
        if (read.error != 0) read.error = error_of(stream, read);
        return read;
    });
}

int fill_by_extension(gl_locale *locale, const ByteLine &line, FILE *stream) {
    return fill(line, [=] {
        char bytes[MB_LEN_MAX];
        const int length = gl_full_fgetmb(locale, bytes, stream);
        if (length < 0) return Read{0, 0, REPORTED};
        Read read = {0, length, length > MAX_KEY ? GL_EILSEQ : 0};
        for (int i = 0; i < length; ++i) read.value = read.value << 8 | static_cast<uint8_t>(bytes[i]);
        return read;
    });
}

int fill_by_extension(gl_locale *locale, const WideLine &line, FILE *stream) {
    return fill(line, [=] {
        const gl_wchar value = gl_full_fgetwc(locale, stream);
        return Read{value, 1, value != static_cast<gl_wchar>(-1) ? 0 : REPORTED};
    });
}

template <class Line, class ErrorOf> int read_line(gl_locale *locale, const Line &line, FILE *stream, const ErrorOf &error_of) {
    const bool served = served_by_extension(locale, GL_CAT_CTYPE);
    // The extension's wide characters are not the codeset's bytes.
    if (locale->single_byte != 0 && (!served || std::is_same_v<Line, ByteLine>)) return fill_with_bytes(line, stream);
    if (served) return fill_by_extension(locale, line, stream);
    return fill_by_walk(locale, line, stream, error_of);
}

template <class Unit> Unit *line_or_null(gl_locale *locale, Unit *buffer, int error) {
    if (error == 0) return buffer;
    if (error != REPORTED) set_error(locale, error);
    return nullptr;
}

} // namespace

char *gl_fgetmbs(gl_locale *locale, char *buffer, int size, FILE *stream) {
    const ByteLine line(buffer, size, std::min(gl_mb_loc_min(locale), MAX_KEY));
    return line_or_null(locale, buffer, read_line(locale, line, stream, byte_error));
}

gl_wchar *gl_fgetwcs(gl_locale *locale, gl_wchar *buffer, int count, FILE *stream) {
    return line_or_null(locale, buffer, read_line(locale, WideLine(buffer, count), stream, wide_error));
}
