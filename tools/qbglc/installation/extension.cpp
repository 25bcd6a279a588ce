#include "installation/extension.h"

#include "system/error.h"
#include "system/file.h"

#include <dlfcn.h>
#include <fmt/format.h>
#include <qbgl_extension.h>

#include <algorithm>
#include <sstream>

namespace qbgl::compiler {

namespace {

// Locales whose names of four letters at most say something that ICU says in words of its own.
constexpr const char *NAMES = "locale ca_es@vale ca_ES_VALENCIA\n"
                              "locale sr_rs@latn sr_Latn_RS\n"
                              "locale zh_tw@cmn zh_TW\n";
constexpr const char *MODIFIERS[] = {EXTENSION_MODIFIER, "euro", "greg", "dict"}; // which change nothing that ICU serves

template <class Function> Function *symbol(void *library, const char *name) {
    void *const address = dlsym(library, name);
    if (address == nullptr) throw SystemError(fmt::format("{}: no such function in the extension library", name));
    return reinterpret_cast<Function *>(address);
}

// The lines that the library reads.
std::vector<std::string> libraries_of(const std::string &registry) {
    constexpr size_t MOST_LIBRARIES = 4;
    std::vector<std::string> result;
    std::istringstream lines(registry);
    for (std::string line; result.size() < MOST_LIBRARIES && std::getline(lines, line);) result.push_back(line);
    return result;
}

} // namespace

IcuExtension::IcuExtension(const std::filesystem::path &file) {
    library_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library_ == nullptr) throw SystemError(dlerror()); // begins with the file
    auto *const locale = symbol<const char *(int)>(library_, "qbgl_icu_locale");
    for (int i = 0; const char *const name = locale(i); ++i) locales_.emplace_back(name);
    // It stays open: ICU does not like to be unloaded.
}

std::string IcuExtension::data(const std::filesystem::path &icudata) const {
    if (std::filesystem::exists(icudata)) {
        const std::string older = read_file(icudata);
        if (!older.starts_with("packaged ") && !older.starts_with("icudt"))
            throw DataError(
                fmt::format("{}: not written by qbglc, and kept; a data file of ICU's belongs beside it under ICU's own name",
                            icudata.string()));
    }
    char line[64];
    auto *const data_line = symbol<int(const char *, char *, int)>(library_, "qbgl_icu_data");
    have_done(icudata, [&] { return data_line(icudata.c_str(), line, sizeof line) == 0; });
    return line;
}

template <class Call> void IcuExtension::have_done(const std::filesystem::path &file, Call call) const {
    static std::string said;
    said = fmt::format("{}: no memory, or no file, for the extension library", file.string());
    symbol<glu_setPrintMessageFunc_fn>(library_, "glu_setPrintMessageFunc")([](const char *message) { said = message; });
    symbol<glu_setMessageLevel_fn>(library_, "glu_setMessageLevel")(1);
    if (!call()) throw DataError(said);
}

bool IcuExtension::has(const Catalogue::Codeset &codeset) const {
    const std::string name = icu_name(codeset);
    return !name.empty() && symbol<int(const char *)>(library_, "qbgl_icu_codeset")(name.c_str()) != 0;
}

size_t IcuExtension::served(const std::filesystem::path &map, const std::vector<std::string> &names) const {
    void *loaded = nullptr;
    have_done(map, [&] {
        loaded = symbol<glu_loadMapData_fn>(library_, "glu_loadMapData")(map.c_str(), nullptr);
        return loaded != nullptr;
    });
    auto *const serves = symbol<glu_useIcuLocCall_fn>(library_, "glu_useIcuLocCall");
    const auto count = std::count_if(names.begin(), names.end(), [&](const std::string &name) {
        return serves(name.c_str(), GL_CAT_CTYPE) != 0 || serves(name.c_str(), GL_CAT_COLLATE) != 0;
    });
    symbol<glu_unloadMapData_fn>(library_, "glu_unloadMapData")(loaded);
    return static_cast<size_t>(count);
}

std::string icu_name(const Catalogue::Codeset &codeset) {
    if (codeset.iconv == "UCS-2LE") return "UTF-16LE";
    if (codeset.iconv == "UCS-4LE") return "UTF-32LE";
    if (codeset.iconv == "UHC") return "windows-949";
    return codeset.iconv;
}

std::string extension_map(const Catalogue &catalogue) {
    std::string text(MAP_HEADING);
    const auto &codesets = catalogue.codesets();
    for (size_t i = 0; i < codesets.size(); ++i) {
        const std::string icu = icu_name(codesets[i]);
        if (icu.empty()) continue;
        text += fmt::format("codeset {} {} {}", codesets[i].number, icu, codesets[i].name);
        for (const Catalogue::Name &name : catalogue.names())
            if (name.codeset == i && name.name != codesets[i].name) text += " " + name.name;
        text += '\n';
    }
    text += NAMES;
    for (const char *modifier : MODIFIERS) text += fmt::format("modifier {}\n", modifier);
    const auto utf8 = catalogue.find("utf8");
    if (utf8) text += fmt::format("serve *.{0} LC_CTYPE LC_COLLATE\nserve *.{0}@* LC_CTYPE LC_COLLATE\n", codesets[*utf8].name);
    text += fmt::format("serve *@{} LC_CTYPE LC_COLLATE\nconvert * *\n", EXTENSION_MODIFIER);
    return text;
}

std::string extension_registry(const std::string &older, const std::string &name) {
    const std::vector<std::string> libraries = libraries_of(older);
    if (libraries.empty()) return EXTENSION_FILE + std::string("\n");
    if (!has_extension(older))
        throw DataError(fmt::format("{}: {} is in use; a line {} behind it puts ICU in its place, one before it leaves it", name,
                                    libraries.back(), EXTENSION_FILE));
    return older;
}

bool has_extension(const std::string &registry) {
    const std::vector<std::string> libraries = libraries_of(registry);
    return std::find(libraries.begin(), libraries.end(), EXTENSION_FILE) != libraries.end();
}

bool is_taken(const std::string &registry) {
    const std::vector<std::string> libraries = libraries_of(registry);
    return !libraries.empty() && libraries.back() == EXTENSION_FILE;
}

bool is_served_locale(const std::filesystem::path &path) {
    const std::string name = path.filename().string();
    return name.ends_with(fmt::format("{}.lco", EXTENSION_MODIFIER)) || name.ends_with(fmt::format("@{}", EXTENSION_MODIFIER));
}

} // namespace qbgl::compiler
