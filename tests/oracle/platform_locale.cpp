#include "oracle/platform_locale.h"

#include "support/files.h"

#include "system/fingerprint.h"
#include "system/process.h"

#include <fmt/format.h>
#include <gnu/libc-version.h>

#include <algorithm>
#include <langinfo.h>
#include <mutex>
#include <stdexcept>
#include <tuple>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
// newlocale does not free its list of the directories that LOCPATH names.
extern "C" const char *__lsan_default_suppressions() { return "leak:argz_add_sep\n"; }
#endif

namespace qbgl_test {

namespace fs = std::filesystem;
using qbgl::compiler::run_process;

namespace {

constexpr const char *DEFINITIONS = "/usr/share/i18n/locales", *CHARMAPS = "/usr/share/i18n/charmaps";
constexpr int MAX_TEXTS = 100; // of an item; fewer end with an empty one

constexpr std::pair<const char *, nl_item> SINGLE_ITEMS[] = {
    {"d_t_fmt", D_T_FMT}, {"d_fmt", D_FMT},         {"t_fmt", T_FMT},         {"t_fmt_ampm", T_FMT_AMPM},   {"am", AM_STR},
    {"pm", PM_STR},       {"era_d_fmt", ERA_D_FMT}, {"era_t_fmt", ERA_T_FMT}, {"era_d_t_fmt", ERA_D_T_FMT}, {"yesexpr", YESEXPR},
    {"noexpr", NOEXPR},   {"yesstr", YESSTR},       {"nostr", NOSTR}};
constexpr std::tuple<const char *, nl_item, int> SEQUENCES[] = {
    {"abday", ABDAY_1, 7}, {"day", DAY_1, 7}, {"abmon", ABMON_1, 12}, {"mon", MON_1, 12}};
constexpr std::pair<const char *, nl_item> LISTS[] = {{"era", ERA}, {"alt_digits", ALT_DIGITS}};
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
    for (const auto &[name, item] : SINGLE_ITEMS) texts[name] = {nl_langinfo(item)};
    for (const auto &[name, first, count] : SEQUENCES)
        for (int i = 0; i < count; ++i) texts[name].emplace_back(nl_langinfo(first + i));
    for (const auto &[name, item] : LISTS) {
        std::vector<std::string> &list = texts[name];
        for (const char *text = nl_langinfo(item); *text != '\0' && list.size() < MAX_TEXTS; text += list.back().size() + 1)
            list.emplace_back(text);
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
