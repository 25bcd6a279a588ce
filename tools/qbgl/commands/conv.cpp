#include "commands/conv.h"

#include "frame/blocks.h"
#include "frame/finding.h"
#include "text/converter.h"
#include "text/hexadecimal.h"
#include "tree/directories.h"
#include "tree/registry.h"
#include "tree/unknown_codeset.h"

#include <fmt/format.h>

namespace qbgl {

namespace {

// One run of the command over an open conversion.
class Conv {
  public:
    Conv(const ConvRequest &request, const Messages &messages, Conversion *conversion) : request_(request), messages_(messages) {
        if (conversion == nullptr) return;
        converter_.emplace(*conversion, ConverterOptions{request.leave_out, request.report, [this](const Incident &incident) {
                                                             if (request_.report) report(incident);
                                                         }});
    }

    ExitStatus operator()(const std::string &file, OutputFile &output) {
        Blocks blocks(file, messages_);
        file_ = file;
        while (blocks.next()) {
            std::string_view text = blocks.text();
            std::optional<Incident> stopped;
            if (converter_) {
                stopped = converter_->convert(text, blocks.at_end(), converted_);
            } else {
                output.write(text);
                text.remove_prefix(text.size());
            }
            output.write(converted_.text());
            converted_.clear();
            if (stopped) {
                blocks.progress().clear();
                return messages_.fail(finding(*stopped).failure());
            }
            blocks.keep(text);
        }
        return ExitStatus::OK;
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

  private:
    void report(const Incident &incident) const {
        Finding found = finding(incident);
        const bool substituted = incident.fault == Fault::SUBSTITUTED;
        if (!substituted) found.reason += ": left out";
        found.remedy = "";
        messages_.say(substituted ? "substituted" : "left out", found);
    }

    Finding finding(const Incident &incident) const {
        Finding result{"substituted", file_, incident.place, incident.bytes, {}};
        switch (incident.fault) {
        case Fault::UNMAPPED:
            result.kind = "unmapped";
            result.reason = fmt::format("{} has no such character of {}", request_.to, request_.from);
            result.remedy = "choose a target (-t) that has it, or leave such characters out with -c";
            break;
        case Fault::INVALID:
            result.kind = "invalid";
            result.reason = fmt::format("no character of {}", request_.from);
            result.remedy = "is the text in another codeset (-f)? -c leaves such bytes out";
            break;
        case Fault::INCOMPLETE:
            result.kind = "incomplete";
            result.reason = fmt::format("the text ends inside a character of {}", request_.from);
            result.remedy = "was it cut short? -c leaves the rest out";
            break;
        case Fault::SUBSTITUTED:
            result.reason = fmt::format("substituted by {}", hexadecimal(incident.result, " "));
            result.more.text("result", hexadecimal(incident.result));
        }
        result.more.text("from", request_.from).text("to", request_.to);
        return result;
    }

    const ConvRequest &request_;
    const Messages &messages_;
    std::optional<Converter> converter_;
    std::string file_;
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
        Conv conv(request, messages, conversion.get());
        const ExitStatus status = for_each_file(inputs_of(request.files), request.output,
                                                [&](const std::string &file, OutputFile &output) { return conv(file, output); });
        return conv.summary(status);
    } catch (const Converter::Broken &) {
        return cannot_open(Opened::DAMAGED, request, messages);
    }
}

} // namespace qbgl
