#include "text/date_form.h"

#include "frame/files.h"
#include "text/utf8.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr int GREGORIAN = 1;
constexpr int32_t UNTOLD = INT32_MIN;
constexpr size_t LARGEST_TEXT = 16 << 20;

// Where each piece of a format begins, a conversion or what stands between two, and its end.
std::vector<size_t> pieces_of(const std::string &format) {
    const auto skip = [&](size_t at, const char *characters) {
        return std::min(format.find_first_not_of(characters, at), format.size());
    };
    std::vector<size_t> result;
    for (size_t at = 0; at < format.size();) {
        result.push_back(at);
        if (format[at] != '%') {
            at = std::min(format.find('%', at), format.size());
            continue;
        }
        const size_t flags = at + 1, width = skip(flags, "_-0+^#"), pad = format.substr(0, width).find_last_of("_-0+%");
        const bool goes_on =
            width < format.size() && (std::isalnum(static_cast<unsigned char>(format[width])) != 0 || format[width] == '%');
        if (format[pad] == '+' && !goes_on) { // %+ is one itself
            at = width;
            continue;
        }
        at = std::min(skip(skip(skip(width, "0123456789"), "Q"), "EO") + 1, format.size());
    }
    result.push_back(format.size());
    return result;
}

gl_tm untold() {
    gl_tm result{};
    for (int32_t gl_tm::*field : {&gl_tm::sec, &gl_tm::min, &gl_tm::hour, &gl_tm::mday, &gl_tm::mon, &gl_tm::year})
        result.*field = UNTOLD;
    return result;
}

} // namespace

std::string ReadDate::iso() const {
    constexpr size_t NUMBER_AND_HYPHEN = 3;
    std::string result = year ? iso_date(date) : "";
    if (year && !day) result.resize(result.size() - (month ? 1 : 2) * NUMBER_AND_HYPHEN);
    if (time) result += (result.empty() ? "" : "T") + iso_time(date);
    if (time && zone) result += distance_text(date.gmtoff);
    return result;
}

DateForm::DateForm(gl_locale &locale, const std::string &format)
    : locale_(&locale), codeset_(category_codeset(locale, GL_CAT_TIME)), format_(format), encoder_(codeset_), view_(codeset_) {
    encoded_format_ = in_codeset(format_);
    check_format();
}

// With the zeros that end a text in any codeset behind it.
std::string DateForm::in_codeset(const std::string &text) const {
    try {
        return encoder_.encoded(text).append(sizeof(gl_wchar), '\0');
    } catch (const Failure &failure) {
        if (failure.status != ExitStatus::CALL) throw;
        throw DateFault{"character", failure.sentence};
    }
}

std::string DateForm::formatted(const std::string &format, const gl_tm &date) {
    std::string text(256, '\0');
    for (;;) {
        const int length = gl_mbsftime(locale_, text.data(), static_cast<int>(text.size()), format.c_str(), &date);
        if (length >= 0) {
            text.resize(static_cast<size_t>(length));
            return text;
        }
        if (gl_errno(locale_) != GL_E2BIG) throw DateFault{"calendar", "the locale's calendar has no such day"};
        if (text.size() == LARGEST_TEXT) throw DateFault{"length", fmt::format("its text is longer than {} bytes", LARGEST_TEXT)};
        text.resize(std::min(text.size() * 8, LARGEST_TEXT));
    }
}

// By a day that every calendar has.
void DateForm::check_format() {
    const gl_tm date = Zone("utc").record_at(0);
    if (view_.plain(formatted(in_codeset("%%"), date)) != "%")
        throw DateFault{"format", fmt::format("there are no formats in {}, whose % is not that of ASCII", codeset_)};
    const std::vector<size_t> pieces = pieces_of(format_);
    for (size_t i = 0; i + 1 < pieces.size(); ++i) {
        const std::string piece = format_.substr(pieces[i], pieces[i + 1] - pieces[i]);
        char text[16];
        if (gl_mbsftime(locale_, text, sizeof text, in_codeset(piece).c_str(), &date) >= 0 || gl_errno(locale_) == GL_E2BIG)
            continue;
        if (std::string_view("cxXr+").find(piece.back()) != std::string_view::npos)
            throw DateFault{"format", fmt::format("the format that the locale has for {} is none", printable(piece))};
        throw Failure{ExitStatus::CALL, fmt::format("\"{}\": there is no conversion {}", printable(format_), printable(piece)),
                      JsonObject().text("format", format_).text("conversion", piece)};
    }
}

// The first name is written, and all are read.
void DateForm::name_zone(const Zone &zone, const std::string &name) {
    if (name == zone_name_) return;
    zone_name_ = name;
    std::vector<std::string> texts = zone.names();
    texts.insert(texts.begin(), name);
    for (std::string &text : texts) {
        try {
            text = in_codeset(text);
        } catch (const DateFault &) { // a zone of the system may be named by anything
            text.assign(sizeof(gl_wchar), '\0');
        }
    }
    std::vector<const char *> names;
    names.reserve(texts.size());
    for (const std::string &text : texts) names.push_back(text.c_str());
    gl_set_zone_names(locale_, names.data(), static_cast<int>(names.size()));
}

std::string DateForm::written(int64_t seconds, const Zone &zone) {
    name_zone(zone, zone.name_at(seconds));
    return view_.plain(formatted(encoded_format_, zone.record_at(seconds)));
}

size_t DateForm::characters(std::string_view input) const {
    const std::string text = view_.plain(input);
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// A text that tells seconds since 1970 gives another time of day for another zone, and none that tells its zone does.
ReadDate DateForm::read(const std::string &text, const Zone &zone) {
    if (!zone_name_) name_zone(zone, zone.name_at(now()));
    if (const size_t position = first_bad_character(text); position != 0)
        throw DateFault{"character", "utf8 has no such character", position};
    const std::string input = in_codeset(text);
    constexpr int32_t OTHER_ZONE = 60;
    gl_tm date = untold(), elsewhere = untold();
    elsewhere.gmtoff = OTHER_ZONE;
    const char *const end = gl_mbsptime(locale_, input.c_str(), encoded_format_.c_str(), &date);
    if (end == nullptr) explain_mismatch(input);
    gl_mbsptime(locale_, input.c_str(), encoded_format_.c_str(), &elsewhere);
    const auto used = static_cast<size_t>(end - input.c_str()), size = input.size() - sizeof(gl_wchar);
    if (used < size && view_.plain(input.substr(used, size - used)).find_first_not_of(" \t\r") != std::string::npos)
        throw DateFault{"trailing", "the date ends before this", characters(input.substr(0, used)) + 1};
    ReadDate result{date, date.year != UNTOLD, date.mon != UNTOLD, date.mday != UNTOLD, false, false};
    result.day = result.day && result.month && result.year;
    result.time = std::max({date.hour, date.min, date.sec}) != UNTOLD;
    result.zone = date.gmtoff == elsewhere.gmtoff || date.min != elsewhere.min;
    for (int32_t gl_tm::*field : {&gl_tm::hour, &gl_tm::min, &gl_tm::sec})
        if (result.date.*field == UNTOLD) result.date.*field = 0;
    if (!result.month) result.date.mon = 0;
    if (!result.day) result.date.mday = 1;
    if (result.iso().empty()) throw DateFault{"parts", "the format tells neither a day, a month of a year, a year nor a time"};
    return result;
}

// The longest beginning of the format that the text has tells how far it was understood, and what of the format it lacks.
void DateForm::explain_mismatch(const std::string &input) {
    const int error = gl_errno(locale_);
    if (error == GL_ERANGE) {
        const bool own_calendar = locale_->time.calendar != GREGORIAN;
        throw DateFault{"range", own_calendar ? "the locale's calendar has no such day, or its year, month and day are not all told"
                                              : "there is no such day"};
    }
    const std::vector<size_t> pieces = pieces_of(format_);
    std::optional<size_t> used = 0; // nothing where the beginning alone is no date of the locale's own calendar
    for (size_t i = 0; i + 1 < pieces.size(); ++i) {
        gl_tm date = untold();
        const char *const end = gl_mbsptime(locale_, input.c_str(), in_codeset(format_.substr(0, pieces[i + 1])).c_str(), &date);
        const bool is_part = end == nullptr && gl_errno(locale_) == GL_ERANGE;
        used = is_part ? std::nullopt : end != nullptr ? std::optional(static_cast<size_t>(end - input.c_str())) : used;
        if (end != nullptr || is_part) continue;
        const std::string piece = format_.substr(pieces[i], pieces[i + 1] - pieces[i]);
        if (!used) throw DateFault{"mismatch", fmt::format("no \"{}\" stands in its place", printable(piece))};
        throw DateFault{"mismatch", fmt::format("no \"{}\" begins here", printable(piece)), characters(input.substr(0, *used)) + 1};
    }
    throw DateFault{"mismatch", fmt::format("it cannot be read ({})", gl_strerror(error))};
}

} // namespace qbgl
