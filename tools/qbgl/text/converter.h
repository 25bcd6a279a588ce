// The streaming core of `qbgl conv`: text comes in pieces of any size, cut anywhere; converted text comes out. No files, no
// messages.
#pragma once

#include "text/position.h"

#include <functional>

namespace qbgl {

enum class Fault {
    UNMAPPED,   // a character that the target codeset lacks
    INVALID,    // bytes that are no character of the source codeset
    INCOMPLETE, // the text ends inside a character
    SUBSTITUTED // an approximate mapping was used
};

struct Incident {
    Fault fault;
    Place place;
    std::string bytes;  // of the source
    std::string result; // what a substitution gave, with the shift sequence that led to it
};

struct ConverterOptions {
    bool leave_out = false; // skip what cannot be converted
    bool report_substitutions = false;
    std::function<void(const Incident &)> observer; // told of what is skipped and, where wanted, of substitutions
};

class Converter {
  public:
    Converter(Conversion &conversion, ConverterOptions options)
        : conversion_(conversion), options_(std::move(options)), position_(conversion) {}

    // Converts what can be and appends it to `output`; takes it from the front of `text`. What remains of `text` begins a character
    // whose end is still to come: hand it in again, with more behind it. With `at_end` nothing remains, and the text is closed.
    // Returns the incident that stops the conversion, when there is one.
    std::optional<Incident> convert(std::string_view &text, bool at_end, OutputBuffer &output);

    // Of all texts so far.
    uint64_t left_out() const { return left_out_; }
    uint64_t substituted() const { return substituted_; }

    // Thrown when the descriptor fails in a way that text cannot cause.
    struct Broken {};

  private:
    void pass(const Shift &before, std::string_view text, bool substituted);
    Incident incident_at(std::string_view text);
    size_t skip_length(const Incident &incident, std::string_view text) const;

    Conversion &conversion_;
    ConverterOptions options_;
    Shift shift_;
    Position position_;
    OutputBuffer scratch_;
    uint64_t left_out_ = 0, substituted_ = 0;
};

} // namespace qbgl
