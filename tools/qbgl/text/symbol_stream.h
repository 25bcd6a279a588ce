// The streaming core of `qbgl symbols`: text comes in pieces, cut anywhere; symbols come out, or the other way round. No files, no
// messages.
#pragma once

#include "text/position.h"

#include "qbgl.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

struct SymbolIncident {
    enum Kind {
        INVALID,    // bytes that are no character of the charmap
        INCOMPLETE, // the text ends inside a character or a symbol
        UNKNOWN,    // a symbol whose name has no character
        MALFORMED   // what should be a symbol does not begin with "<", or goes on longer than any name
    } kind;
    Place place;
    std::string bytes;
};

class SymbolStream {
  public:
    explicit SymbolStream(gl_charmap &charmap) : charmap_(charmap) {}
    SymbolStream(const SymbolStream &) = delete;
    SymbolStream &operator=(const SymbolStream &) = delete;
    virtual ~SymbolStream() = default;

    // Converts what can be and appends it to `output`; takes it from the front of `text`. What remains awaits its end: hand it in
    // again, with more behind it. With `at_end` nothing remains. Returns the incident that stops the conversion, when there is one.
    virtual std::optional<SymbolIncident> convert(std::string_view &text, bool at_end, std::string &output) = 0;

  protected:
    void pass(std::string_view &text, size_t bytes, bool ends_line);

    gl_charmap &charmap_;
    Place place_;
};

// A line end of the text also ends the line of symbols.
class TextToSymbols : public SymbolStream {
  public:
    // `all`: every name of each character, a character a line.
    TextToSymbols(gl_charmap &charmap, bool all);
    std::optional<SymbolIncident> convert(std::string_view &text, bool at_end, std::string &output) override;

  private:
    void append(std::string_view character, std::string &output);
    void append_all(std::string_view character, std::string &output);

    bool all_;
    std::vector<std::string> newlines_;
    std::vector<char> slots_;
};

// White space between symbols is passed over.
class SymbolsToText : public SymbolStream {
  public:
    using SymbolStream::SymbolStream;
    std::optional<SymbolIncident> convert(std::string_view &text, bool at_end, std::string &output) override;

  private:
    std::string symbol_;
};

} // namespace qbgl
