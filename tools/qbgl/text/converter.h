// The streaming core of `qbgl conv`: text comes in pieces of any size, cut anywhere; converted text comes out. No files, no
// messages.
#pragma once

#include "text/character_memo.h"
#include "text/position.h"

#include <array>
#include <functional>

namespace qbgl {

enum class Fault {
    UNMAPPED,   // a character that the target codeset lacks
    INVALID,    // bytes that are no character of the source codeset
    INCOMPLETE, // the text ends inside a character
    SUBSTITUTED // the target has an approximation only
};

struct Incident {
    Fault fault;
    Place place;
    std::string bytes;  // of the source
    std::string result; // what a substitution gave, with the shift sequence that led to it
};

struct ConverterOptions {
    bool leave_out = false; // skip what cannot be converted
    bool strict = false;    // an approximation is no conversion
    // Told of what is skipped, and of each substitution.
    std::function<void(const Incident &)> observer = {};
    // What to write instead of a character that the target lacks or has an approximation of only: text of the target that begins
    // and ends in its initial state; empty: nothing takes its place.
    std::function<std::string(std::string_view character, Fault fault)> replacement = {};
};

// Which characters of a source the target has an approximation of only: each is tried once.
class Approximations {
  public:
    explicit Approximations(const Conversion &conversion) : conversion_(conversion) {}

    // How many are in a text that can be converted.
    uint64_t count(Shift shift, std::string_view text);

  private:
    const Conversion &conversion_;
    std::array<std::optional<CharacterMemo>, 2> memos_; // by source shift state; marked are approximations
    OutputBuffer scratch_;
};

// Takes out of a text what cannot be converted. An engine that stops at each such place takes longer than to look for them.
class Sieve {
  public:
    explicit Sieve(const Stage &source) : memo_(source, {}) {}

    // Passes some of a text, and nothing only where all that is left may be a character that is cut. Returns the characters that
    // can be converted, as far as is known.
    std::string_view sift(std::string_view &text, uint64_t &left_out);
    // The target lacks the character at the text's beginning.
    void leave_out(std::string_view text) { memo_.mark(text); }

  private:
    // What is looked at once: little where text that cannot be converted is rare.
    static constexpr size_t LEAST = 32, MOST = 4096, LONGEST_CHARACTER = 4;

    CharacterMemo memo_; // marked are those to leave out
    size_t piece_ = LEAST;
    std::array<char, MOST + 2 * LONGEST_CHARACTER> kept_;
};

class Converter {
  public:
    Converter(Conversion &conversion, ConverterOptions options)
        : conversion_(conversion), options_(std::move(options)), position_(conversion), approximations_(conversion) {}

    // Converts what can be and appends it to `output`; takes it from the front of `text`. What remains of `text` begins a character
    // whose end is still to come: hand it in again, with more behind it. With `at_end` nothing remains, and the text is closed.
    // Returns the incident that stops the conversion, when there is one.
    std::optional<Incident> convert(std::string_view &text, bool at_end, OutputBuffer &output);
    // Passes bytes at the text's beginning, which are not to be converted.
    void skip(size_t bytes) { position_.skip(bytes); }

    // Of all texts so far.
    uint64_t left_out() const { return left_out_; }
    uint64_t substituted() const { return substituted_; }
    uint64_t replaced() const { return replaced_; }

    // Thrown when the descriptor fails in a way that text cannot cause.
    struct Broken {};

  private:
    // Who leaves out without being told where needs no places.
    bool wants_places() const { return !options_.leave_out || options_.observer; }
    bool walks_substitutions() const { return options_.strict || options_.observer || options_.replacement; }
    std::optional<Incident> walk(std::string_view text, OutputBuffer &output);
    std::optional<Incident> resolve(Incident incident, std::string_view &text, OutputBuffer &output);
    bool replace(const Incident &incident, OutputBuffer &output);
    bool skip_quickly(Outcome outcome, std::string_view &text, OutputBuffer &output);
    void sift(std::string_view &text, OutputBuffer &output);
    Incident incident_at(std::string_view text);
    size_t skip_length(const Incident &incident, std::string_view text) const;

    Conversion &conversion_;
    ConverterOptions options_;
    Shift shift_;
    Position position_;
    Approximations approximations_;
    std::optional<Sieve> sieve_; // once it is needed
    OutputBuffer scratch_;
    uint64_t left_out_ = 0, substituted_ = 0, replaced_ = 0;
};

} // namespace qbgl
