#include "library.h"

#include "digest.h"
#include "error.h"
#include "iconv_source.h"

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

// The platform's charmap of UTF-8 lists assigned characters; text of a later Unicode than its own must not be refused. Beyond the
// first plane the unassigned codes are too many to be worth their memory.
void add_unassigned(Codeset &utf8) {
    for (char32_t code = 0; code < 0x10000; ++code)
        if (is_scalar_value(code)) utf8.add(code, utf8_of(code));
    utf8.finish();
}

} // namespace

CodesetPtr Library::load(const Catalogue::Codeset &codeset) {
    using Kind = CodesetSource::Kind;
    const CodesetSource &source = codeset.source;
    switch (source.kind) {
    case Kind::CHARMAP:
    case Kind::CHARMAP_ICONV: {
        std::string warning;
        const Charmap charmap = load_charmap(charmap_path(source.argument));
        const auto result = codeset_from_charmap(charmap, codeset.name, warning, source.below);
        if (charmap.steps_in_utf8()) add_unassigned(*result);
        if (source.kind == Kind::CHARMAP_ICONV) add_composed_from_iconv(codeset.iconv, *result);
        if (!warning.empty()) {
            const std::lock_guard lock(warnings_mutex_);
            warnings_.push_back(warning);
        }
        return result;
    }
    case Kind::ICONV: return codeset_from_iconv(source.argument, IconvPart::ALL, codeset.name);
    case Kind::ICONV_SINGLE: return codeset_from_iconv(source.argument, IconvPart::SINGLE, codeset.name);
    case Kind::ICONV_DOUBLE: return codeset_from_iconv(source.argument, IconvPart::DOUBLE, codeset.name);
    case Kind::UNICODE: return unicode_codeset(source.argument, codeset.name);
    case Kind::NONE: break;
    }
    throw DataError(fmt::format("{}: has no source: {}", codeset.name, codeset.reason));
}

CodesetPtr Library::codeset(size_t index) {
    Item &item = items_[index];
    std::call_once(item.loaded, [&] { item.codeset = load(catalogue_.codesets()[index]); });
    return item.codeset;
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
    const auto describe = [&](const char *side, size_t index) {
        const Catalogue::Codeset &codeset = catalogue_.codesets()[index];
        return fmt::format("{}={} {} {}", side, codeset.name, codeset.number, codeset.source.text());
    };
    const std::string content =
        Fingerprint().add(mark(pair.first)).add(mark(pair.second)).add(substitutions_.fingerprint()).add(compiler_digest()).hex();
    return {describe("SOURCE", pair.first), describe("TARGET", pair.second), "CONTENT=" + content};
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
