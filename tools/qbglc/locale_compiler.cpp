#include "locale_compiler.h"

#include "digest.h"
#include "locale_category.h"
#include "locale_collate.h"
#include "locale_encoder.h"
#include "locale_time.h"
#include "object_text.h"

#include <algorithm>
#include <cctype>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

constexpr unsigned OBJECT_VERSION = 11;
constexpr size_t LONGEST_CODESET_NAME = 19; // on the codeset line

std::string language_of(const std::string &definition) {
    const std::string file = fs::path(definition).filename().string();
    return file.substr(0, file.find('_'));
}

void check_terminator(const Codeset &codeset) {
    const Character *terminator = codeset.find(U'\0');
    if (terminator == nullptr) throw DataError(codeset.name() + ": has no <U0000>, which ends every text");
    for (const Character &character : codeset.read())
        if (character.bytes.length < terminator->bytes.length)
            throw DataError(codeset.name() + ": <U0000> is longer than other characters");
}

} // namespace

LocaleCompiler::LocaleCompiler(Library &library, std::vector<fs::path> directories)
    : library_(library), reader_(std::move(directories)) {
    const fs::path recipe = library.directory() / "calendars";
    if (!fs::exists(recipe)) return;
    calendars_ = Calendars::load(recipe);
    calendars_mark_ = file_mark(recipe);
}

std::shared_ptr<const Definition> LocaleCompiler::definition(const std::string &name) {
    return definitions_.get(name,
                            [&] { return reader_.read(fs::is_regular_file(name) ? fs::absolute(name) : reader_.find(name)); });
}

const LocaleCompiler::Target &LocaleCompiler::target(size_t codeset) {
    return targets_.get(std::to_string(codeset), [&] {
        check_terminator(*library_.codeset(codeset));
        return Target{library_.codeset(codeset), library_.full_width(codeset),
                      Fingerprint().add(library_.mark(codeset)).add(library_.width_mark(codeset)).hex()};
    });
}

LocaleCompiler::Target LocaleCompiler::own_target(const fs::path &path, std::string &warning) {
    const Charmap charmap = load_charmap(path);
    std::string name = charmap.codeset.empty() ? path.stem().string() : charmap.codeset;
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const CodesetPtr codeset = codeset_from_charmap(charmap, name, warning);
    check_terminator(*codeset);
    return {codeset, library_.full_width(*codeset, width_section(charmap)), file_mark(path)};
}

const std::string &LocaleCompiler::file_mark(const fs::path &path) {
    return file_marks_.get(path.string(), [&] { return Fingerprint().add(read_file(path)).hex(); });
}

std::string LocaleCompiler::header(const std::string &name, const std::string &codeset_mark, const std::string &calendar) {
    Fingerprint content;
    for (const fs::path &source : definition(name)->sources) content.add(file_mark(source));
    content.add(codeset_mark).add(calendar).add(calendars_mark_).add(compiler_digest());
    return object_header("locale_object", OBJECT_VERSION,
                         {"DEFINITION=" + fs::path(name).filename().string(), "CONTENT=" + content.hex()});
}

std::string LocaleCompiler::header(const std::string &name, size_t codeset, const std::string &calendar) {
    return header(name, Fingerprint().add(library_.mark(codeset)).add(library_.width_mark(codeset)).hex(), calendar);
}

const std::string &LocaleCompiler::ctype(const Definition &definition, const Target &target) {
    const std::string key = properties_key(definition);
    const auto make_properties = [&] { return std::make_shared<const CharacterProperties>(definition); };
    return ctypes_.get(key + ' ' + target.mark,
                       [&] { return ctype_section(*properties_.get(key, make_properties), *target.codeset, target.full_width); });
}

std::string LocaleCompiler::object(const std::string &name, const Target &target, const std::string &codeset_name,
                                   const std::string &calendar, const std::string &header) {
    if (codeset_name.size() > LONGEST_CODESET_NAME) throw DataError(codeset_name + ": too long for the codeset line of an object");
    const auto source = definition(name);
    const LocaleEncoder encoder(source->ctype, *target.codeset, codeset_name);
    std::string text = header + codeset_name + '\n';
    text += "### LC_CTYPE\n" + ctype(*source, target);
    text += "### LC_COLLATE\n" + collate_section(*source, *target.codeset);
    text += "### LC_NUMERIC\n" + numeric_section(*source, encoder);
    text += "### LC_MONETARY\n" + monetary_section(*source, encoder);
    text += "### LC_TIME\n" + time_section(*source, encoder, calendars_, calendar, language_of(name));
    text += "### LC_MESSAGES\n" + messages_section(*source, encoder);
    return text;
}

} // namespace qbgl::compiler
