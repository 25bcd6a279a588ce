#include "text/converter.h"

#include <algorithm>

namespace qbgl {

bool Approximations::contains(const Shift &shift, std::string_view text, size_t &length) {
    length = 1;
    std::optional<bool> &byte = bytes_[shift.first.source_shift != 0 ? 1 : 0][static_cast<uint8_t>(text[0])];
    if (byte) return *byte;
    length = std::max<size_t>(conversion_.source().character_length(shift.first, text), 1);
    const std::string_view character = text.substr(0, length);
    const auto is_one = [&] {
        Shift state = shift;
        scratch_.clear();
        return conversion_.step(state, character, scratch_).substituted;
    };
    uint32_t value = 0; // no two characters have the same, for none begins with a zero byte and another
    for (const char one : character) value = value << 8 | static_cast<uint8_t>(one);
    if (length <= 2) {
        std::optional<bool> &known = length == 1 ? byte : pairs_[value];
        if (!known) known = is_one();
        return *known;
    }
    const auto [known, is_new] = longer_.try_emplace(value, false);
    if (is_new) known->second = is_one();
    return known->second;
}

std::optional<Incident> Converter::convert(std::string_view &text, bool at_end, OutputBuffer &output) {
    std::optional<Incident> stopped;
    while (!text.empty() && !stopped) {
        const Shift before = shift_;
        const std::string_view start = text;
        const size_t output_before = output.size();
        bool substituted = false;
        const Outcome outcome = conversion_.run(shift_, text, output, substituted);
        if (outcome == Outcome::BROKEN) throw Broken{};
        const std::string_view taken = start.substr(0, start.size() - text.size());
        if (substituted && walks_substitutions()) {
            shift_ = before;
            output.truncate(output_before);
            stopped = walk(taken, output);
            if (stopped) break;
        } else {
            if (substituted) count_substitutions(before, taken);
            if (wants_places()) position_.advance(before.first, taken);
        }
        if (outcome == Outcome::DONE || skip_quickly(outcome, text)) continue;
        const bool may_continue = text.size() < static_cast<size_t>(conversion_.source().longest_character());
        if (outcome == Outcome::UNREADABLE && may_continue && !at_end) return std::nullopt;
        stopped = resolve(incident_at(text), text, output);
    }
    if (at_end || stopped) {
        conversion_.close(shift_, output);
        position_ = Position(conversion_);
    }
    return stopped;
}

// Goes through text that can be converted once more, character by character, for what is substituted in it.
std::optional<Incident> Converter::walk(std::string_view text, OutputBuffer &output) {
    while (!text.empty()) {
        const Shift here = shift_;
        const size_t output_before = output.size();
        const Step one = conversion_.step(shift_, text, output);
        const std::string_view character = text.substr(0, std::max<size_t>(one.length, 1));
        if (!one.substituted) {
            position_.advance(here.first, character);
            text.remove_prefix(character.size());
            continue;
        }
        Incident incident{Fault::SUBSTITUTED, position_.place(), std::string(character),
                          std::string(output.text().substr(output_before))};
        output.truncate(output_before);
        shift_ = here;
        if (std::optional<Incident> stopped = resolve(std::move(incident), text, output)) return stopped;
    }
    return std::nullopt;
}

// Passes the incident at the text's beginning, as the options have it; returns it when it stops the conversion.
std::optional<Incident> Converter::resolve(Incident incident, std::string_view &text, OutputBuffer &output) {
    size_t passed = incident.bytes.size();
    if (replace(incident, output)) {
        ++replaced_;
    } else if (incident.fault == Fault::SUBSTITUTED && !options_.strict) {
        conversion_.step(shift_, text, output);
        ++substituted_;
        if (options_.observer) options_.observer(incident);
    } else if (options_.leave_out) {
        passed = skip_length(incident, text);
        incident.bytes.resize(passed);
        ++left_out_;
        if (options_.observer) options_.observer(incident);
    } else {
        return incident;
    }
    position_.advance_one(passed);
    text.remove_prefix(passed);
    return std::nullopt;
}

bool Converter::replace(const Incident &incident, OutputBuffer &output) {
    if (!options_.replacement || incident.fault == Fault::INVALID || incident.fault == Fault::INCOMPLETE) return false;
    const std::string replacement = options_.replacement(incident.bytes, incident.fault);
    if (replacement.empty()) return false;
    const int32_t source_shift = shift_.first.source_shift;
    conversion_.close(shift_, output);
    shift_.first.source_shift = source_shift;
    output.append(replacement);
    return true;
}

void Converter::count_substitutions(Shift shift, std::string_view text) {
    const Stage &source = conversion_.source();
    for (size_t length = 0; !text.empty(); text.remove_prefix(length)) {
        if (source.is_shift(shift.first, text[0])) {
            shift.first.source_shift = shift.first.source_shift == 0 ? 1 : 0;
            length = 1;
        } else if (approximations_.contains(shift, text, length)) {
            ++substituted_;
        }
    }
}

// Where nobody asks what was left out: all but the last bytes of a text, which may be a character that is cut.
bool Converter::skip_quickly(Outcome outcome, std::string_view &text) {
    const Stage &source = conversion_.source();
    if (wants_places() || options_.replacement || text.size() < static_cast<size_t>(source.longest_character())) return false;
    const size_t skipped = outcome == Outcome::UNMAPPED ? source.character_length(shift_.first, text)
                                                        : static_cast<size_t>(std::max(source.unit(), 1));
    ++left_out_;
    text.remove_prefix(std::max<size_t>(skipped, 1));
    while (outcome == Outcome::UNREADABLE && !text.empty() && source.begins_nothing(shift_.first, text[0])) {
        ++left_out_;
        text.remove_prefix(1);
    }
    return true;
}

Incident Converter::incident_at(std::string_view text) {
    Shift shift = shift_;
    scratch_.clear();
    const Step one = conversion_.step(shift, text, scratch_);
    if (one.outcome != Outcome::UNREADABLE) {
        const std::string_view character = text.substr(0, one.length);
        const bool undefined = conversion_.is_undefined(character);
        return {undefined ? Fault::INVALID : Fault::UNMAPPED, position_.place(), std::string(character), {}};
    }
    const size_t length = conversion_.source().unreadable_length(shift_.first, text);
    if (length == 0) return {Fault::INCOMPLETE, position_.place(), std::string(text), {}};
    return {Fault::INVALID, position_.place(), std::string(text.substr(0, length)), {}};
}

// Of invalid bytes only the first is skipped (of units, the unit): the next one may begin a character.
size_t Converter::skip_length(const Incident &incident, std::string_view text) const {
    if (incident.fault != Fault::INVALID) return incident.bytes.size();
    return std::min<size_t>(std::max(conversion_.source().unit(), 1), text.size());
}

} // namespace qbgl
