#include "commands/conv.h"

#include "frame/blocks.h"
#include "frame/finding.h"
#include "text/converter.h"
#include "text/encoded.h"
#include "text/hexadecimal.h"
#include "text/replacements.h"
#include "tree/codesets.h"
#include "tree/directories.h"
#include "tree/registry.h"

#include <fmt/format.h>
#include <utility>

namespace qbgl {

namespace {

// The byte order mark in a codeset, empty where it has none.
std::string byte_order_mark(const std::string &codeset) {
    try {
        return encoded("\uFEFF", codeset);
    } catch (const Failure &) {
        return "";
    }
}

// One run of the command over an open conversion.
class Conv {
  public:
    Conv(const ConvRequest &request, const Messages &messages, Conversion &conversion)
        : request_(request), messages_(messages),
          replacements_(request.from, conversion.source().stateful_source(), request.to, request.substitutions, request.missing),
          converter_(conversion, options()), newlines_(request.newline, request.to), source_mark_(byte_order_mark(request.from)) {
        if (request.bom != Bom::ADD) return;
        target_mark_ = byte_order_mark(request.to);
        if (target_mark_.empty())
            throw Failure{ExitStatus::CALL, fmt::format("{} has no byte order mark that could be added", printable(request.to))};
    }

    ExitStatus operator()(const std::string &file, OutputFile &output) {
        Blocks blocks(file, messages_, output);
        file_ = file;
        output.write(std::exchange(target_mark_, ""));
        for (bool at_beginning = true; blocks.next();) {
            std::string_view text = blocks.text();
            if (at_beginning && request_.bom != Bom::AS_IT_IS) {
                if (text.size() < source_mark_.size() && !blocks.at_end()) {
                    blocks.keep(text);
                    continue;
                }
                take_mark(text);
            }
            at_beginning = false;
            const std::optional<Incident> stopped = converter_.convert(text, blocks.at_end(), converted_);
            output.write(newlines_.filter(converted_.text()));
            if (blocks.at_end() || stopped) output.write(newlines_.end());
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
        const uint64_t substituted = converter_.substituted(), left_out = converter_.left_out(), replaced = converter_.replaced();
        const char *similar = request_.report ? "" : " by similar characters (--report names them, --strict refuses them)";
        std::vector<std::string> parts;
        if (substituted > 0 || request_.report) parts.push_back(fmt::format("{} substituted{}", substituted, similar));
        if (left_out > 0 || request_.report) parts.push_back(fmt::format("{} left out", left_out));
        if (replaced > 0) parts.push_back(fmt::format("{} replaced", replaced));
        if (parts.empty()) return status;
        messages_.say("summary", fmt::format("{}", fmt::join(parts, ", ")),
                      JsonObject().number("substituted", substituted).number("left_out", left_out).number("replaced", replaced));
        return status == ExitStatus::OK && left_out > 0 ? ExitStatus::DATA : status;
    }

  private:
    ConverterOptions options() {
        ConverterOptions result{request_.leave_out, request_.strict};
        if (request_.report) result.observer = [this](const Incident &incident) { report(incident); };
        if (replacements_.empty()) return result;
        result.replacement = [this](std::string_view character, Fault fault) {
            return replacements_.of(character, fault == Fault::SUBSTITUTED && !request_.strict);
        };
        return result;
    }

    void take_mark(std::string_view &text) {
        if (source_mark_.empty() || !text.starts_with(source_mark_)) return;
        text.remove_prefix(source_mark_.size());
        converter_.skip(source_mark_.size());
    }

    void report(const Incident &incident) const {
        Finding found = finding(incident);
        const bool substituted = incident.fault == Fault::SUBSTITUTED && !request_.strict;
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
            if (incident.place.offset == 0 && incident.bytes == source_mark_) {
                result.reason = fmt::format("{} has no byte order mark", request_.to);
                result.remedy = "--bom remove takes it away";
            }
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
            if (request_.strict) {
                result.reason = fmt::format("{} has an approximation only, {}", request_.to, hexadecimal(incident.result, " "));
                result.remedy = "without --strict it is taken, --substitute gives another";
            }
            result.more.text("result", hexadecimal(incident.result));
        }
        result.more.text("from", request_.from).text("to", request_.to);
        return result;
    }

    const ConvRequest &request_;
    const Messages &messages_;
    Replacements replacements_;
    Converter converter_;
    NewlineFilter newlines_;
    std::string source_mark_, target_mark_, file_;
    OutputBuffer converted_;
};

// What makes the object of a conversion, where the library looks for it.
std::string remedy(const ConvRequest &request, uint16_t from, uint16_t to) {
    const ConversionNumbers conversions = installed_conversions();
    for (const auto &[name, number] : {std::pair(request.from, from), std::pair(request.to, to)}) {
        if (!conversions.empty() && !is_convertible(number, conversions))
            return fmt::format("nothing is known of the characters of {}; `qbgl conv -l` marks such codesets", printable(name));
    }
    const Registry registry = read_registry();
    return fmt::format("`qbglc conv {} {} -o {}/{:04x}{:04x}.cvo` makes it", registry.name_of(from), registry.name_of(to),
                       printable(conversion_directories().front()), from, to);
}

Failure cannot_open(Opened opened, const ConvRequest &request, uint16_t from, uint16_t to) {
    const std::string pair = fmt::format("from {} to {}", printable(request.from), printable(request.to));
    const std::string tree = printable(tree_directory());
    std::string sentence;
    if (opened == Opened::NO_MEMORY)
        sentence = fmt::format("out of memory while loading the conversion {}", pair);
    else if (opened == Opened::DAMAGED)
        sentence =
            fmt::format("the conversion {} in {} is damaged or of another version: {} anew", pair, tree, remedy(request, from, to));
    else
        sentence = fmt::format("{} has no conversion {}: {}", tree, pair, remedy(request, from, to));
    return {ExitStatus::SYSTEM, sentence, JsonObject().text("from", request.from).text("to", request.to)};
}

} // namespace

ExitStatus run_conv(const ConvRequest &request, const Messages &messages) {
    if (read_registry().names.empty()) throw no_tree();
    const uint16_t from = codeset_number(request.from), to = codeset_number(request.to);
    std::unique_ptr<Conversion> conversion;
    const Opened opened =
        from == to ? Conversion::open_copy(request.from, conversion) : Conversion::open(request.from, request.to, conversion);
    if (opened != Opened::CONVERSION) throw cannot_open(opened, request, from, to);
    try {
        Conv conv(request, messages, *conversion);
        const ExitStatus status = for_each_file(inputs_of(request.files), request.output,
                                                [&](const std::string &file, OutputFile &output) { return conv(file, output); });
        return conv.summary(status);
    } catch (const Converter::Broken &) {
        throw cannot_open(Opened::DAMAGED, request, from, to);
    }
}

} // namespace qbgl
