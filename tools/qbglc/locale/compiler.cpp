#include "locale/compiler.h"

#include "locale/category.h"
#include "locale/collate.h"
#include "locale/encoder.h"
#include "locale/time.h"
#include "object/digest.h"
#include "object/order_keys.h"
#include "object/seal.h"
#include "object/text.h"
#include "order/fingerprint.h"
#include "system/fingerprint.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

constexpr size_t LONGEST_CODESET_NAME = 19; // on the codeset line

std::string language_of(const std::string &definition) {
    const std::string file = fs::path(definition).filename().string();
    return file.substr(0, file.find('_'));
}

// A definition that is named by its path.
fs::path definition_file(const std::string &path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found) throw DataError(path + ": no such file");
    if (fs::is_directory(status)) throw DataError(path + ": a directory, not a locale definition");
    return fs::absolute(path);
}

// The header with the lines that carry what the sections have no place for. Readers have room for 126 characters of a line.
std::string with_more_lines(const std::string &header, std::string_view more) {
    constexpr std::string_view COUNT_KEY = "HEADER_LINES=", MORE_LINE = "MORE=";
    constexpr size_t LONGEST = 120;
    std::string lines;
    size_t count = 0;
    for (; !more.empty(); more.remove_prefix(std::min(LONGEST, more.size())), ++count)
        lines += fmt::format("{}{}\n", MORE_LINE, more.substr(0, LONGEST));
    const size_t at = header.find(COUNT_KEY) + COUNT_KEY.size(), end = header.find('\n', at);
    return header.substr(0, at) + std::to_string(std::stoul(header.substr(at, end - at)) + count) + header.substr(end) + lines;
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

std::string LocaleCompiler::find_definition(const std::string &name) const {
    return name.find('/') == std::string::npos ? reader_.find(name).string() : name;
}

std::shared_ptr<const Definition> LocaleCompiler::definition(const std::string &name) {
    return definitions_.get(name, [&] {
        const bool is_path = name.find('/') != std::string::npos || fs::is_regular_file(name);
        return reader_.read(is_path ? definition_file(name) : reader_.find(name));
    });
}

const LocaleCompiler::Target &LocaleCompiler::target(size_t codeset) {
    return targets_.get(std::to_string(codeset), [&] {
        const CodesetPtr characters = library_.codeset(codeset);
        check_terminator(*characters);
        return Target{characters, library_.full_width(codeset),
                      Fingerprint().add(library_.mark(codeset)).add(library_.width_mark(codeset)).hex(),
                      characters_fingerprint(*characters)};
    });
}

LocaleCompiler::Target LocaleCompiler::own_target(const fs::path &path, std::string &warning) {
    const Charmap charmap = load_charmap(path);
    std::string name = charmap.codeset.empty() ? path.stem().string() : charmap.codeset;
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const CodesetPtr codeset = codeset_from_charmap(charmap, name, warning);
    check_terminator(*codeset);
    return {codeset, library_.full_width(*codeset, width_section(charmap)), file_mark(path), characters_fingerprint(*codeset)};
}

const std::string &LocaleCompiler::file_mark(const fs::path &path) {
    return file_marks_.get(path.string(), [&] { return Fingerprint().add(read_file(path)).hex(); });
}

std::string LocaleCompiler::header(const std::string &name, const std::string &codeset_mark, const std::string &calendar,
                                   const std::string &collation) {
    Fingerprint content;
    for (const fs::path &source : definition(name)->sources) content.add(file_mark(source));
    content.add(codeset_mark).add(calendar).add(collation).add(calendars_mark_).add(compiler_digest(ObjectKind::LOCALE));
    return object_header("locale_object", GL_LC_VERSION,
                         {"DEFINITION=" + fs::path(name).filename().string(), "CONTENT=" + content.hex()}, 1);
}

std::string LocaleCompiler::header(const std::string &name, size_t codeset, const std::string &calendar,
                                   const std::string &collation) {
    return header(name, Fingerprint().add(library_.mark(codeset)).add(library_.width_mark(codeset)).hex(), calendar, collation);
}

const std::string &LocaleCompiler::ctype(const Definition &definition, const Target &target) {
    const std::string key = properties_key(definition);
    const auto make_properties = [&] { return std::make_shared<const CharacterProperties>(definition); };
    return ctypes_.get(key + ' ' + target.mark,
                       [&] { return ctype_section(*properties_.get(key, make_properties), *target.codeset, target.full_width); });
}

// Most definitions copy the rules of another one and add nothing: they share the order, and the section.
const LocaleCompiler::Order &LocaleCompiler::collate(const Definition &definition, const Target &target) {
    const CollationRules &rules = without_copying(*definition.collate);
    const std::string key = std::to_string(reinterpret_cast<uintptr_t>(&rules));
    const CollationOrderPtr &order = orders_.get(key, [&] {
        auto made = std::make_shared<const CollationOrder>(rules);
        add_warnings(definition, {}, made->warnings());
        return made;
    });
    return collates_.get(key + ' ' + target.mark, [&] {
        try {
            CollateSection section = collate_section(*order, *target.codeset);
            add_warnings(definition, definition.collate_place.text() + ": in " + target.codeset->name() + ": ", section.warnings);
            return Order{section.text + order_key_lines(section.text), order_fingerprint(target.characters, section.listed)};
        } catch (const DataError &error) {
            throw definition.collate_place.error(error.what());
        }
    });
}

void LocaleCompiler::add_warnings(const Definition &definition, const std::string &before,
                                  const std::vector<std::string> &warnings) {
    const std::string name = fs::path(definition.file).filename().string();
    const std::lock_guard lock(warnings_mutex_);
    for (const std::string &warning : warnings) warnings_.push_back(fmt::format("{}{} (locale {})", before, warning, name));
}

std::vector<std::string> LocaleCompiler::take_warnings() {
    const std::lock_guard lock(warnings_mutex_);
    return std::exchange(warnings_, {});
}

std::string LocaleCompiler::object(const std::string &name, const Target &target, const std::string &codeset_name,
                                   const std::string &calendar, const std::string &header, const std::string &collation) {
    if (codeset_name.size() > LONGEST_CODESET_NAME) throw DataError(codeset_name + ": too long for the codeset line of an object");
    const auto source = definition(name);
    const LocaleEncoder encoder(source->ctype, *target.codeset, codeset_name);
    LocaleErrors errors;
    std::string order = collation + '\n', fingerprint;
    if (collation.empty())
        order = errors.collect([&] {
            const Order &rules = collate(*source, target);
            fingerprint = rules.fingerprint;
            return rules.section;
        });
    else
        fingerprint = order_fingerprint(target.characters, order);
    const std::string more = more_of_money(*source, encoder, errors) + more_of_time(*source, encoder, calendar, errors);
    std::string text = with_more_lines(header, more);
    text.append(ORDER_LINE) += fingerprint + '\n';
    const size_t end_of_header = text.size();
    text += codeset_name + '\n';
    text += "### LC_CTYPE\n" + errors.collect([&] { return ctype(*source, target); });
    text += "### LC_COLLATE\n" + order;
    text += "### LC_NUMERIC\n" + numeric_section(*source, encoder, errors);
    text += "### LC_MONETARY\n" + monetary_section(*source, encoder, errors);
    text += "### LC_TIME\n" + time_section(*source, encoder, calendars_, calendar, language_of(name), errors);
    text += "### LC_MESSAGES\n" + messages_section(*source, encoder, errors);
    errors.throw_if_any();
    seal(text, end_of_header);
    return text;
}

} // namespace qbgl::compiler
