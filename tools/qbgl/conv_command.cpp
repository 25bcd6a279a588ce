#include "conv_command.h"

#include "converter.h"
#include "files.h"
#include "hexadecimal.h"
#include "progress.h"
#include "registry.h"
#include "tree.h"
#include "unknown_codeset.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr size_t BLOCK = 64 << 10;

const char *name_of(Finding finding) {
    switch (finding) {
    case Finding::UNMAPPED: return "unmapped";
    case Finding::INVALID: return "invalid";
    case Finding::INCOMPLETE: return "incomplete";
    default: return "substituted";
    }
}

// One run of the command over an open conversion.
class Run {
  public:
    Run(const ConvRequest &request, const Messages &messages, Conversion *conversion)
        : request_(request), messages_(messages), files_(inputs_of(request.files)) {
        if (conversion == nullptr) return;
        converter_.emplace(*conversion, ConverterOptions{request.leave_out, request.report, [this](const Incident &incident) {
                                                             if (request_.report) report(incident);
                                                         }});
    }

    ExitStatus run() {
        check_readable(files_);
        OutputFile output(request_.output, files_);
        ExitStatus status = ExitStatus::OK;
        for (const std::string &name : files_) {
            file_ = &name;
            status = convert_file(name, output);
            if (status != ExitStatus::OK) break;
        }
        output.close();
        return summary(status);
    }

  private:
    ExitStatus convert_file(const std::string &name, OutputFile &output) {
        InputFile input(name);
        Progress progress(input.size(), messages_);
        size_t held = 0; // bytes at the buffer's beginning that await their continuation
        for (bool at_end = false; !at_end;) {
            const size_t count = input.read(buffer_.data() + held, buffer_.size() - held);
            at_end = count == 0;
            std::string_view text(buffer_.data(), held + count);
            std::optional<Incident> stopped;
            if (converter_) {
                stopped = converter_->convert(text, at_end, converted_);
            } else {
                output.write(text);
                text.remove_prefix(text.size());
            }
            output.write(converted_.text());
            converted_.clear();
            if (stopped) {
                progress.clear();
                return messages_.fail(ExitStatus::DATA, sentence(*stopped) + advice(stopped->finding), details(*stopped));
            }
            held = text.size();
            std::memmove(buffer_.data(), text.data(), held);
            progress.add(count);
        }
        return ExitStatus::OK;
    }

    void report(const Incident &incident) const {
        const bool substituted = incident.finding == Finding::SUBSTITUTED;
        messages_.say(substituted ? "substituted" : "left out", sentence(incident) + (substituted ? "" : ": left out"),
                      details(incident));
    }

    // FILE:LINE:COLUMN: offset N, bytes XX XX: what is the matter
    std::string sentence(const Incident &incident) const {
        const std::string where =
            fmt::format("{}:{}:{}: offset {}, byte{} {}: ", shown_name(*file_), incident.place.line, incident.place.column,
                        incident.place.offset, incident.bytes.size() == 1 ? "" : "s", hexadecimal(incident.bytes, " "));
        switch (incident.finding) {
        case Finding::UNMAPPED: return where + fmt::format("{} has no such character of {}", request_.to, request_.from);
        case Finding::INVALID: return where + fmt::format("no character of {}", request_.from);
        case Finding::INCOMPLETE: return where + fmt::format("the text ends inside a character of {}", request_.from);
        default: return where + fmt::format("substituted by {}", hexadecimal(incident.result, " "));
        }
    }

    std::string advice(Finding finding) const {
        switch (finding) {
        case Finding::UNMAPPED: return "; choose a target (-t) that has it, or leave such characters out with -c";
        case Finding::INVALID: return "; is the text in another codeset (-f)? -c leaves such bytes out";
        default: return "; was it cut short? -c leaves the rest out";
        }
    }

    JsonObject details(const Incident &incident) const {
        JsonObject result;
        result.text("finding", name_of(incident.finding)).text("file", *file_).number("line", incident.place.line);
        result.number("column", incident.place.column).number("offset", incident.place.offset);
        result.text("bytes", hexadecimal(incident.bytes));
        if (incident.finding == Finding::SUBSTITUTED) result.text("result", hexadecimal(incident.result));
        return result.text("from", request_.from).text("to", request_.to);
    }

    ExitStatus summary(ExitStatus status) const {
        if (!converter_) return status;
        const uint64_t substituted = converter_->substituted(), left_out = converter_->left_out();
        if (request_.report || left_out > 0) {
            const std::string text = request_.report ? fmt::format("{} substituted, {} left out", substituted, left_out)
                                                     : fmt::format("{} left out", left_out);
            messages_.say("summary", text, JsonObject().number("substituted", substituted).number("left_out", left_out));
        }
        return status == ExitStatus::OK && left_out > 0 ? ExitStatus::DATA : status;
    }

    const ConvRequest &request_;
    const Messages &messages_;
    std::vector<std::string> files_;
    std::optional<Converter> converter_;
    const std::string *file_ = nullptr;
    std::vector<char> buffer_ = std::vector<char>(BLOCK);
    OutputBuffer converted_;
};

// The command that makes the object of a conversion where the library looks for it.
std::string remedy(const ConvRequest &request) {
    const Registry registry = read_registry();
    const uint16_t from = gl_lc_spec2cs_num(nullptr, request.from.c_str(), nullptr);
    const uint16_t to = gl_lc_spec2cs_num(nullptr, request.to.c_str(), nullptr);
    return fmt::format("`qbglc conv {} {} -o {}/{:04x}{:04x}.cvo` makes it", registry.name_of(from), registry.name_of(to),
                       printable(conversion_directories().front()), from, to);
}

ExitStatus cannot_open(Opened opened, const ConvRequest &request, const Messages &messages) {
    const std::string pair = fmt::format("from {} to {}", printable(request.from), printable(request.to));
    const std::string tree = printable(tree_directory());
    std::string sentence;
    if (opened == Opened::NO_MEMORY)
        sentence = fmt::format("out of memory while loading the conversion {}", pair);
    else if (opened == Opened::DAMAGED)
        sentence = fmt::format("the conversion {} in {} is damaged or of another version: {} anew", pair, tree, remedy(request));
    else if (read_registry().names.empty())
        sentence = fmt::format("there is no installation tree in {}: set QUORBANEDIR, or make one with `qbglc tree DIR`", tree);
    else
        sentence = fmt::format("{} has no conversion {}: {}", tree, pair, remedy(request));
    return messages.fail(ExitStatus::SYSTEM, sentence, JsonObject().text("from", request.from).text("to", request.to));
}

} // namespace

ExitStatus run_conv(const ConvRequest &request, const Messages &messages) {
    std::unique_ptr<Conversion> conversion;
    const Opened opened = Conversion::open(request.from, request.to, conversion);
    if (opened == Opened::UNKNOWN_SOURCE) return unknown_codeset(request.from, messages);
    if (opened == Opened::UNKNOWN_TARGET) return unknown_codeset(request.to, messages);
    if (opened != Opened::CONVERSION && opened != Opened::SAME_CODESET) return cannot_open(opened, request, messages);
    try {
        return Run(request, messages, conversion.get()).run();
    } catch (const Converter::Broken &) {
        return cannot_open(Opened::DAMAGED, request, messages);
    }
}

} // namespace qbgl
