/* A small extension for qbgl, to begin one's own with. It serves characters and order of the locales that its map lists, one name a
 * line, all of them in UTF-8: ASCII has case and classes, and texts are ordered by code points. It converts between ISO 8859-1
 * and UTF-8. */
#define _POSIX_C_SOURCE 200809L
#include <qbgl_extension.h>

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

QBGL_EXTENSION_DECLARATIONS

int glu_extension_version(void) { return QBGL_EXTENSION_VERSION; }

/* ------------------------------------------------------------------------------------------------------------------------------
 * 1. The host's functions. What is not needed is not kept.
 * ------------------------------------------------------------------------------------------------------------------------------ */
static void *libc_malloc(uint32_t size) { return malloc(size); }

static void *(*host_malloc)(uint32_t size) = libc_malloc;
static void (*host_free)(void *pointer) = free;
static int (*host_fgetc)(FILE *stream) = fgetc;
static int (*host_ferror)(FILE *stream) = ferror;

void glu_setMallocFunc(void *(*function)(uint32_t)) { host_malloc = function ? function : libc_malloc; }
void glu_setCallocFunc(void *(*function)(uint32_t, uint32_t)) { (void)function; }
void glu_setReallocFunc(void *(*function)(void *, uint32_t)) { (void)function; }
void glu_setFreeFunc(void (*function)(void *)) { host_free = function ? function : free; }
void glu_setFgetcFunc(int (*function)(FILE *)) { host_fgetc = function ? function : fgetc; }
void glu_setFseekFunc(int (*function)(FILE *, int32_t, int)) { (void)function; }
void glu_setFtellFunc(long (*function)(FILE *)) { (void)function; }
void glu_setFerrorFunc(int (*function)(FILE *)) { host_ferror = function ? function : ferror; }
void glu_setFeofFunc(int (*function)(FILE *)) { (void)function; }
void glu_setPrintMessageFunc(void (*function)(const char *)) { (void)function; }
void glu_setMessageLevel(int level) { (void)level; }
void glu_setMessageSubLevel(int level) { (void)level; }

const char *glu_icuErrorName(int code) { return code > 0 ? "an error" : "no error"; }

static int fail(int16_t *error, int number) {
    if (error) *error = (int16_t)number;
    return -1;
}

static void *fail_with_null(int16_t *error, int number) {
    fail(error, number);
    return NULL;
}

static int fail_status(int *status, int number) {
    if (status) *status = number;
    return -1;
}

/* ------------------------------------------------------------------------------------------------------------------------------
 * 2. Data and map. The map is all the data that there is.
 * ------------------------------------------------------------------------------------------------------------------------------ */
static const char map_name[] = "locmap";
static const char *the_map; /* its text; a line feed stands before and behind each name */

int glu_getIcuDataFileName(char *name, int size) {
    if (!name || size < (int)sizeof map_name) return -1;
    memcpy(name, map_name, sizeof map_name);
    return 0;
}

static char *read_map(FILE *file, int *status) {
    long size = fseek(file, 0, SEEK_END) == 0 ? ftell(file) : -1;
    char *text = size >= 0 && size < INT_MAX - 3 ? host_malloc((uint32_t)size + 3) : NULL;
    if (!text) {
        fail_status(status, size < 0 ? GL_EBADFILE : GL_ENOMEM);
        return NULL;
    }
    rewind(file);
    text[0] = text[size + 1] = '\n';
    text[size + 2] = '\0';
    if (fread(text + 1, 1, (size_t)size, file) == (size_t)size) return text;
    host_free(text);
    fail_status(status, GL_EBADFILE);
    return NULL;
}

static FILE *open_file(const char *path) {
    const int number = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK); /* a FIFO would wait for somebody who writes */
    struct stat about;
    FILE *file = number >= 0 && fstat(number, &about) == 0 && S_ISREG(about.st_mode) ? fdopen(number, "r") : NULL;
    if (!file && number >= 0) close(number);
    return file;
}

static char *load(const char *path, int *status) {
    FILE *file = path ? open_file(path) : NULL;
    char *text;
    if (!file) {
        fail_status(status, path ? GL_ENOFILE : GL_ENULLPTR);
        return NULL;
    }
    text = read_map(file, status);
    fclose(file);
    return text;
}

void *glu_loadIcuData(const char *path, int flags, int *status) {
    (void)flags;
    return load(path, status);
}
void glu_unloadIcuData(void *data) { host_free(data); }

void *glu_loadMapData(const char *path, int *status) {
    char *map = load(path, status);
    if (map) the_map = map;
    return map;
}
void glu_unloadMapData(void *map) {
    if (the_map == map) the_map = NULL;
    host_free(map);
}

static int is_listed(const char *map, const char *name) {
    const size_t length = strlen(name);
    const char *line;
    for (line = map; line && length; line = strchr(line + 1, '\n'))
        if (strncmp(line + 1, name, length) == 0 && line[length + 1] == '\n') return 1;
    return 0;
}

/* ------------------------------------------------------------------------------------------------------------------------------
 * 3. Locales. They differ in nothing but the name.
 * ------------------------------------------------------------------------------------------------------------------------------ */
int glu_useIcuLocCall(const char *name, int category) {
    return name && (category == GL_CAT_CTYPE || category == GL_CAT_COLLATE) && is_listed(the_map, name);
}

static void *new_locale(const char *name, int16_t *error) {
    const size_t size = strlen(name) + 1;
    char *locale = host_malloc((uint32_t)size);
    return locale ? memcpy(locale, name, size) : fail_with_null(error, GL_ENOMEM);
}

void *glu_lc_open(const char *name, void *map, int16_t *error) {
    if (!name || !map) return fail_with_null(error, GL_ENULLPTR);
    return is_listed(map, name) ? new_locale(name, error) : fail_with_null(error, GL_ENOFILE);
}
void *glu_lc_clone(void *locale, int16_t *error) { return locale ? new_locale(locale, error) : fail_with_null(error, GL_ENULLPTR); }
void *glu_lc_close(void *locale) {
    host_free(locale);
    return NULL;
}
const char *glu_getICULocName(void *locale) { return locale; }

enum { LONGEST = 4 };

int glu_mb_loc_max(void *locale) { return locale ? LONGEST : -1; }
int glu_mb_loc_min(void *locale) { return locale ? 1 : -1; }

/* ------------------------------------------------------------------------------------------------------------------------------
 * 4. Characters and text between a codeset and Unicode
 * ------------------------------------------------------------------------------------------------------------------------------ */

/* The length of the UTF-8 character that begins the n bytes at s (n below 0: as many as it needs), or minus an error. */
static int decode(const char *text, long n, gl_wchar *wc) {
    const unsigned char *s = (const unsigned char *)text;
    unsigned least, most;
    int length, i;
    if (n == 0) return -GL_EINVAL;
    *wc = s[0];
    if (s[0] < 0x80) return 1;
    if (s[0] < 0xC2 || s[0] > 0xF4) return -GL_EILSEQ;
    length = s[0] < 0xE0 ? 2 : s[0] < 0xF0 ? 3 : 4;
    least = s[0] == 0xE0 ? 0xA0 : s[0] == 0xF0 ? 0x90 : 0x80;
    most = s[0] == 0xED ? 0x9F : s[0] == 0xF4 ? 0x8F : 0xBF;
    *wc &= 0x7Fu >> length;
    for (i = 1; i < length; ++i, least = 0x80, most = 0xBF) {
        if (i == n) return -GL_EINVAL;
        if (s[i] < least || s[i] > most) return -GL_EILSEQ;
        *wc = *wc << 6 | (s[i] & 0x3Fu);
    }
    return length;
}

/* Writes 1 to 4 bytes, 0 for what is no character. */
static int encode(char *s, gl_wchar wc) {
    static const unsigned char leads[] = {0, 0, 0xC0, 0xE0, 0xF0};
    const int length = wc < 0x80 ? 1 : wc < 0x800 ? 2 : wc < 0x10000 ? 3 : 4;
    int i;
    if (wc > 0x10FFFF || (wc >= 0xD800 && wc <= 0xDFFF)) return 0;
    for (i = length - 1; i > 0; --i, wc >>= 6) s[i] = (char)(0x80 | (wc & 0x3F));
    s[0] = (char)(leads[length] | wc);
    return length;
}

static int decode_units(const uint16_t *units, long n, gl_wchar *wc) {
    *wc = units[0];
    if (units[0] < 0xD800 || units[0] > 0xDFFF) return 1;
    if (units[0] > 0xDBFF || n == 1 || units[1] < 0xDC00 || units[1] > 0xDFFF) return -GL_EILSEQ;
    *wc = 0x10000 + ((gl_wchar)(units[0] - 0xD800) << 10) + (units[1] - 0xDC00u);
    return 2;
}

static int encode_units(uint16_t *units, gl_wchar wc) {
    if (wc < 0x10000) {
        units[0] = (uint16_t)wc;
        return 1;
    }
    units[0] = (uint16_t)(0xD7C0 + (wc >> 10));
    units[1] = (uint16_t)(0xDC00 | (wc & 0x3FF));
    return 2;
}

/* A text in one of the three forms; `left` counts its bytes, units or values, -1 says that it has a terminator. */
enum Form { BYTES, UNITS, VALUES };
struct text {
    enum Form form;
    const void *at;
    long left;
};

/* Takes the next character: 1, or 0 at the end of the text, or minus an error. */
static int next(struct text *text, gl_wchar *wc) {
    static const int sizes[] = {1, 2, 4};
    int length;
    if (text->left == 0) return 0;
    if (text->form == BYTES) {
        length = decode(text->at, text->left, wc);
    } else if (text->form == UNITS) {
        length = decode_units(text->at, text->left, wc);
    } else {
        char unused[LONGEST];
        *wc = *(const gl_wchar *)text->at;
        length = encode(unused, *wc) ? 1 : -GL_EILSEQ;
    }
    if (length < 0) return -GL_EILSEQ;
    if (text->left < 0 && *wc == 0) return 0;
    text->at = (const char *)text->at + length * sizes[text->form];
    if (text->left > 0) text->left -= length;
    return 1;
}

/* What is wrong with a text that is handed over, or 0. */
static int fault(const void *locale, const void *text, int len) {
    return !locale || !text ? GL_ENULLPTR : len < -1 ? GL_EBADARG : 0;
}

typedef gl_wchar mapping(gl_wchar wc);
static gl_wchar as_it_is(gl_wchar wc) { return wc; }

/* Writes a text in another form, with each character mapped, and the terminator where there is one and room for it. The units
 * before that, or -1. *ended says whether all was written, the terminator included. */
static int transfer(enum Form form, void *dst, int room, struct text text, mapping *map, int *ended, int16_t *error) {
    const int terminated = text.left < 0;
    int used = 0;
    *ended = 0;
    if (!dst) room = 0;
    while (terminated || text.left > 0) {
        char bytes[LONGEST];
        uint16_t units[2];
        int length = 1, found;
        gl_wchar wc = 0;
        if (used >= room) return used;
        if ((found = next(&text, &wc)) < 0) return fail(error, -found);
        if (found) wc = map(wc); /* otherwise it is the terminator */
        if (form == BYTES) length = encode(bytes, wc);
        if (form == UNITS) length = encode_units(units, wc);
        if (length > room - used) return used;
        if (form == BYTES) memcpy((char *)dst + used, bytes, (size_t)length);
        if (form == UNITS) memcpy((uint16_t *)dst + used, units, (size_t)length * sizeof *units);
        if (form == VALUES) ((gl_wchar *)dst)[used] = wc;
        if (!found) break;
        used += length;
    }
    *ended = 1;
    return used;
}

static int to_unicode(const void *locale, enum Form form, void *dst, int n, struct text text, int16_t *error) {
    const int wrong = fault(locale, text.at, (int)text.left);
    int ended, used;
    if (wrong) return fail(error, wrong);
    if (n < 0) n = 0;
    used = transfer(form, dst, n, text, as_it_is, &ended, error);
    return ended || used < 0 ? used : text.left < 0 ? n : n + 1;
}

static int from_unicode(const void *locale, char *dst, int n, struct text text, int16_t *error) {
    const int wrong = fault(locale, text.at, (int)text.left);
    int ended;
    return wrong ? fail(error, wrong) : transfer(BYTES, dst, n, text, as_it_is, &ended, error);
}

static struct text bytes_of(const char *s, int len) {
    struct text text = {BYTES, NULL, 0};
    text.at = s;
    text.left = len;
    return text;
}
static struct text units_of(const uint16_t *s, int len) {
    struct text text = {UNITS, NULL, 0};
    text.at = s;
    text.left = len;
    return text;
}
static struct text values_of(const gl_wchar *s, int len) {
    struct text text = {VALUES, NULL, 0};
    text.at = s;
    text.left = len;
    return text;
}

/* A character of the n bytes at s; its length, or -1. */
static int character(const void *locale, const char *s, int n, gl_wchar *wc, int16_t *error) {
    int length;
    if (!locale || !s) return fail(error, GL_ENULLPTR);
    length = n < 1 ? -GL_EINVAL : decode(s, n, wc);
    return length > 0 ? length : fail(error, -length);
}

static int one_of_text(const void *locale, const char *s, int n, gl_wchar *wc, int16_t *error) {
    if (!locale) return fail(error, GL_ENULLPTR);
    if (!s) return *wc = 0;
    if (n == -1) n = s[0] ? LONGEST : 0;
    return character(locale, s, n, wc, error);
}

int glu_mbtouc32(void *locale, gl_wchar *wc, const char *s, int n, int16_t *error) {
    gl_wchar value = 0;
    const int length = one_of_text(locale, s, n, &value, error);
    if (length > 0 && wc) *wc = value;
    return value ? length : length < 0 ? -1 : 0;
}
int glu_mbtouc(void *locale, uint16_t *units, const char *s, int n, int16_t *error) {
    gl_wchar value = 0;
    const int length = one_of_text(locale, s, n, &value, error);
    if (length > 0 && units) encode_units(units, value);
    return value ? length : length < 0 ? -1 : 0;
}
int glu_mblen(void *locale, const char *s, int n, int16_t *error) {
    gl_wchar value = 0;
    const int length = locale && !s ? 0 : character(locale, s, n, &value, error);
    return value ? length : length < 0 ? -1 : 0;
}
int glu_uc32tomb(void *locale, char *s, gl_wchar wc, int16_t *error) {
    const int length = locale && s ? encode(s, wc) : 0;
    return length ? length : fail(error, locale && s ? GL_EILSEQ : GL_ENULLPTR);
}
int glu_uctomb(void *locale, char *s, const uint16_t *units, int16_t *error) {
    gl_wchar wc = 0;
    if (!locale || !s || !units) return fail(error, GL_ENULLPTR);
    return decode_units(units, -1, &wc) > 0 ? encode(s, wc) : fail(error, GL_EILSEQ);
}
int glu_mbstoucs32(void *locale, gl_wchar *dst, int n, const char *src, int len, int16_t *error) {
    return to_unicode(locale, VALUES, dst, n, bytes_of(src, len), error);
}
int glu_mbstoucs(void *locale, uint16_t *dst, int n, const char *src, int len, int16_t *error) {
    return to_unicode(locale, UNITS, dst, n, bytes_of(src, len), error);
}
int glu_ucstoucs32(void *locale, gl_wchar *dst, int n, const uint16_t *src, int len, int16_t *error) {
    return to_unicode(locale, VALUES, dst, n, units_of(src, len), error);
}
int glu_ucs32toucs(void *locale, uint16_t *dst, int n, const gl_wchar *src, int len) {
    return to_unicode(locale, UNITS, dst, n, values_of(src, len), NULL);
}
int glu_ucs32tombs(void *locale, char *dst, int n, const gl_wchar *src, int len, int16_t *error) {
    return from_unicode(locale, dst, n, values_of(src, len), error);
}
int glu_ucstombs(void *locale, char *dst, int n, const uint16_t *src, int len, int16_t *error) {
    return from_unicode(locale, dst, n, units_of(src, len), error);
}

/* ------------------------------------------------------------------------------------------------------------------------------
 * 5. Stepping and lengths
 * ------------------------------------------------------------------------------------------------------------------------------ */
char *glu_mbsnext(void *locale, const char *s, int n, int16_t *error) {
    gl_wchar wc;
    const int length = character(locale, s, n == -1 ? LONGEST : n, &wc, error);
    return length > 0 ? (char *)s + length : NULL;
}

char *glu_mbsprev(void *locale, const char *start, const char *pos, int16_t *error) {
    int length = 0;
    gl_wchar wc;
    if (!locale || !start || !pos) return fail_with_null(error, GL_ENULLPTR);
    if (pos <= start) return fail_with_null(error, GL_EENDBEFORE);
    for (;; start += length) {
        length = character(locale, start, (int)(pos - start), &wc, error);
        if (length < 0) return NULL;
        if (start + length == pos) return (char *)start;
    }
}

int glu_mbslen(void *locale, const char *s, int len, int16_t *error) {
    struct text text = bytes_of(s, len);
    const int wrong = fault(locale, s, len);
    int count = 0, found;
    gl_wchar wc;
    if (wrong) return fail(error, wrong);
    while ((found = next(&text, &wc)) > 0) ++count;
    return found < 0 ? fail(error, -found) : count;
}

int glu_mbsbytes(void *locale, const char *s, int16_t *error) {
    if (locale && !s) return 0;
    return glu_mbslen(locale, s, -1, error) < 0 ? 0 : (int)strlen(s) + 1;
}

static unsigned classes(gl_wchar wc) {
    const unsigned graph = GL_CLASS_GRAPH | GL_CLASS_PRINT;
    if (wc == ' ') return GL_CLASS_SPACE | GL_CLASS_BLANK | GL_CLASS_PRINT;
    if (wc == '\t') return GL_CLASS_SPACE | GL_CLASS_BLANK | GL_CLASS_CNTRL;
    if (wc >= '\n' && wc <= '\r') return GL_CLASS_SPACE | GL_CLASS_CNTRL;
    if (wc < ' ' || (wc >= 0x7F && wc < 0xA0)) return GL_CLASS_CNTRL;
    if (wc >= '0' && wc <= '9') return GL_CLASS_DIGIT | GL_CLASS_XDIGIT | graph;
    if (wc >= 'A' && wc <= 'Z') return GL_CLASS_UPPER | GL_CLASS_ALPHA | graph | (wc <= 'F' ? GL_CLASS_XDIGIT : 0);
    if (wc >= 'a' && wc <= 'z') return GL_CLASS_LOWER | GL_CLASS_ALPHA | graph | (wc <= 'f' ? GL_CLASS_XDIGIT : 0);
    if (wc < 0x7F) return GL_CLASS_PUNCT | graph;
    return wc > 0x10FFFF || (wc >= 0xD800 && wc <= 0xDFFF) ? 0 : GL_CLASS_ALPHA | graph;
}

int glu_mbsntsbytes(void *locale, const char *s, int len, int16_t *error) {
    struct text text = bytes_of(s, len);
    const int wrong = fault(locale, s, len);
    const char *end = s;
    int found;
    gl_wchar wc;
    if (wrong) return fail(error, wrong);
    while ((found = next(&text, &wc)) > 0)
        if ((classes(wc) & (GL_CLASS_BLANK | GL_CLASS_CNTRL)) != GL_CLASS_BLANK) end = text.at;
    return found < 0 ? fail(error, -found) : (int)(end - s);
}

int glu_ucs32len(const gl_wchar *s, int16_t *error) {
    int count = 0;
    if (!s) return fail(error, GL_ENULLPTR);
    while (s[count]) ++count;
    return count;
}

gl_wchar *glu_ucs32uc32(const gl_wchar *s, gl_wchar wc, int16_t *error) {
    if (!s) return fail_with_null(error, GL_ENULLPTR);
    while (*s && *s != wc) ++s;
    return *s == wc ? (gl_wchar *)s : NULL;
}

char *glu_mbschr(void *locale, const char *s, const char *c, int16_t *error) {
    struct text text = bytes_of(s, -1);
    gl_wchar wanted, wc;
    int found;
    if (!s || character(locale, c, LONGEST, &wanted, error) < 0) return s ? NULL : fail_with_null(error, GL_ENULLPTR);
    while ((found = next(&text, &wc)) > 0 && wc != wanted) s = text.at;
    if (found < 0) return fail_with_null(error, -found);
    return found || wanted == 0 ? (char *)s : NULL;
}

char *glu_getmbsi(void *locale, const char *s, int i, int16_t *error) {
    gl_wchar wc;
    if (!locale || !s) return fail_with_null(error, GL_ENULLPTR);
    if (i < 0) return fail_with_null(error, GL_ENEGCOUNT);
    for (; i > 0; --i) {
        const int length = character(locale, s, LONGEST, &wc, error);
        if (length < 0) return NULL;
        s += length;
    }
    return (char *)s;
}

char *glu_putmbsi(void *locale, char *s, int i, const char *new_char, int16_t *error) {
    char *const place = glu_getmbsi(locale, s, i, error);
    gl_wchar wc;
    const int older = place ? character(locale, place, LONGEST, &wc, error) : -1;
    const int newer = older > 0 ? character(locale, new_char, LONGEST, &wc, error) : -1;
    if (newer < 0) return NULL;
    memmove(place + newer, place + older, strlen(place + older) + 1);
    return memcpy(place, new_char, (size_t)newer);
}

/* Reads a character from a source of bytes. Its length, or minus an error. */
static int read_character(char *buffer, gl_byte_reader reader, void *stream, int *length, gl_wchar *wc) {
    int result = -GL_EINVAL;
    for (*length = 0; result == -GL_EINVAL; result = decode(buffer, *length, wc)) {
        const int byte = reader(stream);
        if (byte < 0) return *length ? -GL_EINVAL : -GL_EEOF;
        buffer[(*length)++] = (char)byte;
    }
    return result;
}

int glu_getmb(void *locale, char *buffer, gl_byte_reader reader, void *stream, int *length, int16_t *error) {
    gl_wchar wc;
    int result, unused;
    if (!locale || !buffer || !reader) return fail(error, GL_ENULLPTR);
    result = read_character(buffer, reader, stream, length ? length : &unused, &wc);
    return result < 0 ? fail(error, -result) : 0;
}

static int read_byte(void *stream) { return host_fgetc(stream); }

gl_wchar glu_fgetuc32(void *locale, FILE *stream, int16_t *error) {
    char buffer[LONGEST];
    int length, result = -GL_ENULLPTR;
    gl_wchar wc = 0;
    if (locale && stream) result = read_character(buffer, read_byte, stream, &length, &wc);
    if ((result == -GL_EEOF || result == -GL_EINVAL) && host_ferror(stream)) result = -GL_EIO;
    return result > 0 ? wc : (gl_wchar)fail(error, -result);
}

/* ------------------------------------------------------------------------------------------------------------------------------
 * 6. Classes, width and case
 * ------------------------------------------------------------------------------------------------------------------------------ */
unsigned glu_ismctype(void *locale, const char *s, int len, unsigned mask, int16_t *error) {
    gl_wchar wc;
    return character(locale, s, len, &wc, error) > 0 ? classes(wc) & mask : 0;
}
unsigned glu_isuc32type(gl_wchar wc, unsigned mask) { return classes(wc) & mask; }

/* -1 for what is not of class print. */
static int width(gl_wchar wc) {
    if (wc == 0) return 0;
    if (!(classes(wc) & GL_CLASS_PRINT)) return -1;
    return (wc >= 0x1100 && wc < 0x1160) || (wc >= 0x2E80 && wc < 0xA4D0) || (wc >= 0xAC00 && wc < 0xD7A4) ||
                   (wc >= 0xF900 && wc < 0xFB00) || (wc >= 0xFF01 && wc < 0xFF61) || (wc >= 0x20000 && wc < 0x3FFFE)
               ? 2
               : 1;
}

/* Of at most n characters that begin before `end`. */
static int text_width(struct text text, int n, const void *end, int16_t *error) {
    int sum = 0, found;
    gl_wchar wc;
    for (; n > 0 && text.at != end; --n, sum += width(wc)) {
        if (end && (const char *)text.at > (const char *)end) break;
        if ((found = next(&text, &wc)) < 0) return fail(error, -found);
        if (!found) break;
        if (width(wc) < 0) return fail(error, GL_EINVAL);
    }
    return sum;
}

static int counted_width(struct text text, int n, int16_t *error) {
    if (!text.at) return fail(error, GL_ENULLPTR);
    return n < 0 ? fail(error, GL_ENEGCOUNT) : text_width(text, n, NULL, error);
}

static int bounded_width(struct text text, const void *end, int16_t *error) {
    if (!text.at || !end) return fail(error, GL_ENULLPTR);
    if ((const char *)end < (const char *)text.at) return fail(error, GL_EENDBEFORE);
    return text_width(text, INT_MAX, end, error);
}

int glu_mbwidth(void *locale, const char *s, int16_t *error) { return glu_mbswidth(locale, s, 1, error); }
int glu_uc32width(gl_wchar wc, int16_t *error) { return wc ? glu_ucs32width(&wc, 1, error) : 0; }
int glu_mbswidth(void *locale, const char *s, int n, int16_t *error) {
    return locale ? counted_width(bytes_of(s, -1), n, error) : fail(error, GL_ENULLPTR);
}
int glu_ucs32width(const gl_wchar *s, int n, int16_t *error) { return counted_width(values_of(s, -1), n, error); }
int glu_mbspwidth(void *locale, const char *start, const char *end, int16_t *error) {
    return locale ? bounded_width(bytes_of(start, -1), end, error) : fail(error, GL_ENULLPTR);
}
int glu_ucs32pwidth(const gl_wchar *start, const gl_wchar *end, int16_t *error) {
    return bounded_width(values_of(start, -1), end, error);
}

static gl_wchar upper(gl_wchar wc) { return wc >= 'a' && wc <= 'z' ? wc - 'a' + 'A' : wc; }
static gl_wchar lower(gl_wchar wc) { return wc >= 'A' && wc <= 'Z' ? wc - 'A' + 'a' : wc; }

static int one_mapped(void *locale, char *dst, const char *src, int len, mapping *map, int16_t *error) {
    gl_wchar wc;
    const int length = dst ? character(locale, src, len, &wc, error) : fail(error, GL_ENULLPTR);
    return length > 0 ? length << 8 | encode(dst, map(wc)) : 0;
}

static int all_mapped(const void *locale, enum Form form, void *dst, struct text text, mapping *map, int16_t *error) {
    const int wrong = dst ? fault(locale, text.at, -1) : GL_ENULLPTR;
    int ended;
    return wrong ? fail(error, wrong) : transfer(form, dst, INT_MAX, text, map, &ended, error);
}

int glu_mbtoupper(void *locale, char *dst, const char *src, int len, int16_t *error) {
    return one_mapped(locale, dst, src, len, upper, error);
}
int glu_mbtolower(void *locale, char *dst, const char *src, int len, int16_t *error) {
    return one_mapped(locale, dst, src, len, lower, error);
}
gl_wchar glu_uc32toupper(void *locale, gl_wchar wc, int16_t *error) {
    if (!locale) fail(error, GL_ENULLPTR);
    return upper(wc);
}
gl_wchar glu_uc32tolower(void *locale, gl_wchar wc, int16_t *error) {
    if (!locale) fail(error, GL_ENULLPTR);
    return lower(wc);
}
int glu_mbstoupper(void *locale, char *dst, const char *src, int16_t *error) {
    return all_mapped(locale, BYTES, dst, bytes_of(src, -1), upper, error);
}
int glu_mbstolower(void *locale, char *dst, const char *src, int16_t *error) {
    return all_mapped(locale, BYTES, dst, bytes_of(src, -1), lower, error);
}
int glu_ucs32toupper(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error) {
    return all_mapped(locale, VALUES, dst, values_of(src, -1), upper, error) < 0 ? -1 : 0;
}
int glu_ucs32tolower(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error) {
    return all_mapped(locale, VALUES, dst, values_of(src, -1), lower, error) < 0 ? -1 : 0;
}

int glu_case_conv_outbuflen(void *locale, int n) { return !locale ? -1 : n < 1 ? 0 : n; }

/* ------------------------------------------------------------------------------------------------------------------------------
 * 7. Order: by code points, in one pass. A key is the text in UTF-8, with 01 before what would be 00 or 01, which are 01 and 02
 * there.
 * ------------------------------------------------------------------------------------------------------------------------------ */
static int compare(const void *locale, struct text text1, struct text text2, int16_t *error) {
    const int wrong1 = fault(locale, text1.at, (int)text1.left), wrong2 = fault(locale, text2.at, (int)text2.left);
    int found1, found2;
    gl_wchar wc1, wc2;
    if (wrong1 || wrong2) return fail(error, wrong1 ? wrong1 : wrong2) + 1;
    if ((text1.left < 0) != (text2.left < 0)) return fail(error, GL_EMIXEDLEN) + 1;
    do {
        found1 = next(&text1, &wc1);
        found2 = next(&text2, &wc2);
    } while (found1 > 0 && found2 > 0 && wc1 == wc2);
    if (found1 < 0 || found2 < 0) return fail(error, GL_EILSEQ) + 1;
    return found1 && found2 ? (wc1 > wc2) - (wc1 < wc2) : found1 - found2;
}

int glu_mbscoll(void *locale, const char *s1, int len1, const char *s2, int len2, int16_t *error) {
    return compare(locale, bytes_of(s1, len1), bytes_of(s2, len2), error);
}
int glu_ucs32coll(void *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2, int16_t *error) {
    return compare(locale, values_of(s1, len1), values_of(s2, len2), error);
}
int glu_ucscoll(void *locale, const uint16_t *s1, int len1, const uint16_t *s2, int len2, int16_t *error) {
    return compare(locale, units_of(s1, len1), units_of(s2, len2), error);
}

/* A key: what is written of it, and the size that it has. */
struct key {
    char *out;
    int room, size;
};

static void put(struct key *key, int byte) {
    if (key->size < key->room) key->out[key->size] = (char)byte;
    if (key->size < INT_MAX) ++key->size;
}

static void put_bytes(struct key *key, const char *s, long n) {
    for (; n > 0; --n, ++s) {
        const int byte = (unsigned char)*s;
        if (byte < 2) put(key, 1);
        put(key, byte < 2 ? byte + 1 : byte);
    }
}

static int terminated(struct key *key) {
    if (key->size < key->room) key->out[key->size] = '\0';
    return key->size;
}

static int make_key(const void *locale, char *out, struct text text, int suffix, int capacity, int16_t *error) {
    const int wrong = fault(locale, text.at, (int)text.left);
    struct key key = {NULL, 0, 0};
    int found;
    gl_wchar wc;
    if (wrong) return fail(error, wrong);
    key.out = out;
    key.room = out ? capacity : 0;
    while ((found = next(&text, &wc)) > 0) {
        char bytes[LONGEST];
        put_bytes(&key, bytes, encode(bytes, wc));
    }
    if (found < 0) return fail(error, -found);
    if (suffix) put(&key, suffix);
    return terminated(&key);
}

int glu_mbsxfrm(void *locale, char *out, const char *s, int capacity, int16_t *error) {
    return make_key(locale, out, bytes_of(s, -1), 0, capacity, error);
}
int glu_ucs32xfrm(void *locale, char *out, const gl_wchar *s, int capacity, int16_t *error) {
    return make_key(locale, out, values_of(s, -1), 0, capacity, error);
}
int glu_ucsxfrm(void *locale, char *out, const uint16_t *s, int capacity, int16_t *error) {
    return make_key(locale, out, units_of(s, -1), 0, capacity, error);
}

static int is_bound(int bound, int passes) { return bound >= GLU_BOUND_LOWER && bound <= GLU_BOUND_UPPER_LONG && passes >= 1; }

int glu_mbsCollBound(void *locale, char *out, const char *s, int len, int bound, int passes, int capacity, int16_t *error) {
    if (locale && s && !is_bound(bound, passes)) return fail(error, GL_EBADARG);
    return make_key(locale, out, bytes_of(s, len), bound == GLU_BOUND_UPPER_LONG ? 0xFF : 0, capacity, error);
}

int glu_mbsSortKeyCollBound(void *locale, char *out, const char *key, int bound, int passes, int capacity, int16_t *error) {
    struct key copy = {NULL, 0, 0};
    if (!locale || !key) return fail(error, GL_ENULLPTR);
    if (!is_bound(bound, passes)) return fail(error, GL_EBADARG);
    copy.out = out;
    copy.room = out ? capacity : 0;
    while (*key) put(&copy, *key++);
    if (bound == GLU_BOUND_UPPER_LONG) put(&copy, 0xFF);
    return terminated(&copy);
}

int glu_order_version(void *locale, char *out, int room) {
    static const char words[] = "example 1: code points";
    const int length = (int)sizeof words - 1;
    if (!locale) return -1;
    if (out && room > 0) {
        const int part = length < room ? length : room - 1;
        memcpy(out, words, (size_t)part);
        out[part] = '\0';
    }
    return length;
}

int glu_order_compare(void *locale, const char *s1, int len1, const char *s2, int len2, int passes, int16_t *error) {
    const int wrong1 = fault(locale, s1, len1), wrong2 = fault(locale, s2, len2);
    int difference;
    (void)passes;
    if (wrong1 || wrong2) return fail(error, wrong1 ? wrong1 : wrong2) + 1;
    if (len1 < 0) len1 = (int)strlen(s1);
    if (len2 < 0) len2 = (int)strlen(s2);
    difference = memcmp(s1, s2, (size_t)(len1 < len2 ? len1 : len2));
    if (difference == 0) difference = len1 - len2;
    return (difference > 0) - (difference < 0);
}

int glu_order_key(void *locale, const char *s, int len, int passes, unsigned char *key, int room, int16_t *error) {
    const int wrong = fault(locale, s, len);
    struct key whole = {NULL, 0, 0};
    (void)passes;
    if (wrong) return fail(error, wrong);
    whole.out = (char *)key;
    whole.room = key ? room : 0;
    put_bytes(&whole, s, len < 0 ? (long)strlen(s) : len);
    return whole.size;
}

/* ------------------------------------------------------------------------------------------------------------------------------
 * 8. Conversion
 * ------------------------------------------------------------------------------------------------------------------------------ */
enum { LATIN1 = 819, UTF8 = 57372 };

int glu_useIcuCvtCall(int source_number, int target_number) {
    return (source_number == LATIN1 && target_number == UTF8) || (source_number == UTF8 && target_number == LATIN1);
}

/* A converter is the number of its source. */
void *glu_cv_open(int source_number, int target_number, int *status) {
    int *source = glu_useIcuCvtCall(source_number, target_number) ? host_malloc(sizeof *source) : NULL;
    if (source) {
        *source = source_number;
    } else {
        fail_status(status, glu_useIcuCvtCall(source_number, target_number) ? GL_ENOMEM : GL_EINVAL);
    }
    return source;
}

int glu_cv_close(void *converter) {
    host_free(converter);
    return converter ? 0 : -1;
}

int glu_cv_conv(void *converter, int reset, const char **in, int *inleft, char **out, int *outleft, int *subst, int *status) {
    const int source = converter ? *(const int *)converter : 0;
    (void)reset; /* neither side has a state */
    if (subst) *subst = 0;
    if (!converter || !in || !*in || !outleft) return fail_status(status, GL_ENULLPTR);
    if ((inleft && *inleft < 0) || *outleft < 0) return fail_status(status, GL_EBADARG);
    while (!inleft || *inleft > 0) {
        char bytes[LONGEST];
        gl_wchar wc = (unsigned char)**in;
        const int read = source == LATIN1 ? 1 : decode(*in, inleft ? *inleft : -1, &wc);
        const int written = source == LATIN1 ? encode(bytes, wc) : 1;
        if (read < 0) return -1;
        if (source == UTF8 && wc > 0xFF) return fail_status(status, GL_EILSEQ);
        if (source == UTF8) bytes[0] = (char)wc;
        if (written > *outleft) return fail_status(status, GL_E2BIG);
        if (out && *out) *out = (char *)memcpy(*out, bytes, (size_t)written) + written;
        *outleft -= written;
        *in += read;
        if (inleft) *inleft -= read;
        if (!inleft && wc == 0) break;
    }
    return 0;
}

double glu_iconv_expansion(void *converter) { return !converter ? 0 : *(const int *)converter == LATIN1 ? 2 : 1; }
const char *glu_getICUCvtName(void *converter) {
    return !converter ? NULL : *(const int *)converter == LATIN1 ? "ISO 8859-1 to UTF-8" : "UTF-8 to ISO 8859-1";
}
