#include "tree/locale_handle.h"

#include "common/nearest.h"
#include "frame/files.h"
#include "tree/codesets.h"
#include "tree/directories.h"
#include "tree/installed.h"
#include "tree/registry.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <fmt/format.h>
#include <optional>
#include <unistd.h>

namespace qbgl {

namespace {

constexpr size_t LONGEST_SPECIFICATION = 284, LANGUAGE_TERRITORY = 5;

constexpr const char *DEFAULT_OBJECT = "default.lco", *NATIVE = "native";

// In the order in which the library loads the categories.
constexpr std::array<const char *, 6> KEYWORDS = {"GL_CTYPE", "GL_COLLATE", "GL_NUMERIC", "GL_MONETARY", "GL_TIME", "GL_MESSAGES"};

// An object file that was asked for, and the variable that asked when it was the environment.
struct Wanted {
    std::string name;
    std::string variable = {};
};

// The file name of a specification in the library's normal way, nothing when it is none.
std::optional<std::string> file_name_of(const std::string &specification) {
    char name[288];
    if (specification.size() > LONGEST_SPECIFICATION) return std::nullopt;
    if (gl_lc_spec2lc_fname(nullptr, specification.c_str(), name, nullptr, nullptr) != 0) return std::nullopt;
    return name;
}

Wanted wanted_of_environment(const char *keyword) {
    for (const char *variable : {"GL_ALL", keyword, "GL_LANG"}) {
        const char *value = std::getenv(variable);
        if (value != nullptr && *value != '\0') return {value, variable};
    }
    return {DEFAULT_OBJECT};
}

// A locale's name on the platform as a specification: "C" and "POSIX" are the order of code values here, too, and a modifier has
// four letters at most.
std::string specification_of(std::string name) {
    const std::string language = name.substr(0, name.find('.'));
    if (language == "C" || language == "POSIX") return DEFAULT_OBJECT;
    for (const auto &[modifier, ours] : {std::pair("@latin", "@latn"), std::pair("@valencia", "@vale")}) {
        if (name.ends_with(modifier)) name.replace(name.rfind('@'), std::string::npos, ours);
    }
    return name;
}

// The locale of the platform's variables, by the name that it has here.
Wanted native_locale() {
    for (const char *variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char *value = std::getenv(variable);
        if (value != nullptr && *value != '\0') return {specification_of(value), variable};
    }
    return {DEFAULT_OBJECT};
}

bool can_be_loaded(const std::string &specification) {
    gl_locale *locale = nullptr;
    const bool loaded = gl_lc_load(&locale, specification.c_str(), nullptr, nullptr) == 0;
    gl_lc_unload(locale);
    return loaded;
}

// Who has set a language for the platform may expect it here.
void tell_of_default(const Messages &messages) {
    const bool named = std::any_of(KEYWORDS.begin(), KEYWORDS.end(),
                                   [](const char *keyword) { return !wanted_of_environment(keyword).variable.empty(); });
    const std::string native = native_locale().name;
    if (named || native == DEFAULT_OBJECT || messages.as_json() || isatty(STDERR_FILENO) == 0) return;
    if (!can_be_loaded(registered_name(native))) return;
    messages.say("note",
                 fmt::format("no locale is named (-l, GL_ALL, GL_LANG), so that the text is ASCII or Latin-1 in the order of "
                             "code values; -l native takes {}",
                             printable(native)));
}

// What a category's keyword is set to in a text of "KEYWORD = NAME ; " clauses, otherwise the whole text.
Wanted wanted_of_text(const std::string &text, const char *keyword) {
    const size_t clause = text.find(keyword);
    size_t begin = clause == std::string::npos ? clause : text.find('=', clause);
    if (begin == std::string::npos) return {text};
    begin = std::min(text.find_first_not_of(' ', begin + 1), text.size());
    return {text.substr(begin, text.find(' ', begin) - begin)};
}

Wanted wanted_of(const std::string &specification, const char *keyword) {
    const std::string text = file_name_of(specification).value_or(specification);
    return text.empty() ? wanted_of_environment(keyword) : wanted_of_text(text, keyword);
}

// The first object that the library wanted and did not find.
std::optional<Wanted> first_missing(const std::string &specification) {
    for (const char *keyword : KEYWORDS) {
        const Wanted wanted = wanted_of(specification, keyword);
        if (locale_object(wanted.name == NATIVE ? DEFAULT_OBJECT : wanted.name).empty()) return wanted;
    }
    return std::nullopt;
}

std::string folded(std::string_view text) {
    std::string result;
    for (const char c : text) result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

// The installed locales that were most likely meant. Who errs in the codeset wants the language and territory, who leaves it out
// has UTF-8 in mind.
std::vector<std::string> likely_locales(const std::string &name, const std::vector<InstalledLocale> &locales) {
    constexpr size_t SHOWN = 3;
    std::vector<std::string> specifications;
    specifications.reserve(locales.size());
    for (const InstalledLocale &locale : locales) specifications.push_back(locale.specification);
    const size_t modifier = std::min(name.find('@'), name.size());
    const bool has_codeset = name.find('.') != std::string::npos;
    std::vector<std::string> result =
        by_nearness(has_codeset ? name : name.substr(0, modifier) + ".utf8" + name.substr(modifier), specifications);
    std::stable_partition(result.begin(), result.end(), [wanted = folded(name).substr(0, LANGUAGE_TERRITORY)](const auto &near) {
        return wanted.size() > 1 && folded(near).starts_with(wanted);
    });
    const std::string language = folded(name).substr(0, name.find('.'));
    if (language == "c" || language == "posix")
        std::stable_partition(result.begin(), result.end(), [](const auto &near) { return near == DEFAULT_OBJECT; });
    result.resize(std::min(result.size(), SHOWN));
    return result;
}

// The command that makes a missing object, where the tree shows that the language and territory can be made.
std::string remedy(const std::string &specification, const std::string &file, const std::vector<InstalledLocale> &locales) {
    // What stands in the file's name besides the codeset's number.
    const auto language_and_modifier = [](const std::string &name) {
        constexpr size_t NUMBER_DIGITS = 4;
        const size_t slash = std::min(name.find('/'), name.size());
        return std::pair(name.substr(0, slash), name.substr(std::min(slash + 1 + NUMBER_DIGITS, name.size())));
    };
    const bool known = std::any_of(locales.begin(), locales.end(), [&](const auto &locale) {
        return language_and_modifier(locale.file) == language_and_modifier(file);
    });
    char normal[288];
    if (!known || gl_lc_spec2lc_norm(nullptr, specification.c_str(), normal, nullptr) != 0) return "";
    std::string definition(normal, LANGUAGE_TERRITORY);
    if (const size_t modifier = specification.find('@'); modifier != std::string::npos)
        definition += specification.substr(modifier);
    const std::string codeset = read_registry().name_of(gl_lc_spec2cs_num(nullptr, specification.c_str(), nullptr));
    return fmt::format("; `qbglc locale {} {} -o {}/{}` makes it, if the codeset has all letters of the language", definition,
                       codeset, printable(locale_directories().front()), file);
}

// What is the matter with a locale whose object is not there.
std::string missing_object(const Wanted &wanted, const std::string &specification, const std::vector<InstalledLocale> &locales) {
    const std::string places = printable(fmt::format("{}", fmt::join(locale_directories(), " and ")));
    const std::string name = printable(wanted.name), unknown = "unknown locale " + printable(specification);
    const bool list = specification.find(" = ") != std::string::npos;
    if (!wanted.variable.empty()) {
        const std::optional<std::string> file = file_name_of(wanted.name);
        const std::string advice = file ? "; the variable takes the name of an object file, here " + *file : "";
        return fmt::format("the locale that {} names, {}, is not in {}{}", wanted.variable, name, places, advice);
    }
    if (specification.empty()) return fmt::format("no locale is named (-l, GL_ALL, GL_LANG), and {} is not in {}", name, places);
    if (list && (wanted.name == specification || !wanted.name.ends_with(".lco"))) {
        return unknown +
               ": a list names all six categories, as in \"GL_CTYPE = ja_JP.sjis ; GL_COLLATE = ...\", and one known codeset";
    }
    if (wanted.name == specification)
        return fmt::format("{}: it names no known codeset after \".\", and no file in {}", unknown, places);
    return fmt::format("{}: {} is not in {}{}", unknown, name, places, list ? "" : remedy(specification, wanted.name, locales));
}

Failure not_found(const Wanted &wanted, const std::string &specification) {
    const std::vector<InstalledLocale> locales = installed_locales();
    const std::string said = specification.empty() ? wanted.name : specification;
    if (locales.empty()) {
        return {ExitStatus::SYSTEM,
                fmt::format("there are no locales in {}: {}",
                            printable(fmt::format("{}", fmt::join(locale_directories(), " and "))), tree_advice()),
                JsonObject().text("locale", said)};
    }
    const std::vector<std::string> likely = likely_locales(said, locales);
    return {ExitStatus::CALL,
            fmt::format("{}; the nearest are {}; `qbgl list locales` lists all", missing_object(wanted, specification, locales),
                        fmt::join(likely, ", ")),
            JsonObject().text("locale", said).raw("nearest", json_strings(likely))};
}

bool is_refused_by_extension(const std::string &specification) {
    if (unicode_collate == 0) return false;
    const std::string name = wanted_of(specification, "GL_COLLATE").name;
    int16_t error = 0;
    void *const locale = glx_lc_open(const_cast<char *>(name.c_str()), pMap, &error);
    glx_lc_close(locale);
    return locale == nullptr;
}

bool has_long_name(const std::string &specification) {
    return std::any_of(KEYWORDS.begin(), KEYWORDS.end(), [&](const char *keyword) {
        return wanted_of(specification, keyword).name.size() > sizeof gl_locale::locale_name[0];
    });
}

Failure explain(int error, const std::string &specification) {
    const std::string name = specification.empty() ? "of the environment" : printable(specification);
    const std::optional<Wanted> missing = error == GL_ENOFILE ? first_missing(specification) : std::nullopt;
    if (missing) return not_found(*missing, specification);
    const auto failure = [&](ExitStatus status, const std::string &reason) {
        return Failure{status, fmt::format("cannot load the locale {}: {}", name, reason),
                       JsonObject().text("locale", specification).number("error", static_cast<unsigned>(error))};
    };
    const auto in_tree = [&](const std::string &what) {
        return failure(ExitStatus::SYSTEM,
                       fmt::format("{}; `qbglc tree {}` makes the objects anew", what, printable(tree_directory())));
    };
    const std::string object = locale_object(file_name_of(specification).value_or(specification));
    const std::string its_object = object.empty() ? "an object of it" : fmt::format("its object {}", printable(object));
    switch (error) {
    case GL_ENOMEM: return in_tree(its_object + " is damaged, or too large for the memory"); // a damaged table can ask for any
    case GL_EVERSION: return in_tree(its_object + " is of another version");
    case GL_EMIXEDCS:
    case GL_ECTYPECS: return failure(ExitStatus::CALL, "its categories are in different codesets");
    case GL_EBADARG: return failure(ExitStatus::CALL, "a name in it is too long");
    case GL_ENOFILE:
        if (has_long_name(specification)) return failure(ExitStatus::CALL, "a name in it is too long");
        if (is_refused_by_extension(specification))
            return failure(ExitStatus::SYSTEM,
                           "the extension library cannot open it; with VRNLOG=on the library writes to vrn.log why");
        return in_tree(its_object + " cannot be read, or is damaged");
    default: return in_tree(fmt::format("{} is damaged ({})", its_object, gl_strerror(error)));
    }
}

} // namespace

LocaleHandle open_locale(const std::string &name, const Messages &messages) {
    const Wanted wanted = name == NATIVE ? native_locale() : Wanted{name};
    const std::string specification = registered_name(wanted.name);
    if (name.empty()) tell_of_default(messages);
    gl_locale *locale = nullptr;
    bool loaded;
    if (specification.empty()) {
        gl_create_null_locale_4(&locale);
        char *const names = locale->error == 0 ? gl_setlocale_4(locale, GL_CAT_ALL, "") : nullptr;
        loaded = names != nullptr;
        gl_destroystring(names);
    } else {
        loaded = gl_lc_load(&locale, specification.c_str(), nullptr, nullptr) == 0;
    }
    LocaleHandle handle(locale, gl_lc_unload);
    if (!loaded) {
        Failure failure = explain(locale->error, specification);
        if (!wanted.variable.empty()) failure.sentence.insert(0, fmt::format("-l native takes {}: ", wanted.variable));
        throw failure;
    }
    return handle;
}

std::string category_name(const gl_locale &locale, int category) {
    const char(&name)[32] = locale.locale_name[category];
    return {name, std::find(name, name + sizeof name, '\0')};
}

std::string category_codeset(const gl_locale &locale, int category) { return locale.codeset_name[category]; }

} // namespace qbgl
