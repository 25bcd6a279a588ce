#include "charmap/iconv_source.h"

#include "system/error.h"
#include "system/process.h"

#include <fmt/format.h>

#include <bitset>
#include <map>
#include <optional>
#include <set>

namespace qbgl::compiler {

namespace {

constexpr const char *UTF32 = "UTF-32LE";
constexpr char SHIFT_OUT = 0x0E, SHIFT_IN = 0x0F;
constexpr char32_t LAST_CODE = 0x2FFFF;
constexpr char32_t REPLACEMENT = 0xFFFD; // stands for "no character" in some tables

void append_code(std::string &text, char32_t code) {
    for (int shift = 0; shift < 32; shift += 8) text += static_cast<char>(code >> shift);
}

std::u32string codes_of(std::string_view utf32) {
    std::u32string result;
    for (size_t i = 0; i + 4 <= utf32.size(); i += 4) {
        char32_t code = 0;
        for (size_t k = 4; k-- > 0;) code = code << 8 | static_cast<uint8_t>(utf32[i + k]);
        result += code;
    }
    return result;
}

// Both directions ask in lines: the letter A, the item, an end of line. iconv -c leaves out what it cannot convert, so that a line
// without an item says no.
class Inquiry {
  public:
    explicit Inquiry(std::string name) : name_(std::move(name)) {
        const std::string probe = convert(UTF32, name_, std::string("A\0\0\0\n\0\0\0", 8), true);
        if (probe.size() != 2) fail("the letter A and the line feed are not one byte each");
        letter_ = probe[0];
        line_end_ = probe[1];
        std::string ideographic_space;
        append_code(ideographic_space, 0x3000);
        stateful_ = convert(UTF32, name_, ideographic_space, false).starts_with(SHIFT_OUT);
    }

    Codeset run() {
        Codeset codeset(name_, Codeset::Form::BYTES, stateful_);
        const std::vector<Character> written = ask_written();
        ask_read(written);
        for (const Character &character : read_) codeset.add_read(character.code, character.bytes, character.shifted);
        // A character that iconv writes as a base and a mark is none of the codeset's own.
        std::set<std::pair<bool, Sequence>> known;
        for (const Character &character : read_) known.emplace(character.shifted, character.bytes);
        for (const Character &character : written)
            if (known.contains({character.shifted, character.bytes}))
                codeset.add_written(character.code, character.bytes, character.shifted);
        codeset.finish();
        verify(codeset);
        return codeset;
    }

    // How every code is written.
    std::vector<Character> ask_written() const;

  private:
    [[noreturn]] void fail(std::string_view what) const { throw DataError(fmt::format("iconv {}: {}", name_, what)); }

    std::string convert(const std::string &from, const std::string &to, std::string_view text, bool strict) const {
        std::vector<std::string> arguments{"iconv", "-f", from, "-t", to};
        if (!strict) arguments.emplace_back("-c");
        ProcessResult result = run_process(arguments, text);
        // With -c, versions differ in whether a left-out character makes the status 1; messages appear for real failures only.
        if (result.status > (strict ? 0 : 1) || !result.errors.empty())
            fail(fmt::format("status {}: {}", result.status, result.errors.substr(0, result.errors.find('\n'))));
        return std::move(result.output);
    }

    // What the sequences stand for, in the state asked; nothing for one that is no single character.
    std::vector<std::optional<char32_t>> ask_sequences(const std::vector<Sequence> &sequences, bool shifted) const {
        std::string question;
        for (const Sequence &sequence : sequences) {
            question += letter_;
            if (shifted) question += SHIFT_OUT;
            question += sequence.text();
            if (shifted) question += SHIFT_IN;
            question.append(4, line_end_); // a broken sequence may swallow some of them
        }
        const std::u32string answer = codes_of(convert(name_, UTF32, question, false));
        std::vector<std::optional<char32_t>> result;
        size_t at = 0;
        for (const Sequence &sequence : sequences) {
            const size_t end = answer.find(U'\n', at);
            if (end == std::u32string::npos || answer[at] != U'A') fail(fmt::format("unclear answer at {}", sequence.hex()));
            const bool single = end == at + 2 && answer[at + 1] != REPLACEMENT;
            result.push_back(single ? std::optional(answer[at + 1]) : std::nullopt);
            at = std::min(answer.find_first_not_of(U'\n', end), answer.size());
        }
        if (at != answer.size()) fail("answer too long");
        return result;
    }

    // Where iconv skipped bytes of an invalid sequence, the answer is that of a part.
    bool is_answer_of_part(char32_t code, const Sequence &sequence, bool shifted) const {
        const std::string text = sequence.text();
        for (size_t skip = 1; skip < text.size(); ++skip)
            for (size_t length = 1; skip + length <= text.size(); ++length) {
                const auto part = known_.find({shifted, Sequence(text.substr(skip, length))});
                if (part != known_.end() && part->second == code) return true;
            }
        return false;
    }

    void ask_round(const std::vector<Sequence> &sequences, bool shifted) {
        const auto answers = ask_sequences(sequences, shifted);
        std::vector<Character> found;
        for (size_t i = 0; i < sequences.size(); ++i)
            if (answers[i] && !is_answer_of_part(*answers[i], sequences[i], shifted))
                found.push_back({*answers[i], sequences[i], shifted});
        for (const Character &character : found) {
            if (!shifted) leads_.set(character.bytes.bytes[0]);
            known_.emplace(std::pair(shifted, character.bytes), character.code);
            read_.push_back(character);
        }
    }

    void ask_read(const std::vector<Character> &written) {
        std::vector<Sequence> sequences;
        const unsigned end_byte = static_cast<uint8_t>(line_end_);
        const auto is_shift = [&](unsigned byte) {
            return stateful_ && (byte == static_cast<uint8_t>(SHIFT_OUT) || byte == static_cast<uint8_t>(SHIFT_IN));
        };
        for (unsigned byte = 0; byte < 256; ++byte)
            if (byte != end_byte && !is_shift(byte)) sequences.push_back(Sequence::big_endian(byte, 1));
        ask_round(sequences, false);
        read_.push_back({'\n', Sequence::big_endian(end_byte, 1)});
        leads_.set(end_byte);

        sequences.clear();
        // The end of line does not stand within a character: it would not be one byte then.
        const auto ends_line = [&](unsigned pair) { return (pair & 0xFF) == end_byte || pair >> 8 == end_byte; };
        for (unsigned pair = 0; pair < 0x10000; ++pair)
            if (!is_shift(pair >> 8) && !ends_line(pair) && (stateful_ || !leads_[pair >> 8]))
                sequences.push_back(Sequence::big_endian(pair, 2));
        ask_round(sequences, stateful_);
        if (stateful_) return;

        std::bitset<256> three;
        for (const Character &character : written) {
            if (character.bytes.length == 3 && !leads_[character.bytes.bytes[0]]) three.set(character.bytes.bytes[0]);
            if (character.bytes.length == 4 && !leads_[character.bytes.bytes[0]]) fail("characters of four bytes");
        }
        for (unsigned lead = 0; lead < 256; ++lead) {
            if (!three[lead]) continue;
            sequences.clear();
            for (unsigned pair = 0; pair < 0x10000; ++pair)
                if (!ends_line(pair)) sequences.push_back(Sequence::big_endian(lead << 16 | pair, 3));
            ask_round(sequences, false);
        }
    }

    // All characters in a row, without -c: iconv must accept every one of them and read it the same way.
    void verify(const Codeset &codeset) const {
        std::string question;
        std::u32string expected;
        for (const Character &character : codeset.read()) {
            if (character.shifted) question += SHIFT_OUT;
            question += character.bytes.text();
            if (character.shifted) question += SHIFT_IN;
            expected += character.code;
        }
        if (codes_of(convert(name_, UTF32, question, true)) != expected) fail("a character reads differently among others");
    }

    std::string name_;
    char letter_ = 0, line_end_ = 0;
    bool stateful_ = false;
    std::map<std::pair<bool, Sequence>, char32_t> known_;
    std::bitset<256> leads_; // first bytes of known characters of the initial state
    std::vector<Character> read_;
};

std::vector<Character> Inquiry::ask_written() const {
    std::string question;
    const auto asked = [](char32_t code) { return is_scalar_value(code) && code != '\n'; };
    for (char32_t code = 0; code <= LAST_CODE; ++code) {
        if (!asked(code)) continue;
        append_code(question, 'A');
        append_code(question, code);
        append_code(question, '\n');
    }
    const std::string answer = convert(UTF32, name_, question, false);
    std::vector<Character> result{{'\n', Sequence(std::string_view(&line_end_, 1))}};
    size_t at = 0;
    for (char32_t code = 0; code <= LAST_CODE; ++code) {
        if (!asked(code)) continue;
        const size_t end = answer.find(line_end_, at);
        if (end == std::string::npos || answer[at] != letter_) fail(fmt::format("unclear answer at U+{:04X}", unsigned{code}));
        std::string_view item = std::string_view(answer).substr(at + 1, end - at - 1);
        at = end + 1;
        const bool shifted = stateful_ && item.size() == 4 && item.front() == SHIFT_OUT && item.back() == SHIFT_IN;
        if (shifted) item = item.substr(1, 2);
        if (!item.empty() && item.size() <= Sequence::MAX) result.push_back({code, Sequence(item), shifted});
    }
    if (at != answer.size()) fail("answer too long");
    return result;
}

} // namespace

CodesetPtr codeset_from_iconv(const std::string &iconv_name, IconvPart part, const std::string &name) {
    const Codeset whole = Inquiry(iconv_name).run();
    if (part != IconvPart::ALL && !whole.stateful()) throw DataError(fmt::format("iconv {}: has no shift states", iconv_name));
    auto codeset = std::make_shared<Codeset>(name, Codeset::Form::BYTES, whole.stateful() && part == IconvPart::ALL);
    const auto wanted = [&](const Character &character) {
        return part == IconvPart::ALL || character.shifted == (part == IconvPart::DOUBLE);
    };
    const auto state = [&](const Character &character) { return part == IconvPart::ALL && character.shifted; };
    for (const Character &character : whole.read())
        if (wanted(character)) codeset->add_read(character.code, character.bytes, state(character));
    for (const Character &character : whole.written())
        if (wanted(character)) codeset->add_written(character.code, character.bytes, state(character));
    codeset->finish();
    return codeset;
}

void add_composed_from_iconv(const std::string &iconv_name, Codeset &codeset) {
    for (const Character &character : Inquiry(iconv_name).ask_written()) {
        const auto is_character = [&](char byte) { return codeset.find(Sequence(std::string_view(&byte, 1))) != nullptr; };
        const std::string text = character.bytes.text();
        if (text.size() > 1 && std::all_of(text.begin(), text.end(), is_character))
            codeset.add_written(character.code, character.bytes);
    }
    codeset.finish();
}

std::string iconv_version() {
    const ProcessResult result = run_process({"iconv", "--version"});
    return result.output.substr(0, result.output.find('\n'));
}

} // namespace qbgl::compiler
