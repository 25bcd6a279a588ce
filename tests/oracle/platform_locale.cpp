#include "oracle/platform_locale.h"

#include "support/files.h"

#include "system/fingerprint.h"
#include "system/process.h"

#include <fmt/format.h>
#include <gnu/libc-version.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <langinfo.h>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
// newlocale does not free its list of the directories that LOCPATH names, nor sscanf what it puts back of a text.
extern "C" const char *__lsan_default_suppressions() { return "leak:argz_add_sep\nleak:_IO_default_pbackfail\n"; }
#endif

namespace qbgl_test {

namespace fs = std::filesystem;
using qbgl::compiler::run_process;

namespace {

constexpr const char *DEFINITIONS = "/usr/share/i18n/locales", *CHARMAPS = "/usr/share/i18n/charmaps";
constexpr int MAX_TEXTS = 100; // of an item; fewer end with an empty one

enum class Kind { TEXTS, LIST, NUMBER, WEEKDAY };
struct Item {
    const char *name;
    int ours;
    nl_item platforms;
    Kind kind = Kind::TEXTS;
    int count = 1;
};
constexpr Item ITEMS[] = {{"crncystr", GL_CRNCYSTR, CRNCYSTR},
                          {"d_t_fmt", GL_D_T_FMT, D_T_FMT},
                          {"d_fmt", GL_D_FMT, D_FMT},
                          {"t_fmt", GL_T_FMT, T_FMT},
                          {"t_fmt_ampm", GL_T_FMT_AMPM, T_FMT_AMPM},
                          {"date_fmt", GL_DATE_FMT, _DATE_FMT},
                          {"am", GL_AM_STR, AM_STR},
                          {"pm", GL_PM_STR, PM_STR},
                          {"era_d_fmt", GL_ERA_D_FMT, ERA_D_FMT},
                          {"era_t_fmt", GL_ERA_T_FMT, ERA_T_FMT},
                          {"era_d_t_fmt", GL_ERA_D_T_FMT, ERA_D_T_FMT},
                          {"yesexpr", GL_YESEXPR, YESEXPR},
                          {"noexpr", GL_NOEXPR, NOEXPR},
                          {"yesstr", GL_YESSTR, YESSTR},
                          {"nostr", GL_NOSTR, NOSTR},
                          {"radixchar", GL_RADIXCHAR, RADIXCHAR},
                          {"thousep", GL_THOUSEP, THOUSEP},
                          {"INT_CURR_SYMBOL", GL_INT_CURR_SYMBOL, INT_CURR_SYMBOL},
                          {"CURRENCY_SYMBOL", GL_CURRENCY_SYMBOL, CURRENCY_SYMBOL},
                          {"MON_DECIMAL_POINT", GL_MON_DECIMAL_POINT, MON_DECIMAL_POINT},
                          {"MON_THOUSANDS_SEP", GL_MON_THOUSANDS_SEP, MON_THOUSANDS_SEP},
                          {"POSITIVE_SIGN", GL_POSITIVE_SIGN, POSITIVE_SIGN},
                          {"NEGATIVE_SIGN", GL_NEGATIVE_SIGN, NEGATIVE_SIGN},
                          {"abday", GL_ABDAY_1, ABDAY_1, Kind::TEXTS, 7},
                          {"day", GL_DAY_1, DAY_1, Kind::TEXTS, 7},
                          {"abmon", GL_ABMON_1, ABMON_1, Kind::TEXTS, 12},
                          {"mon", GL_MON_1, MON_1, Kind::TEXTS, 12},
                          {"ab_alt_mon", GL_ABALTMON_1, _NL_ABALTMON_1, Kind::TEXTS, 12},
                          {"alt_mon", GL_ALTMON_1, ALTMON_1, Kind::TEXTS, 12},
                          {"era", GL_ERA, ERA, Kind::LIST},
                          {"alt_digits", GL_ALT_DIGITS, ALT_DIGITS, Kind::LIST},
                          {"first_weekday", GL_FIRST_WEEKDAY, _NL_TIME_FIRST_WEEKDAY, Kind::WEEKDAY},
                          {"first_workday", GL_FIRST_WORKDAY, _NL_TIME_FIRST_WORKDAY, Kind::WEEKDAY},
                          {"week_1stweek", GL_WEEK_1STWEEK, _NL_TIME_WEEK_1STWEEK, Kind::NUMBER},
                          {"int_p_cs_precedes", GL_INT_P_CS_PRECEDES, INT_P_CS_PRECEDES, Kind::NUMBER},
                          {"int_p_sep_by_space", GL_INT_P_SEP_BY_SPACE, INT_P_SEP_BY_SPACE, Kind::NUMBER},
                          {"int_n_cs_precedes", GL_INT_N_CS_PRECEDES, INT_N_CS_PRECEDES, Kind::NUMBER},
                          {"int_n_sep_by_space", GL_INT_N_SEP_BY_SPACE, INT_N_SEP_BY_SPACE, Kind::NUMBER},
                          {"int_p_sign_posn", GL_INT_P_SIGN_POSN, INT_P_SIGN_POSN, Kind::NUMBER},
                          {"int_n_sign_posn", GL_INT_N_SIGN_POSN, INT_N_SIGN_POSN, Kind::NUMBER}};

// The platform counts weekdays from that of a date, which is a Sunday or the Monday behind it.
int from_sunday(int weekday) {
    constexpr uint32_t SUNDAY = 19971130;
    const char *item = nl_langinfo(_NL_TIME_WEEK_1STDAY); // a number in the place of the pointer
    uint32_t date;
    std::memcpy(&date, &item, sizeof date);
    return (weekday - (date == SUNDAY ? 1 : 0)) % 7 + 1;
}

// Tells one state of the platform's sources, and of its localedef, from another.
std::string version_of_sources() {
    std::vector<std::string> files;
    for (const char *directory : {DEFINITIONS, CHARMAPS})
        for (const auto &entry : fs::directory_iterator(directory))
            files.push_back(fmt::format("{} {} {}", entry.path().string(), entry.file_size(),
                                        entry.last_write_time().time_since_epoch().count()));
    std::sort(files.begin(), files.end());
    qbgl::compiler::Fingerprint fingerprint;
    for (const std::string &file : files) fingerprint.add(file);
    return fmt::format("{}-{}", gnu_get_libc_version(), fingerprint.hex());
}

// The definition with an order that costs nothing, or with nothing else that costs something.
std::string reduced(const std::string &text, PlatformOrder order) {
    constexpr std::string_view BEGIN = "\nLC_COLLATE", END = "\nEND LC_COLLATE";
    const size_t begin = text.find(BEGIN), end = text.find(END);
    if (begin == std::string::npos || end == std::string::npos) throw std::runtime_error("a definition without LC_COLLATE");
    if (order == PlatformOrder::PLAIN) return text.substr(0, begin) + "\nLC_COLLATE\ncopy \"POSIX\"" + text.substr(end);
    return text.substr(0, text.find("\nLC_")) + "\nLC_CTYPE\ncopy \"POSIX\"\nEND LC_CTYPE" + text.substr(begin, end - begin) +
           std::string(END) + '\n';
}

} // namespace

PlatformLocales::PlatformLocales(const fs::path &root, PlatformOrder order)
    : directory_(root / version_of_sources()), order_(order) {
    fs::create_directories(directory_);
    setenv("LOCPATH", directory_.c_str(), 1);
}

bool PlatformLocales::has_charmap(const std::string &charmap) { return fs::exists(fmt::format("{}/{}.gz", CHARMAPS, charmap)); }

std::string PlatformLocales::compile(const fs::path &definition, const std::string &charmap) const {
    // libc would take a codeset behind a dot apart.
    std::string name = definition.filename().string() + "_" + charmap;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '.' || c == '@'; }, '_');
    const fs::path place = directory_ / name;
    if (fs::exists(place)) return name;
    const TempDir work;
    write_file(work.path() / "definition",
               reduced(read_file(definition.is_absolute() ? definition : DEFINITIONS / definition), order_));
    const auto result = run_process({"localedef", "--quiet", "--force", "--no-archive", "--no-hard-links", "-i",
                                     work / "definition", "-f", charmap, work / "locale"});
    if (!fs::exists(work.path() / "locale" / "LC_CTYPE"))
        throw std::runtime_error(fmt::format("localedef {} {}: {}", definition.string(), charmap, result.errors));
    // In one step, for others may do the same.
    const fs::path beside = fmt::format("{}.{}", place.string(), getpid());
    fs::copy(work.path() / "locale", beside, fs::copy_options::recursive);
    std::error_code there_already;
    fs::rename(beside, place, there_already);
    if (there_already) fs::remove_all(beside);
    return name;
}

LocaleTexts items_of(gl_locale &locale) {
    LocaleTexts texts;
    for (const Item &item : ITEMS) {
        std::vector<std::string> &list = texts[item.name];
        const std::string text = gl_langinfo(&locale, item.ours);
        if (item.kind == Kind::TEXTS) {
            for (int i = 0; i < item.count; ++i) list.emplace_back(gl_langinfo(&locale, item.ours + i));
        } else if (item.kind == Kind::LIST) {
            std::istringstream entries(text);
            for (std::string entry; std::getline(entries, entry, ';');) list.push_back(entry);
        } else {
            list = {std::to_string(*text.c_str())};
        }
    }
    return texts;
}

PlatformLocale::PlatformLocale(const std::string &name) : locale_(newlocale(LC_ALL_MASK, name.c_str(), nullptr)) {
    if (locale_ == nullptr) throw std::runtime_error("the platform does not load its locale " + name);
    before_ = uselocale(locale_);
}

PlatformLocale::~PlatformLocale() {
    uselocale(before_);
    freelocale(locale_);
}

LocaleTexts PlatformLocale::texts() const {
    LocaleTexts texts;
    for (const Item &item : ITEMS) {
        std::vector<std::string> &list = texts[item.name];
        const char *text = nl_langinfo(item.platforms);
        switch (item.kind) {
        case Kind::TEXTS:
            for (int i = 0; i < item.count; ++i) list.emplace_back(nl_langinfo(item.platforms + i));
            break;
        case Kind::LIST:
            for (; *text != '\0' && list.size() < MAX_TEXTS; text += list.back().size() + 1) list.emplace_back(text);
            break;
        case Kind::NUMBER: list = {std::to_string(*text == '\377' ? CHAR_MAX : *text)}; break;
        case Kind::WEEKDAY: list = {std::to_string(from_sunday(*text))}; break;
        }
    }
    static std::mutex one_record;
    const std::lock_guard lock(one_record);
    add_conventions(texts, *localeconv());
    return texts;
}

namespace {

int sign(int value) { return (value > 0) - (value < 0); }

std::string key_of(const std::string &text, locale_t locale) {
    std::string key(text.size() * 16 + 64, '\0');
    const size_t length = strxfrm_l(key.data(), text.c_str(), key.size(), locale);
    const bool is_cut = length >= key.size();
    key.resize(is_cut ? length + 1 : length);
    if (is_cut) key.resize(strxfrm_l(key.data(), text.c_str(), key.size(), locale));
    return key;
}

} // namespace

std::optional<int> PlatformLocale::compare(const std::string &a, const std::string &b) const {
    const int result = sign(strcoll_l(a.c_str(), b.c_str(), locale_));
    return result == sign(key_of(a, locale_).compare(key_of(b, locale_))) ? std::optional(result) : std::nullopt;
}

} // namespace qbgl_test
