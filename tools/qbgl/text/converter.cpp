#include "text/converter.h"

#include <algorithm>

namespace qbgl {

std::optional<Incident> Converter::convert(std::string_view &text, bool at_end, OutputBuffer &output) {
    std::optional<Incident> stopped;
    while (!text.empty()) {
        const Shift before = shift_;
        const std::string_view start = text;
        bool substituted = false;
        const Outcome outcome = conversion_.run(shift_, text, output, substituted);
        pass(before, start.substr(0, start.size() - text.size()), substituted);
        if (outcome == Outcome::BROKEN) throw Broken{};
        if (outcome == Outcome::DONE) continue;

        const bool may_continue = text.size() < static_cast<size_t>(conversion_.source().longest_character());
        if (outcome == Outcome::UNREADABLE && may_continue && !at_end) return std::nullopt;
        Incident incident = incident_at(text);
        if (!options_.leave_out) {
            stopped = std::move(incident);
            break;
        }
        const size_t skipped = skip_length(incident, text);
        incident.bytes.resize(skipped);
        if (options_.observer) options_.observer(incident);
        ++left_out_;
        position_.advance_one(skipped);
        text.remove_prefix(skipped);
    }
    if (at_end || stopped) {
        conversion_.close(shift_, output);
        position_ = Position(conversion_);
    }
    return stopped;
}

// Moves the position over converted text; text with substitutions is gone through again to find them.
void Converter::pass(const Shift &before, std::string_view text, bool substituted) {
    if (!substituted || !options_.report_substitutions) {
        position_.advance(before.first, text);
        return;
    }
    Shift shift = before;
    while (!text.empty()) {
        const Shift here = shift;
        scratch_.clear();
        const Step one = conversion_.step(shift, text, scratch_);
        const size_t length = std::max<size_t>(one.length, 1);
        if (one.substituted) {
            ++substituted_;
            if (options_.observer) {
                options_.observer(
                    {Fault::SUBSTITUTED, position_.place(), std::string(text.substr(0, length)), std::string(scratch_.text())});
            }
        }
        position_.advance(here.first, text.substr(0, length));
        text.remove_prefix(length);
    }
}

Incident Converter::incident_at(std::string_view text) {
    Shift shift = shift_;
    scratch_.clear();
    const Step one = conversion_.step(shift, text, scratch_);
    if (one.outcome != Outcome::UNREADABLE)
        return {Fault::UNMAPPED, position_.place(), std::string(text.substr(0, one.length)), {}};
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
