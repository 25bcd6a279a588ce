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

#include <algorithm>
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
          converter_(conversion, options()), newlines_(request.newline, request.to), source_mark_(byte_order_mark(request.from)) {}

    ExitStatus operator()(Blocks &blocks, const std::string &file, OutputFile &output) {
        file_ = file;
        for (bool at_beginning = true; blocks.next();) {
            std::string_view text = blocks.text();
            if (at_beginning && request_.bom != Bom::KEEP) {
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

    const Converter &converter() const { return converter_; }

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
    std::string source_mark_, file_;
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

// A name that leaves the order of the bytes to a signature. Without one a text has the low byte first, as the platform's iconv has
// it.
struct SignedForm {
    std::string_view folded;
    const char *low_first, *high_first;
};
constexpr SignedForm SIGNED_FORMS[] = {{"utf16", "utf-16le", "utf-16be"}, {"utf32", "ucs4", "utf-32be"}};

const SignedForm *signed_form(const std::string &name) {
    const auto *const form = std::find_if(std::begin(SIGNED_FORMS), std::end(SIGNED_FORMS),
                                          [folded = folded_name(name)](const SignedForm &one) { return one.folded == folded; });
    return form != std::end(SIGNED_FORMS) ? form : nullptr;
}

// The conversions of one run: two where the source may have either byte order, each opened when a file needs it.
class Conversions {
  public:
    Conversions(ConvRequest request, const Messages &messages)
        : request_(std::move(request)), messages_(messages), source_(signed_form(request_.from)),
          target_(signed_form(request_.to)) {
        if (source_ != nullptr) request_.from = source_->low_first;
        if (target_ != nullptr) request_.to = target_->low_first;
        if (request_.bom == Bom::BY_CODESETS && target_ != nullptr) request_.bom = Bom::ADD;
        if (request_.bom == Bom::BY_CODESETS) request_.bom = source_ != nullptr ? Bom::REMOVE : Bom::KEEP;
        open(0);
        if (request_.bom != Bom::ADD) return;
        target_mark_ = byte_order_mark(request_.to);
        if (target_mark_.empty())
            throw Failure{ExitStatus::CALL, fmt::format("{} has no byte order mark that could be added", printable(request_.to))};
    }

    ExitStatus run() {
        const ExitStatus status =
            for_each_file(inputs_of(request_.files), request_.output,
                          [this](const std::string &file, OutputFile &output) { return convert(file, output); });
        return summary(status);
    }

  private:
    struct Side {
        ConvRequest request;
        std::unique_ptr<Conversion> conversion;
        std::optional<Conv> conv;
    };

    Conv &open(size_t high_first) {
        if (sides_[high_first]) return *sides_[high_first]->conv;
        auto side = std::make_unique<Side>(Side{request_, nullptr, std::nullopt});
        ConvRequest &request = side->request;
        if (high_first != 0) request.from = source_->high_first;
        const uint16_t from = codeset_number(request.from), to = codeset_number(request.to);
        const Opened opened = from == to ? Conversion::open_copy(request.from, side->conversion)
                                         : Conversion::open(request.from, request.to, side->conversion);
        if (opened != Opened::CONVERSION) throw cannot_open(opened, request, from, to);
        side->conv.emplace(request, messages_, *side->conversion);
        sides_[high_first] = std::move(side);
        return *sides_[high_first]->conv;
    }

    ExitStatus convert(const std::string &file, OutputFile &output) {
        Blocks blocks(file, messages_, output);
        size_t high_first = 0;
        if (source_ != nullptr) {
            const std::string mark = byte_order_mark(source_->high_first);
            high_first = blocks.peek(mark.size()) == mark ? 1 : 0;
        }
        output.write(std::exchange(target_mark_, ""));
        Conv &conv = open(high_first);
        try {
            return conv(blocks, file, output);
        } catch (const Converter::Broken &) {
            const ConvRequest &request = sides_[high_first]->request;
            throw cannot_open(Opened::DAMAGED, request, codeset_number(request.from), codeset_number(request.to));
        }
    }

    ExitStatus summary(ExitStatus status) const {
        uint64_t substituted = 0, left_out = 0, replaced = 0;
        for (const std::unique_ptr<Side> &side : sides_) {
            if (!side) continue;
            substituted += side->conv->converter().substituted();
            left_out += side->conv->converter().left_out();
            replaced += side->conv->converter().replaced();
        }
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

    ConvRequest request_;
    const Messages &messages_;
    const SignedForm *source_, *target_;
    std::string target_mark_;
    std::unique_ptr<Side> sides_[2]; // by whether the high byte comes first
};

} // namespace

ExitStatus run_conv(const ConvRequest &request, const Messages &messages) {
    if (read_registry().names.empty()) throw no_tree();
    return Conversions(request, messages).run();
}

} // namespace qbgl
