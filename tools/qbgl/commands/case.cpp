#include "commands/case.h"

#include "text/characters.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr size_t LONGEST_CHARACTER = 4;

class CaseChange {
  public:
    CaseChange(const CaseRequest &request, const Messages &messages, gl_locale &locale)
        : messages_(messages), locale_(locale), leave_out_(request.leave_out),
          map_text_(request.letter_case == LetterCase::UPPER ? gl_tombsupper : gl_tombslower),
          map_(request.letter_case == LetterCase::UPPER ? _gl_im_tomupper : _gl_im_tomlower) {}

    ExitStatus operator()(const std::string &file, OutputFile &output) {
        CharacterReader reader(file, locale_, messages_, output);
        Character character{};
        while (reader.read()) {
            changed_.clear();
            change_lines(reader);
            while (reader.next(character)) {
                if (character.sort == Sort::CHARACTER) {
                    append(character.bytes);
                } else if (leave_out_) {
                    ++left_out_;
                } else {
                    output.write(changed_);
                    reader.progress().clear();
                    Finding finding = reader.finding(character);
                    finding.remedy += " -c leaves such bytes out";
                    return messages_.fail(finding.failure());
                }
            }
            output.write(changed_);
        }
        return ExitStatus::OK;
    }

    ExitStatus summary(ExitStatus status) const {
        if (left_out_ == 0) return status;
        messages_.say("summary", fmt::format("{} left out", left_out_), JsonObject().number("left_out", left_out_));
        return status == ExitStatus::OK ? ExitStatus::DATA : status;
    }

  private:
    // Changes whole lines (of a single-byte codeset, everything) by one call, many times faster than character by character. Should
    // a line feed be part of a longer character: the call succeeds only when its text consists of whole ones. What it cannot do is
    // left to the walk by characters.
    void change_lines(CharacterReader &reader) {
        if (_gl_multi_min_length(locale_.ctype.codeset_table) != 1) return;
        lines_ = reader.rest();
        if (locale_.single_byte == 0) lines_.resize(lines_.rfind('\n') + 1);
        if (lines_.empty() || lines_.find('\0') != std::string::npos) return;
        changed_.resize(lines_.size() * LONGEST_CHARACTER + LONGEST_CHARACTER);
        const int size = map_text_(&locale_, changed_.data(), lines_.c_str());
        changed_.resize(static_cast<size_t>(std::max(size, 0)));
        if (size >= 0) reader.pass(lines_.size());
    }

    // A character that the case table does not know, or not as a whole, has no case.
    void append(std::string_view character) {
        char other[8];
        const unsigned sizes = map_(&locale_, other, character.data());
        if (sizes >> 8 == character.size())
            changed_.append(other, sizes & 0xFF);
        else
            changed_ += character;
    }

    const Messages &messages_;
    gl_locale &locale_;
    bool leave_out_;
    uint64_t left_out_ = 0;
    int (*map_text_)(gl_locale *, char *, const char *);
    uint16_t (*map_)(gl_locale *, char *, const char *);
    std::string lines_, changed_;
};

} // namespace

ExitStatus run_case(const CaseRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    CaseChange change(request, messages, *locale);
    return change.summary(for_each_file(inputs_of(request.files), request.output,
                                        [&](const std::string &file, OutputFile &output) { return change(file, output); }));
}

} // namespace qbgl
