#include "text/conversion.h"

#include "tree/codesets.h"

#include <algorithm>
#include <climits>

namespace qbgl {

namespace {

constexpr const char *PIVOT = "utf8";
constexpr int LONGEST_CHARACTER = 4;

uint16_t number_of(const std::string &name) { return gl_lc_spec2cs_num(nullptr, name.c_str(), nullptr); }

// Whether the tree holds the object of a conversion, be it damaged or not.
bool has_object(uint16_t source, uint16_t target) {
    char name[16];
    gl_cs_nums2cv_fname(nullptr, source, target, name, nullptr);
    FILE *file = gl_path_search_no_ext(nullptr, name, GL_CV_DIRECTORY, GL_CV_VERSION);
    if (file != nullptr) fclose(file);
    return file != nullptr;
}

// EBCDIC sets end lines with 0x25 (line feed) or 0x15 (new line); they are known by what they make of 0x25, which is "%" elsewhere.
// So are the two orders of the bytes of a unit.
std::string_view newlines_of(const char *source, const Stage &first, bool first_gives_utf8) {
    constexpr std::string_view ASCII = "\n", EBCDIC = "\x25\x15", LOW_FIRST("\n\0\0\0", 4), HIGH_FIRST("\0\0\0\n", 4);
    const size_t granule = first.granule();
    if (granule == 1 && first.longest_character() > 1 && !first.stateful_source()) return ASCII;
    int error = 0;
    std::optional<Stage> other;
    if (!first_gives_utf8 && !(other = Stage::open(source, PIVOT, error))) return ASCII;
    const auto is_newline = [&](std::string_view probe) {
        gl_cv_state state{};
        OutputBuffer result;
        bool substituted = false;
        (other ? *other : first).run(state, probe, result, substituted);
        return result.text() == "\n";
    };
    if (granule == 1) return is_newline(EBCDIC.substr(0, 1)) ? EBCDIC : ASCII;
    const std::string_view low_first = LOW_FIRST.substr(0, granule);
    return is_newline(low_first) ? low_first : HIGH_FIRST.substr(HIGH_FIRST.size() - granule);
}

} // namespace

void OutputBuffer::append(std::string_view bytes) {
    while (static_cast<size_t>(room()) < bytes.size()) grow();
    std::copy(bytes.begin(), bytes.end(), end());
    used_ += bytes.size();
}

int Stage::unit() const {
    const bool units = !stateful_source() && cd_->source_min_len == cd_->source_max_len;
    return units && (cd_->source_max_len == 2 || cd_->source_max_len == 4) ? cd_->source_max_len : 0;
}

int Stage::longest_character() const {
    const int length = cd_->source_max_len;
    return length >= 1 && length <= LONGEST_CHARACTER ? length : LONGEST_CHARACTER;
}

Stage::Stage(gl_cv *cd) : cd_(cd, gl_cv_unload) {
    if (!stateful_source()) return;
    for (int shift = 0; shift < 2; ++shift) {
        for (int byte = 0; byte < 256; ++byte) {
            gl_cv_state state{0, 0, shift, 0};
            const char text = static_cast<char>(byte);
            shifts_[shift][static_cast<size_t>(byte)] = reads(state, {&text, 1}) && state.source_shift != shift;
        }
    }
}

std::optional<Stage> Stage::open(const char *source, const char *target, int &error) {
    gl_cv *cd = nullptr;
    const int result = gl_cv_load(&cd, target, source, nullptr, nullptr);
    if (result == 1) return Stage(cd);
    error = cd != nullptr ? cd->error : 0;
    gl_cv_unload(cd);
    return std::nullopt;
}

Outcome Stage::run(gl_cv_state &state, std::string_view &text, OutputBuffer &output, bool &substituted) const {
    for (;;) {
        const char *in = text.data();
        int inleft = static_cast<int>(text.size());
        char *out = output.end();
        int outleft = output.room();
        int subst = 0;
        cd_->error = 0;
        const int result = gl_cv_mconv(cd_.get(), &state, &in, &inleft, &out, &outleft, &subst);
        output.commit(static_cast<size_t>(out - output.end()));
        text.remove_prefix(static_cast<size_t>(in - text.data()));
        substituted = substituted || subst != 0;
        if (result >= 0) return Outcome::DONE;
        switch (cd_->error) {
        case 0: return Outcome::UNREADABLE;
        case GL_EILSEQ: return Outcome::UNMAPPED;
        case GL_E2BIG: output.grow(); break;
        default: return Outcome::BROKEN;
        }
    }
}

const gl_multi *Stage::table(const gl_cv_state &state) const {
    if (cd_->source_form != 0) return nullptr;
    return stateful_source() && state.source_shift != 0 ? cd_->shifted_table : cd_->main_table;
}

bool Stage::reads(gl_cv_state &state, std::string_view text) const {
    const char *in = text.data();
    int inleft = static_cast<int>(text.size());
    int outleft = INT_MAX;
    int subst = 0;
    cd_->error = 0;
    return gl_mconvlen(cd_.get(), &state, &in, &inleft, &outleft, &subst) >= 0 || cd_->error == GL_EILSEQ;
}

size_t Stage::character_length(const gl_cv_state &state, std::string_view text) const {
    const auto longest = std::min(text.size(), static_cast<size_t>(longest_character()));
    if (const auto size = static_cast<size_t>(unit()); size != 0) return size <= longest ? size : 0;
    if (const gl_multi *characters = table(state); characters != nullptr) {
        int length = 0;
        const void *found = _gl_retrieve_text_multi_limit(text.data(), characters, static_cast<int>(longest), &length, nullptr);
        return found != nullptr ? static_cast<size_t>(length) : 0;
    }
    // Neither the extension library nor an algorithm shows a table: longer and longer beginnings are tried until one can be read.
    for (size_t length = 1; length <= longest; ++length) {
        gl_cv_state scratch = state;
        if (reads(scratch, text.substr(0, length))) return length;
    }
    return 0;
}

bool Stage::is_shift(const gl_cv_state &state, char byte) const {
    return stateful_source() && shifts_[state.source_shift != 0 ? 1 : 0][static_cast<uint8_t>(byte)];
}

size_t Stage::granule() const {
    return stateful_source() ? 1 : static_cast<size_t>(std::clamp(cd_->source_min_len, 1, LONGEST_CHARACTER));
}

// Whether more bytes would make a character of a text. Those tried complete every beginning of one: after leads of UTF-8 either the
// lowest or the highest trail byte is allowed, the second unit of UTF-16 is a low surrogate, in either byte order, and digits and
// high bytes alternate in GB18030.
bool Stage::may_go_on(const gl_cv_state &state, std::string_view text) const {
    for (const std::string_view rest :
         {std::string_view("\x80\x80\x80"), std::string_view("\xBF\xBF\xBF"), std::string_view("\x00\xDC", 2),
          std::string_view("\xDC\x00", 2), std::string_view("\x30\x81\x30"), std::string_view("\x81\x30")}) {
        for (size_t length = 1; length <= rest.size() && text.size() + length <= LONGEST_CHARACTER; ++length) {
            gl_cv_state scratch = state;
            if (reads(scratch, std::string(text) + std::string(rest.substr(0, length)))) return true;
        }
    }
    return text.size() < granule();
}

size_t Stage::unreadable_length(const gl_cv_state &state, std::string_view text) const {
    if (unit() != 0) return text.size() < static_cast<size_t>(unit()) ? 0 : static_cast<size_t>(unit());
    const gl_multi *characters = table(state);
    if (characters == nullptr) return may_go_on(state, text) ? 0 : std::min(text.size(), granule());
    gl_cv context{}; // receives the error
    int length = 1;
    const auto limit = static_cast<int>(std::min<size_t>(text.size(), LONGEST_CHARACTER));
    _gl_retrieve_text_multi_limit(text.data(), characters, limit, &length, &context);
    return context.error == GL_EINVAL ? 0 : std::clamp<size_t>(static_cast<size_t>(length), 1, text.size());
}

std::string_view Stage::closing_sequence(const gl_cv_state &state) const {
    if (cd_->target_stateful == 0 || state.target_shift == 0) return {};
    return {reinterpret_cast<const char *>(cd_->sequence[1]), static_cast<size_t>(cd_->sequence_length[1])};
}

Opened Conversion::open(const std::string &source, const std::string &target, std::unique_ptr<Conversion> &conversion) {
    const std::string source_name = registered_name(source), target_name = registered_name(target);
    const uint16_t from = number_of(source_name), to = number_of(target_name), pivot = number_of(PIVOT);
    if (from == to) return Opened::SAME_CODESET;

    int error = 0;
    std::optional<Stage> first = Stage::open(source_name.c_str(), target_name.c_str(), error);
    if (!first && error == GL_ENOFILE && !has_object(from, to)) return Opened::MISSING;
    if (!first) return error == GL_ENOMEM ? Opened::NO_MEMORY : Opened::DAMAGED;
    const std::string_view newlines = newlines_of(source_name.c_str(), *first, to == pivot);
    conversion.reset(new Conversion(source_name, std::move(*first), newlines));
    return Opened::CONVERSION;
}

Opened Conversion::open_copy(const std::string &codeset, std::unique_ptr<Conversion> &conversion) {
    const bool is_pivot = number_of(registered_name(codeset)) == number_of(PIVOT);
    const Opened opened = open(codeset, is_pivot ? "ucs4" : PIVOT, conversion);
    if (opened == Opened::CONVERSION) conversion->copies_ = true;
    return opened;
}

bool Conversion::is_undefined(std::string_view character) const {
    if (first_.longest_character() != 1 || character.size() != 1) return false;
    if (!undefined_) {
        undefined_.emplace();
        int error = 0;
        const std::optional<Stage> to_pivot = Stage::open(source_name_.c_str(), PIVOT, error);
        for (size_t i = 0; to_pivot && i < undefined_->size(); ++i) {
            const char byte = static_cast<char>(i);
            std::string_view text(&byte, 1);
            gl_cv_state state{};
            OutputBuffer result;
            bool substituted = false;
            (*undefined_)[i] = to_pivot->run(state, text, result, substituted) != Outcome::DONE;
        }
    }
    return (*undefined_)[static_cast<uint8_t>(character[0])];
}

// What the first stage lacks is a character all the same.
Outcome Conversion::run_copy(Shift &shift, std::string_view &text, OutputBuffer &output) {
    for (;;) {
        const std::string_view before = text;
        bool substituted = false;
        middle_.clear();
        const Outcome outcome = first_.run(shift.first, text, middle_, substituted);
        output.append(before.substr(0, before.size() - text.size()));
        if (outcome != Outcome::UNMAPPED || is_undefined(text.substr(0, 1))) return outcome;
        const size_t length = std::max<size_t>(first_.character_length(shift.first, text), 1);
        output.append(text.substr(0, length));
        text.remove_prefix(length);
    }
}

Outcome Conversion::run(Shift &shift, std::string_view &text, OutputBuffer &output, bool &substituted) {
    if (copies_) return run_copy(shift, text, output);
    return first_.run(shift.first, text, output, substituted);
}

Step Conversion::step(Shift &shift, std::string_view text, OutputBuffer &output) const {
    const size_t length = first_.character_length(shift.first, text);
    if (length == 0) return {Outcome::UNREADABLE, 0, false};
    const size_t output_before = output.size();
    Shift after = shift;
    bool substituted = false;
    std::string_view rest = text.substr(0, length);
    middle_.clear();
    const Outcome outcome = first_.run(after.first, rest, copies_ ? middle_ : output, substituted);
    if (copies_ && !(outcome == Outcome::UNMAPPED && is_undefined(text.substr(0, 1)))) {
        output.append(text.substr(0, length));
        return {Outcome::DONE, length, false};
    }
    if (outcome == Outcome::DONE)
        shift = after;
    else
        output.truncate(output_before);
    return {outcome, length, substituted};
}

void Conversion::close(Shift &shift, OutputBuffer &output) const {
    if (!copies_) output.append(first_.closing_sequence(shift.first));
    shift = {};
}

} // namespace qbgl
