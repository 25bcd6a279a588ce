// One character to a stream, or to a host's own sink.
#include "ext/error.h"
#include "multi/table.h"
#include "qbnxdl/served.h"
#include "stream/bytes.h"

#include <algorithm>
#include <limits.h>

using namespace qbgl;

namespace {

// The bytes of the character at mb, of at most max_length, or -1.
int measure(gl_locale *locale, const char *mb, int max_length) {
    if (locale->single_byte == 0) return _qbx_gl_full_mblen(locale, mb, max_length);
    if (max_length > 0) return 1;
    set_error(locale, GL_EINVAL);
    return -1;
}

// Returns how many bytes the sink took; the others failed, which the locale has as its error then.
template <class Sink> int put_bytes(gl_locale *locale, const Sink &put, const char *bytes, int length) {
    for (int done = 0; done < length; ++done) {
        if (put(static_cast<uint8_t>(bytes[done])) >= 0) continue;
        set_error(locale, GL_EIO);
        return done;
    }
    return length;
}

// 0 or -1. `count` receives the number of bytes written; of a NUL character, a part counts as nothing.
template <class Sink> int put_character(gl_locale *locale, const Sink &put, const char *mb, int max_length, int &count) {
    count = 0;
    if (mb == nullptr) return -1;
    const int length = measure(locale, mb, max_length);
    if (length < 0) return -1;
    if (std::any_of(mb, mb + length, [](char byte) { return byte != 0; })) {
        count = put_bytes(locale, put, mb, length);
        return count == length ? 0 : -1;
    }
    constexpr char NUL[MAX_KEY] = {};
    const int shortest = std::min(gl_mb_loc_min(locale), MAX_KEY);
    if (put_bytes(locale, put, NUL, shortest) < shortest) return -1;
    count = shortest;
    return 0;
}

int put_to_host(gl_locale *locale, const char *mb, int max_length, gl_byte_writer writer, void *stream, int &count) {
    return put_character(
        locale, [=](uint8_t byte) { return writer(byte, stream); }, mb, max_length, count);
}

template <class Sink> bool put_wide(gl_locale *locale, const Sink &put, gl_wchar wc) {
    char mb[MB_LEN_MAX] = {};
    if (locale->single_byte != 0 && !served_by_extension(locale, GL_CAT_CTYPE)) {
        mb[0] = static_cast<char>(wc);
    } else if (gl_full_wctomb(locale, mb, wc) < 0) {
        set_error(locale, GL_EILSEQ);
        return false;
    }
    int count;
    return put_character(locale, put, mb, MAX_KEY, count) == 0;
}

} // namespace

int gl_putmb(gl_locale *locale, const char *mb, int max_length, gl_byte_writer writer, void *stream, int *count) {
    if (max_length < 0) max_length = gl_mb_loc_max(locale);
    return put_to_host(locale, mb, max_length, writer, stream, *count);
}

int _qbx_gl_putmb(gl_locale *locale, const char *mb, int length, gl_byte_writer writer, void *stream, int *count) {
    return put_to_host(locale, mb, length, writer, stream, *count);
}

char *gl_fputmb(gl_locale *locale, const char *mb, FILE *stream) {
    int count;
    return put_character(locale, StreamSink(stream), mb, MAX_KEY, count) == 0 ? const_cast<char *>(mb) : nullptr;
}

gl_wchar gl_fputwc(gl_locale *locale, gl_wchar wc, FILE *stream) {
    return put_wide(locale, StreamSink(stream), wc) ? wc : static_cast<gl_wchar>(-1);
}

// Without the terminator.
int gl_fputwcs(gl_locale *locale, const gl_wchar *ws, FILE *stream) {
    if (ws == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return -1;
    }
    const StreamSink put(stream);
    for (; *ws != 0; ++ws) {
        if (!put_wide(locale, put, *ws)) return -1;
    }
    return 0;
}
