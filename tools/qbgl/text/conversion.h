// A conversion between two codesets, opened from the installation tree.
#pragma once

#include "qbgl.h"

#include <bitset>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

// Converted bytes that wait to be written.
class OutputBuffer {
  public:
    std::string_view text() const { return {storage_.data(), used_}; }
    size_t size() const { return used_; }
    void clear() { used_ = 0; }
    void truncate(size_t size) { used_ = size; }
    void append(std::string_view bytes);

    char *end() { return storage_.data() + used_; }
    int room() const { return static_cast<int>(storage_.size() - used_ - SLACK); }
    void commit(size_t bytes) { used_ += bytes; }
    void grow() { storage_.resize(storage_.size() * 2); }

  private:
    // A conversion to 4-byte units writes 4 bytes where it found room for 2.
    static constexpr size_t SLACK = 2;
    std::vector<char> storage_ = std::vector<char>(4096);
    size_t used_ = 0;
};

enum class Outcome {
    DONE,
    UNMAPPED,   // the text is on a character that the target lacks
    UNREADABLE, // the text is on bytes that are no character, or that end inside one
    BROKEN      // the descriptor failed in a way that a sound one does not
};

// One open descriptor. Shift states are the caller's, so that a stretch of text can be walked again.
class Stage {
  public:
    // A source codeset of little-endian units has this many bytes a character, any other 0.
    int unit() const;
    int longest_character() const;
    // All characters begin at multiples of so many bytes.
    size_t granule() const;
    bool stateful_source() const { return cd_->source_stateful != 0; }
    // Whether the bytes at hand alone tell where characters end, by a table.
    bool plain_source() const {
        return !stateful_source() && granule() == 1 && (cd_->main_table != nullptr || cd_->source_form != 0);
    }

    // Opens by specifications; null with the error number when that fails.
    static std::optional<Stage> open(const char *source, const char *target, int &error);

    // Converts as far as it goes: takes from `text`, appends to `output`.
    Outcome run(gl_cv_state &state, std::string_view &text, OutputBuffer &output, bool &substituted) const;

    // The bytes of the character at a non-empty text's beginning, 0 when there is none.
    size_t character_length(const gl_cv_state &state, std::string_view text) const;

    // Whether a byte switches the source's shift state, and so is no character.
    bool is_shift(const gl_cv_state &state, char byte) const;

    // How many bytes at the text's beginning make plain that no character is there; 0 when the text merely ends too early.
    size_t unreadable_length(const gl_cv_state &state, std::string_view text) const;

    // What brings the target from this state to its initial one.
    std::string_view closing_sequence(const gl_cv_state &state) const;

  private:
    explicit Stage(gl_cv *cd);
    const gl_multi *table(const gl_cv_state &state) const;
    // Whether the text, as a whole, can be read in this state; the state moves on.
    bool reads(gl_cv_state &state, std::string_view text) const;
    bool may_go_on(const gl_cv_state &state, std::string_view text) const;

    std::unique_ptr<gl_cv, int (*)(gl_cv *)> cd_;
    std::bitset<256> shifts_[2]; // by source shift state: the bytes that switch it
};

struct Shift {
    gl_cv_state first{};
};

// One character of a conversion.
struct Step {
    Outcome outcome;
    size_t length; // bytes of the source character, 0 when there is none
    bool substituted;
};

enum class Opened { CONVERSION, SAME_CODESET, MISSING, DAMAGED, NO_MEMORY };

class Conversion {
  public:
    // `conversion` receives what was opened, when that is a conversion.
    static Opened open(const std::string &source, const std::string &target, std::unique_ptr<Conversion> &conversion);
    // From a codeset to itself: what is no character of it is found as in any other conversion, the rest stays as it is.
    static Opened open_copy(const std::string &codeset, std::unique_ptr<Conversion> &conversion);

    const Stage &source() const { return first_; }
    // What ends a line of the source: any of these bytes, or the one unit that they are.
    std::string_view newlines() const { return newlines_; }

    // Whether a byte that cannot be converted is no character of a single-byte source, whose table has all bytes: UTF-8 lacks it,
    // too.
    bool is_undefined(std::string_view character) const;

    // As Stage::run.
    Outcome run(Shift &shift, std::string_view &text, OutputBuffer &output, bool &substituted);
    // Converts the one character at the text's beginning; without success neither shift nor output change.
    Step step(Shift &shift, std::string_view text, OutputBuffer &output) const;
    // Ends a text: appends what returns the target to its initial state.
    void close(Shift &shift, OutputBuffer &output) const;

  private:
    Conversion(std::string source, Stage first, std::string_view newlines)
        : source_name_(std::move(source)), first_(std::move(first)), newlines_(newlines) {}
    Outcome run_copy(Shift &shift, std::string_view &text, OutputBuffer &output);

    std::string source_name_;
    mutable std::optional<std::bitset<256>> undefined_; // once it is asked for
    Stage first_;
    std::string_view newlines_;
    bool copies_ = false; // the first stage only tells what is a character
    mutable OutputBuffer middle_;
};

} // namespace qbgl
