#include "setlc/object.h"

#include "coll/section.h"
#include "ext/error.h"
#include "order/parts.h"
#include "order/raised.h"
#include "setlc/categories.h"
#include "setlc/dispatch.h"
#include "setlc/more.h"
#include "spec/category.h"
#include "util/object_header.h"
#include "util/tokens.h"

#include <stdlib.h>
#include <string.h>

namespace qbgl {

const char *const category_markers[8] = {
    "", "", "### LC_CTYPE\n", "### LC_COLLATE\n", "### LC_NUMERIC\n", "### LC_MONETARY\n", "### LC_TIME\n", "### LC_MESSAGES\n"};
const char *const category_params[8] = {"",
                                        "",
                                        keyword_of(GL_CAT_CTYPE),
                                        keyword_of(GL_CAT_COLLATE),
                                        keyword_of(GL_CAT_NUMERIC),
                                        keyword_of(GL_CAT_MONETARY),
                                        keyword_of(GL_CAT_TIME),
                                        keyword_of(GL_CAT_MESSAGES)};

namespace {

constexpr int LINE_SIZE = 128;

// Skips lines up to the category's marker. A marker is a whole line, not the end of a long one.
bool find_marker(FILE *file, int category) {
    char line[LINE_SIZE];
    for (bool at_start = true; _gl_ext_fgets(line, sizeof line, file) != nullptr; at_start = check_nl(line) == 0)
        if (at_start && strcmp(line, category_markers[category]) == 0) return true;
    return false;
}

// A reader that has no error number leaves the handle's alone.
int fail_with_message(gl_locale *locale, int error, const char *message) {
    gl_message(message);
    return error != 0 ? fail(locale, error, 1) : 1;
}

template <class Info>
int read_texts(FILE *file, gl_locale *locale, Info &info, int (*read)(FILE *, Info *, int32_t *), int (*init)(gl_locale *),
               const char *read_failed, const char *init_failed) {
    int32_t error = 0;
    if (read(file, &info, &error) != 0) return fail_with_message(locale, error, read_failed);
    return init(locale) < 1 ? fail_with_message(locale, 0, init_failed) : 0;
}

// The digits of the order's line; anything else is the compiler's business.
void take_order(const char *line, OrderDigits &order) {
    constexpr char KEY[] = "ORDER=";
    constexpr size_t KEY_LENGTH = sizeof KEY - 1, DIGITS = sizeof order - 1;
    if (strncmp(line, KEY, KEY_LENGTH) != 0 || strlen(line) != KEY_LENGTH + DIGITS) return;
    if (strspn(line + KEY_LENGTH, "0123456789abcdef") == DIGITS) memcpy(order, line + KEY_LENGTH, sizeof order);
}

// Adds what a line of MORE has; false when memory is out or it is too much.
bool take_more(const char *line, Growing<char> &more) {
    constexpr char KEY[] = "MORE=";
    constexpr size_t KEY_LENGTH = sizeof KEY - 1;
    constexpr uint32_t MOST = 1 << 16;
    if (strncmp(line, KEY, KEY_LENGTH) != 0) return true;
    const auto length = static_cast<uint32_t>(strlen(line + KEY_LENGTH));
    return length <= MOST - more.size() && more.append(line + KEY_LENGTH, length);
}

// Rules that compare code values have none, and some that no compiler writes.
bool take_order_maps(FILE *file, gl_locale *locale) {
    const gl_collate_info &rules = locale->collate;
    if (rules.kind != GL_COLLATION_AS_SPECIFIED || rules.direct != 0 || rules.pass_count == 0) return true;
    gl_order_maps *maps = nullptr;
    bool memory = true;
    if (rules.maps == nullptr) {
        memory = build_raised_order_maps(rules, maps);
    } else {
        ByteReader in(file);
        OrderParts parts;
        const PartsRead read = read_order_parts(in, rules, parts);
        if (read == PartsRead::MALFORMED) return fail(locale, GL_EBADFILE, false);
        memory = read == PartsRead::DONE || (read == PartsRead::NONE && make_order_parts(rules, parts));
        if (memory) memory = (maps = assemble_order_maps(rules, parts)) != nullptr;
    }
    locale->order_maps = maps;
    return memory || fail(locale, GL_ENOMEM, false);
}

int read_order(FILE *file, gl_locale *locale, const ObjectHeader &header) {
    if (read_collate(file, locale) != 0) return 1;
    take_rules(locale);
    if (!take_order_maps(file, locale)) return 1;
    if (header.order[0] != '\0')
        memcpy(locale->order_fingerprint, header.order, sizeof header.order);
    else
        fingerprint_of_rules(locale, locale->order_fingerprint);
    return 0;
}

std::string_view more_of(const ObjectHeader &header) { return {header.more.begin(), header.more.size()}; }

// The section behind the marker.
int read_section(FILE *file, gl_locale *locale, int category, const ObjectHeader &header, const char *messages_failed) {
    switch (category) {
    case GL_CAT_CTYPE:
        if (read_ctype(file, locale) != 0) return 1;
        // The other categories would refuse it, too.
        return _gl_multi_max_length(locale->ctype.codeset_table) == 0 ? fail(locale, GL_ENOCODESET, 1) : 0;
    case GL_CAT_COLLATE: return read_order(file, locale, header);
    case GL_CAT_NUMERIC:
        return read_texts(file, locale, locale->numeric, _gl_read_numeric, init_numeric_info,
                          "Failed to read numeric information\n", "Failed to initialize numeric information\n");
    case GL_CAT_MONETARY:
        if (read_texts(file, locale, locale->monetary, _gl_read_monetary, init_monetary_info,
                       "Failed to read monetary information\n", "Failed to initialize monetary information\n") != 0)
            return 1;
        return read_more_money(locale, more_of(header)) ? 0 : 1;
    case GL_CAT_TIME:
        if (read_texts(file, locale, locale->time, _gl_read_time, init_time_info, "Failed to read time information\n",
                       "Failed to initialize time information\n") != 0)
            return 1;
        return read_more_time(locale, more_of(header)) ? 0 : 1;
    default:
        return read_texts(file, locale, locale->messages, _gl_read_messages, init_message_info, messages_failed,
                          "Failed to initialize messages information\n");
    }
}

int check_stream(FILE *file, gl_locale *locale) { return reading_failed(file) ? fail(locale, GL_ENOFILE, 1) : 0; }

} // namespace

int read_file_header(FILE *file, ObjectHeader &header, int32_t *error) {
    const auto count_of = [](const char *line, long &count) {
        const char *equals = strchr(line, '=');
        count = equals != nullptr ? strtol(equals + 1, nullptr, 10) : 0;
        return count >= FIXED_HEADER_LINES;
    };
    header.order[0] = '\0';
    header.more = {};
    const auto take = [&header](const char *line) {
        take_order(line, header.order);
        return take_more(line, header.more);
    };
    const Header result = read_object_header(file, "FILE_TYPE=locale_object", "COMPILER_VERSION=" GL_LC_VERSION, count_of, take);
    *error = 0;
    if (result == Header::READ && read_line(file, header.codeset, sizeof header.codeset)) return 1;
    *error = result == Header::OTHER_VERSION ? GL_EVERSION : GL_EBADFILE;
    return 0;
}

int verify_codesets(const gl_locale *locale, int category) {
    return same_codeset(nullptr, locale->codeset_name[category], locale->codeset_name[GL_CAT_CTYPE]) ? 0 : 1;
}

int read_locale_file(FILE *file, gl_locale *locale) {
    ObjectHeader header;
    int32_t error = 0;
    if (read_file_header(file, header, &error) == 0) return fail(locale, error, 1);
    for (int category = FIRST_CATEGORY; category <= LAST_CATEGORY; ++category)
        memcpy(locale->codeset_name[category], header.codeset, sizeof header.codeset);
    for (int category = FIRST_CATEGORY; category <= LAST_CATEGORY; ++category) {
        if (!find_marker(file, category)) return fail(locale, GL_EBADFILE, 1);
        if (read_section(file, locale, category, header, "Failed to read messages information\n") != 0)
            return leave_null(locale, category, 1); // what a section has left half read nobody has checked
    }
    return check_stream(file, locale);
}

int read_one_category(gl_locale *locale, int category, ObjectFile &object) {
    FILE *file = object.stream->get();
    int32_t error = 0;
    if (!object.header_read && read_file_header(file, object.header, &error) == 0) return fail(locale, error, 1);
    object.header_read = true;
    memcpy(locale->codeset_name[category], object.header.codeset, sizeof object.header.codeset);
    if (verify_codesets(locale, category) != 0) return fail(locale, GL_ECTYPECS, 1);
    object.at_end = !find_marker(file, category);
    if (object.at_end) return fail(locale, GL_EBADFILE, 1);
    // A failed reader of messages reports a failed initialisation here: hosts know the text.
    if (read_section(file, locale, category, object.header, "Failed to initialize messages information\n") != 0) return 1;
    return check_stream(file, locale);
}

} // namespace qbgl
