#include "symbols_command.h"

#include "files.h"
#include "hexadecimal.h"
#include "locale_handle.h"
#include "progress.h"
#include "registry.h"
#include "symbol_stream.h"
#include "tree.h"
#include "unknown_codeset.h"

#include <cstring>
#include <fmt/format.h>
#include <memory>

namespace qbgl {

namespace {

constexpr size_t BLOCK = 64 << 10;

using CharmapHandle = std::unique_ptr<gl_charmap, void (*)(gl_charmap *)>;

SystemFailure cannot_load(int error, const std::string &codeset, uint16_t number) {
    const std::string tree = printable(tree_directory());
    const std::string remedy =
        fmt::format("`qbglc charmap {0} -o {1}/vrn/cm3/{2:04x}.cmo` makes it", read_registry().name_of(number), tree, number);
    const std::string name = printable(codeset);
    std::string sentence;
    if (error == GL_ENOMEM)
        sentence = fmt::format("out of memory while loading the charmap of {}", name);
    else if (error == GL_ENOFILE)
        sentence = fmt::format("{} has no charmap of {}: {}, if the platform has one", tree, name, remedy);
    else
        sentence = fmt::format("the charmap of {} in {} is damaged or of another version: {} anew", name, tree, remedy);
    return {ExitStatus::SYSTEM, sentence, JsonObject().text("codeset", codeset).number("error", static_cast<unsigned>(error))};
}

// Throws SystemFailure.
CharmapHandle load_charmap(const std::string &codeset, uint16_t number) {
    gl_charmap *charmap = nullptr;
    const int result = gl_cm_load(&charmap, std::to_string(number).c_str(), nullptr, nullptr);
    CharmapHandle handle(charmap, gl_cm_unload);
    if (result != 0) throw cannot_load(gl_errno(charmap), codeset, number);
    return handle;
}

class Run {
  public:
    Run(const SymbolsRequest &request, const Messages &messages, gl_charmap &charmap, const std::string &codeset)
        : request_(request), messages_(messages), charmap_(charmap), codeset_(printable(codeset)),
          files_(inputs_of(request.files)) {}

    ExitStatus run() {
        check_readable(files_);
        OutputFile output(request_.output, files_);
        ExitStatus status = ExitStatus::OK;
        for (const std::string &file : files_) {
            status = convert(file, output);
            if (status != ExitStatus::OK) break;
        }
        output.close();
        return status;
    }

  private:
    std::unique_ptr<SymbolStream> new_stream() const {
        if (request_.to_text) return std::make_unique<SymbolsToText>(charmap_);
        return std::make_unique<TextToSymbols>(charmap_, request_.all);
    }

    ExitStatus convert(const std::string &file, OutputFile &output) {
        InputFile input(file);
        Progress progress(input.size(), messages_);
        const std::unique_ptr<SymbolStream> stream = new_stream();
        size_t held = 0; // bytes at the buffer's beginning that await their continuation
        for (bool at_end = false; !at_end;) {
            const size_t count = input.read(buffer_.data() + held, buffer_.size() - held);
            at_end = count == 0;
            std::string_view text(buffer_.data(), held + count);
            converted_.clear();
            const std::optional<SymbolIncident> stopped = stream->convert(text, at_end, converted_);
            output.write(converted_);
            if (stopped) {
                progress.clear();
                return messages_.fail(ExitStatus::DATA, sentence(*stopped, file), details(*stopped, file));
            }
            held = text.size();
            std::memmove(buffer_.data(), text.data(), held);
            progress.add(count);
        }
        return ExitStatus::OK;
    }

    // FILE:LINE:COLUMN: offset N, bytes XX XX: what is the matter
    std::string sentence(const SymbolIncident &incident, const std::string &file) const {
        const std::string where = fmt::format("{}:{}:{}: offset {}, ", shown_name(file), incident.place.line, incident.place.column,
                                              incident.place.offset);
        const std::string bytes =
            fmt::format("byte{} {}: ", incident.bytes.size() == 1 ? "" : "s", hexadecimal(incident.bytes, " "));
        const bool incomplete = incident.finding == SymbolIncident::INCOMPLETE;
        if (incident.finding == SymbolIncident::UNKNOWN)
            return where + fmt::format("{}: the charmap of {} has no such name", printable(incident.bytes), codeset_);
        if (request_.to_text)
            return where + (incomplete ? "the text ends inside a symbol; was it cut short?" : bytes + "no symbol such as <U0041>");
        if (incomplete) return where + bytes + fmt::format("the text ends inside a character of {}; was it cut short?", codeset_);
        return where + bytes + fmt::format("no character in the charmap of {}; is the text in another codeset?", codeset_);
    }

    JsonObject details(const SymbolIncident &incident, const std::string &file) const {
        static constexpr const char *NAMES[] = {"invalid", "incomplete", "unknown", "malformed"};
        JsonObject result;
        result.text("finding", NAMES[incident.finding]).text("file", file).number("line", incident.place.line);
        result.number("column", incident.place.column).number("offset", incident.place.offset);
        result.text("bytes", hexadecimal(incident.bytes));
        if (incident.finding == SymbolIncident::UNKNOWN) result.text("symbol", incident.bytes);
        return result.text("codeset", codeset_);
    }

    const SymbolsRequest &request_;
    const Messages &messages_;
    gl_charmap &charmap_;
    std::string codeset_;
    std::vector<std::string> files_;
    std::vector<char> buffer_ = std::vector<char>(BLOCK);
    std::string converted_;
};

} // namespace

ExitStatus run_symbols(const SymbolsRequest &request, const Messages &messages) {
    std::string codeset = request.codeset;
    if (codeset.empty()) codeset = category_codeset(*open_locale(request.locale), GL_CAT_CTYPE);
    const uint16_t number = gl_lc_spec2cs_num(nullptr, codeset.c_str(), nullptr);
    if (number == GL_NO_CODESET) return unknown_codeset(codeset, messages);
    const CharmapHandle charmap = load_charmap(codeset, number);
    return Run(request, messages, *charmap, codeset).run();
}

} // namespace qbgl
