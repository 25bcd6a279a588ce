#include "text/converter.h"

#include <algorithm>
#include <cstring>

namespace qbgl {

uint64_t Approximations::count(Shift shift, std::string_view text) {
    const Stage &source = conversion_.source();
    const bool stateful = source.stateful_source();
    uint64_t result = 0;
    while (!text.empty()) {
        if (stateful && source.is_shift(shift.first, text[0])) {
            shift.first.source_shift = shift.first.source_shift == 0 ? 1 : 0;
            text.remove_prefix(1);
            continue;
        }
        std::optional<CharacterMemo> &memo = memos_[shift.first.source_shift != 0 ? 1 : 0];
        if (!memo) memo.emplace(source, shift.first);
        text.remove_prefix(memo->unmarked_bytes(text));
        if (text.empty() || (stateful && source.is_shift(shift.first, text[0]))) continue;
        const uint8_t fact = memo->at(text, [&](std::string_view character) {
            Shift state = shift;
            scratch_.clear();
            return conversion_.step(state, character, scratch_).substituted;
        });
        result += (fact & CharacterMemo::MARKED) != 0 ? 1 : 0;
        text.remove_prefix(fact & CharacterMemo::LENGTH);
    }
    return result;
}

std::string_view Sieve::sift(std::string_view &text, uint64_t &left_out) {
    char *out = kept_.data();
    size_t bad = 0;
    const size_t behind = std::max(text.size() - std::min(piece_, text.size()), LONGEST_CHARACTER - 1); // what is not looked at
    std::string_view rest = text;
    while (rest.size() > behind) {
        const uint8_t fact = memo_.at(rest, [](std::string_view) { return false; });
        const size_t length = fact & CharacterMemo::LENGTH, marked = fact / CharacterMemo::MARKED;
        std::memcpy(out, rest.data(), LONGEST_CHARACTER);
        out += length * (1 - marked); // without a branch: in bad text it goes either way
        bad += marked;
        rest.remove_prefix(length);
    }
    text = rest;
    left_out += bad;
    constexpr size_t RARE = 32; // bytes for each that is left out
    piece_ = bad * RARE > piece_ ? std::min(2 * piece_, MOST) : LEAST;
    return {kept_.data(), static_cast<size_t>(out - kept_.data())};
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
            if (substituted) substituted_ += approximations_.count(before, taken);
            if (wants_places()) position_.advance(before.first, taken);
        }
        if (outcome == Outcome::DONE || skip_quickly(outcome, text, output)) continue;
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

// Where nobody asks what was left out: all but the last bytes of a text, which may be a character that is cut.
bool Converter::skip_quickly(Outcome outcome, std::string_view &text, OutputBuffer &output) {
    const Stage &source = conversion_.source();
    if (wants_places() || options_.replacement || text.size() < static_cast<size_t>(source.longest_character())) return false;
    if (source.plain_source() && !walks_substitutions()) {
        if (!sieve_) sieve_.emplace(source);
        if (outcome == Outcome::UNMAPPED) sieve_->leave_out(text);
        const size_t before = text.size();
        sift(text, output);
        if (text.size() < before) return true;
    }
    const size_t skipped = outcome == Outcome::UNMAPPED ? source.character_length(shift_.first, text) : source.granule();
    ++left_out_;
    text.remove_prefix(std::max<size_t>(skipped, 1));
    return true;
}

void Converter::sift(std::string_view &text, OutputBuffer &output) {
    for (std::string_view kept = sieve_->sift(text, left_out_); !kept.empty();) {
        const Shift before = shift_;
        const std::string_view start = kept;
        bool substituted = false;
        const Outcome outcome = conversion_.run(shift_, kept, output, substituted);
        if (outcome == Outcome::BROKEN) throw Broken{};
        if (substituted) substituted_ += approximations_.count(before, start.substr(0, start.size() - kept.size()));
        if (outcome == Outcome::DONE) continue;
        sieve_->leave_out(kept);
        ++left_out_;
        kept.remove_prefix(std::max<size_t>(conversion_.source().character_length(shift_.first, kept), 1));
    }
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
    return std::min(conversion_.source().granule(), text.size());
}

} // namespace qbgl
