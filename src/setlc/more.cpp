#include "setlc/more.h"

#include "ext/error.h"
#include "multi/table.h"
#include "setlc/text.h"
#include "util/owned.h"

#include <algorithm>
#include <span>

namespace qbgl {

namespace {

constexpr int MONTHS = 12;
constexpr int GREGORIAN = 1;

class Items {
  public:
    explicit Items(std::string_view text) : rest_(text) {}

    // Goes to the values of the next item. False at the end, and for what is none: it has no keyword.
    bool next(std::string_view &keyword, int32_t &count) {
        keyword = word();
        return !keyword.empty() && number(word(), count) && count >= 0;
    }
    std::string_view word() {
        const size_t length = std::min(rest_.find(' '), rest_.size());
        const std::string_view found{rest_.data(), length};
        rest_.remove_prefix(std::min(length + 1, rest_.size()));
        return found;
    }
    bool at_end() const { return rest_.empty(); }

    static bool number(std::string_view word, int32_t &value) {
        const bool negative = word.starts_with('-');
        if (negative) word.remove_prefix(1);
        if (word.empty() || word.size() > 9) return false;
        value = 0;
        for (const char c : word) {
            if (c < '0' || c > '9') return false;
            value = value * 10 + (c - '0');
        }
        if (negative) value = -value;
        return true;
    }

  private:
    std::string_view rest_;
};

// Calls take(keyword, count, items) for each item: it takes the item's values and answers 1, or nothing and 0 for an item that is
// not its own, or -1 for one that is wrong.
template <class Take> bool read_items(gl_locale *locale, std::string_view more, Take take) {
    Items items(more);
    std::string_view keyword;
    while (!items.at_end()) {
        int32_t count;
        if (!items.next(keyword, count)) return fail(locale, GL_EBADFILE, false);
        const int taken = take(keyword, count, items);
        if (taken < 0) {
            if (get_error(locale) != GL_ENOMEM) set_error(locale, GL_EBADFILE);
            return false;
        }
        for (int32_t i = 0; taken == 0 && i < count; ++i)
            if (items.word().empty()) return fail(locale, GL_EBADFILE, false);
    }
    return true;
}

bool is_hex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }

bool read_text(gl_locale *locale, std::string_view word, char *&text) {
    if (word == ".")
        word = {};
    else if (word.empty())
        return false;
    if (word.size() % 2 != 0 || !std::all_of(word.begin(), word.end(), is_hex)) return false;
    _gl_free_ptr(text);
    text = allocate_text(static_cast<uint32_t>(word.size() / 2));
    if (text == nullptr) return fail(locale, GL_ENOMEM, false);
    for (size_t i = 0; i < word.size(); i += 2)
        text[i / 2] = static_cast<char>(hex_digit_value(static_cast<uint8_t>(word[i])) << 4 |
                                        hex_digit_value(static_cast<uint8_t>(word[i + 1])));
    return text_bytes(locale, text) == static_cast<int>(word.size() / 2);
}

bool read_months(gl_locale *locale, int32_t count, Items &items, gl_text_list &list) {
    if (count != MONTHS || list.bytes != nullptr) return false;
    list.bytes = Owned<char *>::allocate(MONTHS).release();
    if (list.bytes == nullptr) return fail(locale, GL_ENOMEM, false);
    std::fill_n(list.bytes, MONTHS, nullptr);
    list.count = MONTHS;
    for (int i = 0; i < MONTHS; ++i)
        if (!read_text(locale, items.word(), list.bytes[i])) return false;
    return true;
}

bool read_numbers(int32_t count, Items &items, std::span<int32_t> numbers) {
    if (count != static_cast<int32_t>(numbers.size())) return false;
    for (int32_t &number : numbers)
        if (!Items::number(items.word(), number)) return false;
    return true;
}

// YYYYMMDD, as the definitions write it.
bool is_date(int32_t number) {
    const int32_t day = number % 100, month = number / 100 % 100;
    return number > 0 && 1 <= day && day <= 31 && 1 <= month && month <= 12;
}

int take_time(gl_locale *locale, gl_time_more &more, std::string_view keyword, int32_t count, Items &items) {
    const auto result = [](bool good) { return good ? 1 : -1; };
    if (keyword == "alt_mon") return result(read_months(locale, count, items, more.alt_mon));
    if (keyword == "ab_alt_mon") return result(read_months(locale, count, items, more.ab_alt_mon));
    if (keyword == "gregorian_mon") return result(read_months(locale, count, items, more.gregorian_mon));
    if (keyword == "gregorian_abmon") return result(read_months(locale, count, items, more.gregorian_abmon));
    if (keyword == "date_fmt") return result(count == 1 && read_text(locale, items.word(), more.date_fmt));
    const auto is_day = [](int32_t day) { return 1 <= day && day <= 7; };
    if (keyword == "week") return result(read_numbers(count, items, more.week) && is_date(more.week[1]) && is_day(more.week[2]));
    if (keyword == "first_weekday")
        return result(read_numbers(count, items, {&more.first_weekday, 1}) && is_day(more.first_weekday));
    if (keyword == "first_workday")
        return result(read_numbers(count, items, {&more.first_workday, 1}) && is_day(more.first_workday));
    return 0;
}

// There is no year 0 in an era's dates: -1 comes before 1.
int64_t counted_year(int32_t year) { return year < 0 ? int64_t{year} + 1 : year; }

bool make_eras(const gl_time_info &info, gl_time_more &more) {
    if (info.era_count < 1) return true;
    more.eras = Owned<Era>::allocate(static_cast<uint32_t>(info.era_count)).release();
    if (more.eras == nullptr) return false;
    for (int32_t i = 0; i < info.era_count; ++i) {
        const gl_era &era = info.eras[i];
        const int64_t start = era_day(counted_year(era.start_year), era.start_month, era.start_day);
        int64_t end = era_day(counted_year(era.end_year), era.end_month, era.end_day);
        if (era.end_flag != 0) end = era.end_flag > 0 ? INT64_MAX : INT64_MIN;
        const int32_t step = start <= end ? era.direction : -era.direction;
        more.eras[i] = {start, end, static_cast<int32_t>(counted_year(era.start_year)), era.offset, step, era.name, era.format};
    }
    return true;
}

// Of a name that begins with spaces a reader may have passed over them.
bool cache_names(gl_locale *locale, void *&cache, char *const *names, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        const char *const name = names[i], *bare = name;
        if (_gl_cache_wc_string(locale, &cache, name, i) != 0) return false;
        while (locale->ctype.codeset_table->min_length == 1 && *bare == ' ') ++bare;
        if (bare != name && _gl_cache_wc_string(locale, &cache, bare, i) != 0) return false;
    }
    return true;
}
bool cache_names(gl_locale *locale, void *&cache, const gl_text_list &names) {
    return cache_names(locale, cache, names.bytes, names.count);
}

// Where two months share a word, the one of the full names counts. The names that stand by themselves are Gregorian.
bool cache_all_names(gl_locale *locale, gl_time_more &more) {
    const gl_time_info &info = locale->time;
    void *&gregorian = info.calendar == GREGORIAN ? more.months : more.gregorian_months;
    return cache_names(locale, more.months, info.abmon) && cache_names(locale, gregorian, more.ab_alt_mon) &&
           cache_names(locale, gregorian, more.gregorian_abmon) && cache_names(locale, gregorian, more.alt_mon) &&
           cache_names(locale, gregorian, more.gregorian_mon) && cache_names(locale, more.months, info.mon) &&
           cache_names(locale, more.days, info.abday, 7) && cache_names(locale, more.days, info.day, 7);
}

void free_names(gl_text_list &list) {
    for (int32_t i = 0; i < list.count; ++i) _gl_free_ptr(list.bytes[i]);
    _gl_free_ptr(list.bytes);
}

} // namespace

bool read_more_time(gl_locale *locale, std::string_view text) {
    free_more_time(locale);
    Owned<gl_time_more> made = Owned<gl_time_more>::allocate();
    if (!made) return fail(locale, GL_ENOMEM, false);
    gl_time_more &more = *(locale->time_more = made.release());
    more = {};
    const auto take = [&](std::string_view keyword, int32_t count, Items &items) {
        return take_time(locale, more, keyword, count, items);
    };
    if (!read_items(locale, text, take)) return false;
    if (!make_eras(locale->time, more)) return fail(locale, GL_ENOMEM, false);
    return cache_all_names(locale, more);
}

bool read_more_money(gl_locale *locale, std::string_view text) {
    constexpr int NUMBERS = 6;
    int32_t numbers[NUMBERS] = {-1, -1, -1, -1, -1, -1};
    const auto take = [&](std::string_view keyword, int32_t count, Items &items) {
        if (keyword != "int_money") return 0;
        return read_numbers(count, items, numbers) ? 1 : -1;
    };
    if (!read_items(locale, text, take)) return false;
    const auto known = [&](int i) { return numbers[i] < 0 ? GL_NOT_AVAILABLE : numbers[i]; };
    locale->int_money = {known(0), known(1), known(2), known(3), known(4), known(5)};
    return true;
}

void free_more_time(gl_locale *locale) {
    gl_time_more *more = std::exchange(locale->time_more, nullptr);
    if (more == nullptr) return;
    for (gl_text_list *list : {&more->alt_mon, &more->ab_alt_mon, &more->gregorian_mon, &more->gregorian_abmon}) free_names(*list);
    for (void *cache : {more->months, more->gregorian_months, more->days}) _gl_free_wc_cache(locale, cache);
    _gl_free_ptr(more->date_fmt);
    _gl_free_ptr(more->eras);
    _gl_free_ptr(more);
}

} // namespace qbgl
