#include "commands/symbols.h"

#include "frame/blocks.h"
#include "frame/finding.h"
#include "text/symbol_stream.h"
#include "tree/codesets.h"
#include "tree/directories.h"
#include "tree/locale_handle.h"
#include "tree/registry.h"

#include <fmt/format.h>
#include <memory>

namespace qbgl {

namespace {

using CharmapHandle = std::unique_ptr<gl_charmap, void (*)(gl_charmap *)>;

Failure cannot_load(int error, const std::string &codeset, uint16_t number) {
    const std::string tree = printable(charmap_directories().front());
    // A codeset without conversions is a name only: the compiler has no source of it.
    const bool has_source = is_convertible(number, installed_conversions());
    const std::string remedy =
        fmt::format("`qbglc charmap {} -o {}/{:04x}.cmo` makes it", read_registry().name_of(number), tree, number);
    const std::string name = printable(codeset);
    std::string sentence;
    if (error == GL_ENOMEM)
        sentence = fmt::format("out of memory while loading the charmap of {}", name);
    else if (error == GL_ENOFILE)
        sentence = fmt::format("{} has no charmap of {}{}", tree, name,
                               has_source ? fmt::format(": {}, if the platform has one", remedy) : "");
    else
        sentence = fmt::format("the charmap of {} in {} is damaged or of another version: {} anew", name, tree, remedy);
    return {ExitStatus::SYSTEM, sentence, JsonObject().text("codeset", codeset).number("error", static_cast<unsigned>(error))};
}

// Throws Failure.
CharmapHandle load_charmap(const std::string &codeset, uint16_t number) {
    gl_charmap *charmap = nullptr;
    const int result = gl_cm_load(&charmap, std::to_string(number).c_str(), nullptr, nullptr);
    CharmapHandle handle(charmap, gl_cm_unload);
    if (result != 0) throw cannot_load(gl_errno(charmap), codeset, number);
    return handle;
}

class SymbolConversion {
  public:
    SymbolConversion(const SymbolsRequest &request, const Messages &messages, gl_charmap &charmap, const std::string &codeset)
        : request_(request), messages_(messages), charmap_(charmap), codeset_(printable(codeset)) {}

    ExitStatus operator()(const std::string &file, OutputFile &output) {
        Blocks blocks(file, messages_, output);
        const std::unique_ptr<SymbolStream> stream = new_stream();
        while (blocks.next()) {
            std::string_view text = blocks.text();
            converted_.clear();
            const std::optional<SymbolIncident> stopped = stream->convert(text, blocks.at_end(), converted_);
            output.write(converted_);
            if (stopped) {
                blocks.progress().clear();
                return messages_.fail(finding(*stopped, file).failure());
            }
            blocks.keep(text);
        }
        return ExitStatus::OK;
    }

  private:
    std::unique_ptr<SymbolStream> new_stream() const {
        if (request_.to_text) return std::make_unique<SymbolsToText>(charmap_);
        return std::make_unique<TextToSymbols>(charmap_, request_.all);
    }

    Finding finding(const SymbolIncident &incident, const std::string &file) const {
        const bool cut = incident.kind == SymbolIncident::INCOMPLETE;
        Finding result = unreadable(incident.bytes, cut, file, incident.place, codeset_);
        if (cut) {
            if (request_.to_text) result.reason = "the text ends inside a symbol";
        } else if (incident.kind == SymbolIncident::INVALID) {
            result.reason = "no character in the charmap of " + codeset_;
            result.remedy = "is the text in another codeset?";
        } else if (incident.kind == SymbolIncident::UNKNOWN) {
            result.kind = "unknown";
            result.reason = fmt::format("the charmap of {} has no name {}", codeset_, printable(incident.bytes));
            result.remedy = "";
            result.more.text("symbol", incident.bytes);
        } else {
            result.kind = "malformed";
            result.reason = "no symbol such as <U0041>";
            result.remedy = "";
        }
        return result;
    }

    const SymbolsRequest &request_;
    const Messages &messages_;
    gl_charmap &charmap_;
    std::string codeset_, converted_;
};

} // namespace

ExitStatus run_symbols(const SymbolsRequest &request, const Messages &messages) {
    std::string codeset = request.codeset;
    if (codeset.empty()) codeset = category_codeset(*open_locale(request.locale, messages), GL_CAT_CTYPE);
    const uint16_t number = codeset_number(codeset);
    const CharmapHandle charmap = load_charmap(codeset, number);
    SymbolConversion convert(request, messages, *charmap, codeset);
    return for_each_file(inputs_of(request.files), request.output,
                         [&](const std::string &file, OutputFile &output) { return convert(file, output); });
}

} // namespace qbgl
