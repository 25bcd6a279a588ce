#include "oracle/reference.h"

#include "system/process.h"

#include <fmt/format.h>

#include <stdexcept>

namespace qbgl_test {

using qbgl::compiler::CodesetSource;
using qbgl::compiler::run_process;

namespace {

constexpr char SHIFT_OUT = 0x0E, SHIFT_IN = 0x0F;
constexpr size_t LINE_ENDS = 4;

} // namespace

std::u32string codes_of(std::string_view utf32) {
    std::u32string codes(utf32.size() / 4, 0);
    for (size_t i = 0; i < codes.size() * 4; ++i) codes[i / 4] |= char32_t{static_cast<uint8_t>(utf32[i])} << (8 * (i % 4));
    return codes;
}

std::string utf32_of(char32_t code) {
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) text += static_cast<char>(code >> shift);
    return text;
}

Reference::Reference(std::string name) : name_(std::move(name)), zero_(utf32_of('0')), line_end_(utf32_of('\n')) {}

const Reference &Reference::utf32() {
    static const Reference reference("UTF-32LE");
    return reference;
}

Reference::Reference(const Catalogue::Codeset &codeset) : name_(codeset.iconv) {
    using Kind = CodesetSource::Kind;
    if (codeset.source.kind == Kind::ICONV_SINGLE || codeset.source.kind == Kind::ICONV_DOUBLE) {
        name_ = codeset.source.argument;
        part_ = codeset.source.kind == Kind::ICONV_SINGLE ? Part::singles : Part::doubles;
    }
    const auto write = [this](char32_t code) {
        return run_process({"iconv", "-c", "-f", "UTF-32LE", "-t", name_}, utf32_of(code)).output;
    };
    zero_ = write('0');
    line_end_ = write('\n');
    shifts_ = write(U'\u3000').starts_with(SHIFT_OUT);
    if (zero_.empty() || zero_.size() != line_end_.size() || (part_ != Part::all && !shifts_))
        throw std::runtime_error(fmt::format("iconv {}: not a codeset that can be asked", name_));
}

std::string Reference::question(const std::vector<std::string> &characters) const {
    const std::string before = zero_ + (doubles_only() ? std::string(1, SHIFT_OUT) : "");
    std::string after = doubles_only() ? std::string(1, SHIFT_IN) : "", text;
    for (size_t i = 0; i < LINE_ENDS; ++i) after += line_end_;
    for (const std::string &character : characters) text.append(before).append(character).append(after);
    return text;
}

std::string_view Reference::own(std::string_view character) const {
    const bool shifted = shifts_ && character.starts_with(SHIFT_OUT);
    if (part_ == Part::doubles) return shifted ? character.substr(1, character.size() - 2) : std::string_view();
    return part_ == Part::singles && shifted ? std::string_view() : character;
}

std::vector<std::string> Reference::ask(const Reference &target, const std::vector<std::string> &characters) const {
    auto result = run_process({"iconv", "-c", "-f", name_, "-t", target.name_}, question(characters));
    const auto fail = [&](std::string_view what) {
        throw std::runtime_error(
            fmt::format("iconv {} to {}: {}, status {} {}", name_, target.name_, what, result.status, result.errors));
    };
    // Whether leaving something out makes the status 1 differs between versions of iconv.
    if (result.status > 1 || !result.errors.empty()) fail("failed");
    result.output += target.zero_;
    const std::string mark = target.line_end_ + target.zero_;
    const size_t unit = target.unit();
    const std::string_view answer = result.output;
    std::vector<std::string> answers;
    answers.reserve(characters.size());
    if (!answer.starts_with(target.zero_)) fail("no answer");
    for (size_t at = unit; at < answer.size();) {
        size_t end = answer.find(mark, at);
        while (end != std::string_view::npos && (end - at) % unit != 0) end = answer.find(mark, end + 1);
        if (end == std::string_view::npos) fail("unclear answer");
        std::string_view character = answer.substr(at, end - at);
        const bool is_line_end = character.size() == LINE_ENDS * unit; // with the frame's all but one
        while (character.ends_with(target.line_end_)) character.remove_suffix(unit);
        answers.emplace_back(target.own(is_line_end && character.empty() ? target.line_end_ : character));
        at = end + mark.size();
    }
    if (answers.size() != characters.size()) fail(fmt::format("{} answers to {} questions", answers.size(), characters.size()));
    return answers;
}

bool Reference::accepts(const std::vector<std::string> &characters) const {
    return run_process({"iconv", "-f", name_, "-t", "UTF-32LE"}, question(characters)).status == 0;
}

} // namespace qbgl_test
