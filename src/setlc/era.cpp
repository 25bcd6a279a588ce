// An era string has seven fields, separated by ":".
//
//   DIRECTION:OFFSET:START:END:NAME:FORMAT:THIRD
//
// DIRECTION is + or -, START a date YEAR/MONTH/DAY, END a date, "+*" or "-*". POSIX has no third text; here it is required, if only
// by its separator.
#include "setlc/era.h"

#include "ext/error.h"
#include "setlc/text.h"
#include "tree/bytewise.h"
#include "util/owned.h"

#include <algorithm>
#include <span>
#include <string.h>

namespace qbgl {

namespace {

// Reads the fields of one era string. Each step returns 0 or an error number.
class EraFields {
  public:
    EraFields(gl_locale *locale, const gl_wchar *text) : locale_(locale), at_(text) {}

    int read(gl_era &era) {
        if (int error = read_direction(era); error != 0) return error;
        era.offset = integer();
        if (!skip(':') || !date(era.start_year, era.start_month, era.start_day) || !skip(':')) return GL_EBADERA;
        if (!read_end(era) || !skip(':')) return GL_EBADERA;
        if (int error = text_before_colon(era.name); error != 0) return error;
        if (int error = text_before_colon(era.format); error != 0) return error;
        return convert(static_cast<uint32_t>(gl_wcslen(at_)), era.third);
    }

  private:
    int read_direction(gl_era &era) {
        if (*at_ != '+' && *at_ != '-') return GL_EBADERA;
        era.direction = *at_++ == '+' ? 1 : -1;
        return skip(':') ? 0 : GL_EBADERA;
    }

    bool read_end(gl_era &era) {
        if ((at_[0] == '+' || at_[0] == '-') && at_[1] == '*') {
            era.end_flag = at_[0] == '+' ? 1 : -1;
            at_ += 2;
            return true;
        }
        return date(era.end_year, era.end_month, era.end_day);
    }

    bool date(int32_t &year, int32_t &month, int32_t &day) {
        year = integer();
        if (!skip('/')) return false;
        month = integer();
        if (!skip('/')) return false;
        day = integer();
        return true;
    }

    // 0 without digits; as large as fits with too many.
    int32_t integer() {
        const bool negative = skip('-');
        int64_t value = 0;
        for (; *at_ >= '0' && *at_ <= '9'; ++at_) value = std::min<int64_t>(value * 10 + (*at_ - '0'), INT32_MAX);
        return static_cast<int32_t>(negative ? -value : value);
    }

    // A text without its separator is a missing one.
    int text_before_colon(char *&text) {
        uint32_t length = 0;
        while (at_[length] != 0 && at_[length] != ':') ++length;
        if (at_[length] == 0) return GL_ENOMEM;
        const int error = convert(length, text);
        at_ += length + 1;
        return error;
    }

    int convert(uint32_t length, char *&text) {
        const bool single_byte = bytes_are_characters(locale_);
        if (!single_byte && length > UINT32_MAX / 4) return GL_ENOMEM;
        Owned<char> bytes(allocate_text(single_byte ? length : length * 4));
        if (!bytes) return GL_ENOMEM;
        char *end = bytes.get();
        for (uint32_t i = 0; i < length; ++i) {
            if (single_byte) {
                *end++ = static_cast<char>(at_[i]);
                continue;
            }
            const int written = gl_full_wctomb(locale_, end, at_[i]);
            if (written < 1) return GL_EBADERA;
            end += written;
        }
        text = bytes.release();
        return 0;
    }

    bool skip(gl_wchar wc) {
        if (*at_ != wc) return false;
        ++at_;
        return true;
    }

    gl_locale *locale_;
    const gl_wchar *at_;
};

bool get_era_struct(gl_locale *locale, const char *text, gl_era &era) {
    gl_wchar *wide = nullptr;
    int error;
    if (alloc_wc_from_mb(locale, text, wide))
        error = EraFields(locale, wide).read(era);
    else
        error = get_error(locale) == GL_EILSEQ ? GL_EBADERA : GL_ENOMEM;
    _gl_free_ptr(wide);
    if (error != 0) set_error(locale, error);
    return error == 0;
}

// The bytes of a text up to the colon behind `fields` fields, or of all of it; -1 with the error number.
int bytes_of_fields(gl_locale *locale, const char *text, int fields) {
    const int bytes = text_bytes(locale, text);
    gl_wchar wc;
    for (int at = 0, length; at < bytes; at += length) {
        length = gl_full_mbtowc(locale, &wc, text + at, bytes - at);
        if (length < 1) return bytes;
        if (wc == ':' && --fields == 0) return at;
    }
    return bytes;
}

// The first fields of each text with a character of the codeset between them. Null with the handle's error.
char *join(gl_locale *locale, std::span<char *const> texts, gl_wchar character, int fields) {
    char separator[4] = {static_cast<char>(character)};
    const int separator_length = texts.size() < 2               ? 0
                                 : bytes_are_characters(locale) ? 1
                                                                : gl_full_wctomb(locale, separator, character);
    if (separator_length < 0) return nullptr;
    uint64_t size = 0;
    for (const char *text : texts) {
        const int bytes = bytes_of_fields(locale, text, fields);
        if (bytes < 0) return nullptr;
        size += static_cast<uint32_t>(bytes + separator_length);
    }
    char *joined = size <= UINT32_MAX ? allocate_text(static_cast<uint32_t>(size)) : nullptr;
    if (joined == nullptr) {
        set_error(locale, GL_ENOMEM);
        return nullptr;
    }
    char *end = joined;
    for (size_t i = 0; i < texts.size(); ++i) {
        if (i > 0) end = std::copy_n(separator, separator_length, end);
        end = std::copy_n(texts[i], bytes_of_fields(locale, texts[i], fields), end);
    }
    return joined;
}

constexpr int ALL_FIELDS = INT32_MAX, STANDARD_FIELDS = 6;

std::span<char *const> era_strings(const gl_time_info &info) { return {info.era_strings, static_cast<size_t>(info.era_count)}; }
std::span<char *const> alt_digits(const gl_time_info &info) {
    return {info.alt_digits.bytes, static_cast<size_t>(info.alt_digits.count)};
}

bool create_era_info(gl_locale *locale) {
    gl_time_info &info = locale->time;
    _gl_free_ptr(info.joined_eras);
    info.joined_eras = join(locale, era_strings(info), '\n', ALL_FIELDS);
    return info.joined_eras != nullptr;
}

bool create_alt_digits_info(gl_locale *locale) {
    gl_time_info &info = locale->time;
    _gl_free_ptr(info.joined_alt_digits);
    info.joined_alt_digits = join(locale, alt_digits(info), '\n', ALL_FIELDS);
    return info.joined_alt_digits != nullptr;
}

} // namespace

int init_era_info(gl_locale *locale) {
    gl_time_info &info = locale->time;
    era_cleanup(locale);
    info.eras = Owned<gl_era>::allocate(static_cast<uint32_t>(info.era_count)).release();
    if (info.eras == nullptr) {
        set_error(locale, GL_ENOMEM);
        return -1;
    }
    std::fill_n(info.eras, info.era_count, gl_era{});
    for (int32_t i = 0; i < info.era_count; ++i) {
        if (get_era_struct(locale, info.era_strings[i], info.eras[i])) continue;
        era_cleanup(locale);
        return -1;
    }
    return create_era_info(locale) && create_alt_digits_info(locale) ? 0 : -1;
}

int init_time_info_texts(gl_locale *locale) {
    const gl_time_info &info = locale->time;
    free_time_info_texts(locale);
    locale->info.era = join(locale, era_strings(info), ';', STANDARD_FIELDS);
    locale->info.alt_digits = join(locale, alt_digits(info), ';', ALL_FIELDS);
    return locale->info.era != nullptr && locale->info.alt_digits != nullptr ? 0 : -1;
}

void free_time_info_texts(gl_locale *locale) {
    _gl_free_ptr(std::exchange(locale->info.era, nullptr));
    _gl_free_ptr(std::exchange(locale->info.alt_digits, nullptr));
}

void era_cleanup(gl_locale *locale) {
    gl_time_info &info = locale->time;
    for (int32_t i = 0; info.eras != nullptr && i < info.era_count; ++i) {
        const gl_era &era = info.eras[i];
        for (char *text : {era.name, era.format, era.third}) _gl_free_ptr(text);
        _gl_free_ptr(era.w_third);
    }
    _gl_free_ptr(std::exchange(info.eras, nullptr));
}

} // namespace qbgl
