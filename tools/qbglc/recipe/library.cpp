#include "recipe/library.h"

#include "charmap/iconv_source.h"
#include "object/conversion.h"
#include "object/digest.h"
#include "system/error.h"
#include "system/fingerprint.h"

#include <fmt/format.h>

namespace qbgl::compiler {

Library::Library(const std::filesystem::path &directory)
    : directory_(directory), catalogue_(Catalogue::load(directory)),
      substitutions_(Substitutions::load(directory / "substitutions")), items_(catalogue_.codesets().size()) {}

std::filesystem::path Library::charmap_path(const std::string &name) const {
    const std::filesystem::path own = directory_ / "charmaps" / name;
    return std::filesystem::is_regular_file(own) ? own : find_charmap(name);
}

namespace {

constexpr const char *UNICODE_CHARMAP = "UTF-8"; // lists all characters that the platform knows, and has their widths

// The platform's charmap of UTF-8 lists assigned characters. Of the others those of the first plane are in conversions, too.
void add_unassigned(Codeset &utf8) {
    for (char32_t code = 0; code < 0x10000; ++code)
        if (is_scalar_value(code)) utf8.add(code, utf8_of(code));
    utf8.finish();
}

std::string rule_of(const CodesetSource &source) {
    if (source.kind != CodesetSource::Kind::CHARMAP) return "";
    return source.argument == "UTF-8" ? "utf8" : source.argument == "GB18030" ? "gb18030" : "";
}

} // namespace

namespace {

// The charmap of a codeset whose characters iconv tells.
std::optional<std::filesystem::path> width_charmap(const Catalogue::Codeset &codeset) {
    if (codeset.source.kind != CodesetSource::Kind::ICONV) return std::nullopt;
    try {
        return find_charmap(codeset.source.argument);
    } catch (const DataError &) {
        return std::nullopt;
    }
}

} // namespace

CodesetPtr Library::load_charmap_codeset(Item &item, const Catalogue::Codeset &codeset) {
    std::string warning;
    const Charmap charmap = load_charmap(charmap_path(codeset.source.argument));
    const auto result = codeset_from_charmap(charmap, codeset.name, warning, codeset.source.below);
    if (charmap.steps_in_utf8()) add_unassigned(*result);
    if (const std::string rule = rule_of(codeset.source); !rule.empty()) {
        result->complete(rule);
        result->know(unicode().known);
    }
    if (codeset.source.kind == CodesetSource::Kind::CHARMAP_ICONV) add_composed_from_iconv(codeset.iconv, *result);
    if (!warning.empty()) {
        const std::lock_guard lock(warnings_mutex_);
        warnings_.push_back(warning);
    }
    item.widths = width_section(charmap);
    return result;
}

CodesetPtr Library::load(Item &item, const Catalogue::Codeset &codeset) {
    using Kind = CodesetSource::Kind;
    const CodesetSource &source = codeset.source;
    switch (source.kind) {
    case Kind::CHARMAP:
    case Kind::CHARMAP_ICONV: return load_charmap_codeset(item, codeset);
    case Kind::ICONV: return codeset_from_iconv(source.argument, IconvPart::ALL, codeset.name);
    case Kind::ICONV_SINGLE: return codeset_from_iconv(source.argument, IconvPart::SINGLE, codeset.name);
    case Kind::ICONV_DOUBLE: return codeset_from_iconv(source.argument, IconvPart::DOUBLE, codeset.name);
    case Kind::UNICODE: return unicode_codeset(source.argument, codeset.name, unicode().known);
    case Kind::NONE: break;
    }
    throw DataError(fmt::format("{}: has no source: {}", codeset.name, codeset.reason));
}

CodesetPtr Library::codeset(size_t index) {
    Item &item = items_[index];
    std::call_once(item.loaded, [&] { item.codeset = load(item, catalogue_.codesets()[index]); });
    return item.codeset;
}

std::vector<bool> Library::full_width(const Codeset &codeset, const WidthSection &own) {
    if (!own.widths.empty()) return compiler::full_width(codeset, own);
    return compiler::full_width(codeset, unicode().widths);
}

const Library::Unicode &Library::unicode() {
    std::call_once(unicode_loaded_, [&] {
        const Charmap charmap = load_charmap(find_charmap(UNICODE_CHARMAP));
        unicode_ = {width_section(charmap), known_unicode(charmap)};
    });
    return unicode_;
}

std::optional<std::filesystem::path> Library::charmap(size_t index) const {
    using Kind = CodesetSource::Kind;
    const Catalogue::Codeset &codeset = catalogue_.codesets()[index];
    if (codeset.source.kind == Kind::CHARMAP || codeset.source.kind == Kind::CHARMAP_ICONV)
        return charmap_path(codeset.source.argument);
    return width_charmap(codeset);
}

std::string Library::unlisted_rule(size_t index) const { return rule_of(catalogue_.codesets()[index].source); }

const std::vector<bool> &Library::full_width(size_t index) {
    const CodesetPtr codeset = this->codeset(index);
    Item &item = items_[index];
    std::call_once(item.measured, [&] {
        if (const auto charmap = width_charmap(catalogue_.codesets()[index])) item.widths = width_section(load_charmap(*charmap));
        item.full_width = full_width(*codeset, item.widths);
    });
    return item.full_width;
}

std::string Library::width_mark(size_t index) {
    std::call_once(widths_marked_, [&] { utf8_width_mark_ = Fingerprint().add(read_file(find_charmap(UNICODE_CHARMAP))).hex(); });
    const auto own = width_charmap(catalogue_.codesets()[index]);
    return own ? Fingerprint().add(utf8_width_mark_).add(read_file(*own)).hex() : utf8_width_mark_;
}

std::string Library::description(size_t index) const {
    const Catalogue::Codeset &codeset = catalogue_.codesets()[index];
    return fmt::format("{} {} {}", codeset.name, codeset.number, codeset.source.text());
}

const std::string &Library::mark(size_t index) {
    Item &item = items_[index];
    std::call_once(item.marked, [&] {
        using Kind = CodesetSource::Kind;
        const CodesetSource &source = catalogue_.codesets()[index].source;
        Fingerprint fingerprint;
        fingerprint.add(source.text());
        if (source.kind == Kind::CHARMAP || source.kind == Kind::CHARMAP_ICONV)
            fingerprint.add(read_file(charmap_path(source.argument)));
        if (source.kind != Kind::CHARMAP && source.kind != Kind::UNICODE && source.kind != Kind::NONE) {
            std::call_once(iconv_asked_, [&] { iconv_version_ = iconv_version(); });
            fingerprint.add(iconv_version_);
        }
        item.mark = fingerprint.hex();
    });
    return item.mark;
}

std::vector<std::string> Library::header_lines(Catalogue::Pair pair) {
    const std::string content = Fingerprint()
                                    .add(mark(pair.first))
                                    .add(mark(pair.second))
                                    .add(substitutions_.fingerprint())
                                    .add(compiler_digest(ObjectKind::CONVERSION))
                                    .hex();
    std::vector<std::string> lines{"SOURCE=" + description(pair.first), "TARGET=" + description(pair.second), "CONTENT=" + content};
    add_rules(lines, unlisted_rule(pair.first), unlisted_rule(pair.second));
    return lines;
}

std::vector<std::string> Library::take_warnings() {
    const std::lock_guard lock(warnings_mutex_);
    return std::exchange(warnings_, {});
}

CodesetPtr load_own_codeset(const std::filesystem::path &path, std::string &warning) {
    const Charmap charmap = load_charmap(path);
    return codeset_from_charmap(charmap, charmap.codeset.empty() ? path.filename().string() : charmap.codeset, warning);
}

} // namespace qbgl::compiler
