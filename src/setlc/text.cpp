#include "setlc/text.h"

#include "ext/error.h"
#include "setlc/dispatch.h"
#include "tree/bytewise.h"
#include "util/growing.h"

#include <algorithm>
#include <string.h>

namespace qbgl {

namespace {

constexpr long FIRST_ROOM = 4096;

// Up to `count` bytes in hexadecimal. Null with the number in `error`.
Owned<char> read_bytes(ByteReader &in, long count, int32_t &error) {
    Growing<char> text;
    bool has_room = text.reserve(static_cast<uint32_t>(std::min(count, FIRST_ROOM)) + TEXT_PADDING);
    for (long i = 0; has_room && i < count; ++i) {
        const int high = in.getc(), low = in.getc();
        if (low == EOF) {
            error = GL_ENOFILE; // the line does not end behind its bytes
            return {};
        }
        has_room = text.append(static_cast<char>(hex_digit_value(high) << 4 | hex_digit_value(low)));
    }
    constexpr char PADDING[TEXT_PADDING] = {};
    if (has_room && text.append(PADDING, TEXT_PADDING)) return Owned<char>(text.release());
    error = GL_ENOMEM;
    return {};
}

} // namespace

char *allocate_text(uint32_t size) {
    if (size > UINT32_MAX - TEXT_PADDING) return nullptr;
    auto *text = static_cast<char *>(_gl_alloc_ptr(size + TEXT_PADDING));
    if (text != nullptr) memset(text, 0, size + TEXT_PADDING);
    return text;
}

bool str_readallc(ByteReader &in, char *&text, int32_t &error) {
    text = nullptr;
    if (error == GL_ENOMEM) return false; // the stream stands inside the line that memory was missing for
    const long length = in.integer();
    in.skip_one_blank();
    if (length < 0 || length > INT32_MAX - long{TEXT_PADDING}) {
        error = length < 0 ? GL_EBADFILE : GL_ENOMEM;
        return false;
    }
    Owned<char> bytes = read_bytes(in, length, error);
    if (!bytes) return false;
    if (!in.skip_newline()) {
        error = GL_ENOFILE; // hosts know a line without its end by this number
        return false;
    }
    text = bytes.release();
    return true;
}

bool read_group(ByteReader &in, gl_grouping &grouping, int32_t &error) {
    constexpr int MOST = 15;
    const auto failed = [&error](int number) {
        if (error == 0) error = number;
        return false;
    };
    grouping = {};
    const long count = in.integer();
    in.skip_one_blank();
    for (long i = 0; i < count; ++i) {
        if (i == MOST) return failed(GL_ENEGCOUNT);
        grouping.sizes[i] = static_cast<int32_t>(in.integer());
        in.skip_one_blank();
    }
    if (!in.skip_newline()) return failed(GL_EBADFILE);
    grouping.count = static_cast<int32_t>(std::max(count, 0L));
    return true;
}

int section_result(int32_t number, int32_t *error) {
    if (number == 0) return 0;
    if (error != nullptr) *error = number;
    return -1;
}

int text_characters(gl_locale *locale, const char *text) {
    return bytes_are_characters(locale) ? static_cast<int>(strlen(text)) : _gl_im_mbslen(locale, text);
}

int text_bytes(gl_locale *locale, const char *text) {
    const int bytes = gl_mbsbytes(locale, text);
    if (bytes > 0) return bytes - _gl_multi_min_length(locale->ctype.codeset_table);
    set_error(locale, GL_EILSEQ);
    return -1;
}

bool alloc_wc_from_mb(gl_locale *locale, const char *text, gl_wchar *&wide) {
    _gl_free_ptr(std::exchange(wide, nullptr));
    if (text == nullptr) return true;
    const int length = text_characters(locale, text);
    if (length < 0) {
        set_error(locale, GL_EILSEQ);
        return false;
    }
    Owned<gl_wchar> characters = Owned<gl_wchar>::allocate(static_cast<uint32_t>(length) + 1);
    if (!characters) {
        set_error(locale, GL_ENOMEM);
        return false;
    }
    if (locale->mbstowcs(locale, characters.get(), text, length + 1) != length) {
        set_error(locale, GL_EILSEQ);
        return false;
    }
    wide = characters.release();
    return true;
}

bool make_wide(gl_locale *locale, gl_text &text) { return alloc_wc_from_mb(locale, text.bytes, text.wide); }

void free_text(gl_text &text) {
    _gl_free_ptr(text.bytes);
    _gl_free_ptr(text.wide);
    text = {nullptr, nullptr};
}

int ready_for_texts(gl_locale *locale) {
    const gl_multi *codeset = locale->ctype.codeset_table;
    if (codeset == nullptr || set_function_pointers(locale) != 0) return -1;
    if (_gl_multi_max_length(codeset) > 0) return 1;
    set_error(locale, GL_ENOCODESET);
    return 0;
}

} // namespace qbgl
