#include "cvlib/engine.h"

#include "cvlib/canned.h"
#include "cvlib/lane.h"
#include "cvlib/record.h"
#include "ext/error.h"
#include "multi/table.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"
#include "unicode/transcode.h"

#include <algorithm>
#include <string.h>

namespace qbgl {

namespace {

// The input length that stands for "up to the terminator".
constexpr int UNLIMITED = 0x7FFFFFFF;

// What a conversion works through: the caller's buffers as plain values, stored back once.
struct Buffers {
    const char **in;
    int *inleft; // null: up to the terminator
    char **out;  // null: measure only
    int *outleft;
    int *subst;
};

// Where a conversion stands. Loaded from the caller's buffers at the start, stored back at the end, whatever the outcome.
struct Cursor {
    const char *in;
    int remaining;
    char *out; // null when measuring
    int room;
    bool to_terminator;

    void write(const uint8_t *bytes, int count) {
        if (out != nullptr) {
            memcpy(out, bytes, static_cast<size_t>(count));
            out += count;
        }
        room -= count;
    }
    void consume(int count) {
        in += count;
        remaining -= count;
    }
};

Cursor load(const Buffers &buffers) {
    *buffers.subst = 0;
    return {*buffers.in, buffers.inleft != nullptr ? *buffers.inleft : UNLIMITED, buffers.out != nullptr ? *buffers.out : nullptr,
            *buffers.outleft, buffers.inleft == nullptr};
}

int store(const Cursor &at, const Buffers &buffers, int result) {
    *buffers.in = at.in;
    if (buffers.inleft != nullptr) *buffers.inleft = at.remaining;
    if (buffers.out != nullptr) *buffers.out = at.out;
    *buffers.outleft = at.room;
    return result;
}

// A missing record leaves the descriptor's error number alone.
int fail_without_record() {
    gl_message("Error in Translation.");
    return -1;
}

int fail_unmapped(gl_cv *cd) {
    gl_message("Error in Translation (GL_EILSEQ)");
    set_error(cd, GL_EILSEQ);
    return -1;
}

int fail_no_room(gl_cv *cd) {
    gl_message("Error in Translation (GL_E2BIG)");
    set_error(cd, GL_E2BIG);
    return -1;
}

// The steps of the stateless conversions: how a shape finds the record of the character at hand (its bytes, null when there is
// none, and how many input bytes it is), and what it writes of it.
struct Found {
    const uint8_t *record;
    int key_length;
};

// A record that no table holds, of a character that one side or both have by a rule.
using MadeRecord = uint8_t[1 + LONGEST_FORM];

// The record of a character of Unicode: the one that a table has for its UTF-8; else of the bytes that the target has for it by a
// rule; else an unmapped one.
const uint8_t *record_of(const gl_multi *table, const gl_cv &cd, uint32_t code, MadeRecord &made) {
    if (table != nullptr) {
        const int size = encode<UnicodeForm::UTF8>(code, made);
        int length = 0;
        const void *found = _gl_retrieve_text_multi_limit(reinterpret_cast<const char *>(made), table, size, &length, nullptr);
        if (found != nullptr) return static_cast<const uint8_t *>(found);
    }
    const auto form = static_cast<UnicodeForm>(cd.target_form);
    const int length = form != UnicodeForm::NONE ? encode(form, code, made + 1) : 0;
    made[0] = length > 0 ? static_cast<uint8_t>(RECORD_MAPPED | length) : 0;
    return made;
}

// What the tables do not list, where the source has it by a rule.
Found find_unlisted(const gl_cv &cd, const Cursor &at, MadeRecord &made) {
    const auto form = static_cast<UnicodeForm>(cd.source_form);
    if (form == UnicodeForm::NONE) return {nullptr, 0};
    const Scalar scalar = decode(form, reinterpret_cast<const uint8_t *>(at.in), static_cast<uint32_t>(at.remaining));
    return {scalar.length != 0 ? record_of(cd.unlisted_table, cd, scalar.code, made) : nullptr, scalar.length};
}

Found find_in(const gl_multi *table, const gl_cv &cd, const Cursor &at, MadeRecord &made) {
    int length = 0;
    const void *const record = _gl_retrieve_text_multi_limit(at.in, table, at.remaining, &length, nullptr);
    if (record == nullptr) return find_unlisted(cd, at, made);
    return {static_cast<const uint8_t *>(record), length};
}

struct MultibyteStep {
    const gl_cv &cd;

    Found find(const Cursor &at, MadeRecord &made) const { return find_in(cd.main_table, cd, at, made); }
    static int room_needed(const Record &record) { return record.length(); }
    static void write(Cursor &at, const Record &record) { at.write(record.output(), record.length()); }
};

// A character that is read by algorithm. One that the table does not have is a character of the source all the same.
Found find_by_utf8(const gl_cv &cd, const Cursor &at, MadeRecord &made) {
    const auto *in = reinterpret_cast<const uint8_t *>(at.in);
    const Scalar scalar = decode(static_cast<UnicodeForm>(cd.source_form), in, static_cast<uint32_t>(at.remaining));
    return {scalar.length != 0 ? record_of(cd.main_table, cd, scalar.code, made) : nullptr, scalar.length};
}

struct SingleByteStep {
    const gl_cv &cd;

    Found find(const Cursor &at, MadeRecord &) const {
        const MultiNode &root = *cd.main_table->root;
        const auto byte = static_cast<uint8_t>(*at.in);
        return {root.flags[byte] == FLAG_END ? entry_of(*cd.main_table, root, byte) : nullptr, 1};
    }
    static int room_needed(const Record &) { return 1; }
    static void write(Cursor &at, const Record &record) { at.write(record.output(), 1); }
};

struct UnicodeSourceStep {
    gl_cv &cd;

    Found find(const Cursor &at, MadeRecord &) const {
        const int unit = cd.source_min_len == 4 && cd.source_max_len == 4 ? 4 : 2;
        const int error = get_error(&cd); // the lookup reports into the descriptor, which keeps its number when there is no record
        const void *record = _gl_retrieve_little_endian_unicode_limit(at.in, cd.main_table, at.remaining, &cd);
        if (record == nullptr) set_error(&cd, error);
        return {static_cast<const uint8_t *>(record), unit};
    }
    static int room_needed(const Record &record) { return record.length(); }
    static void write(Cursor &at, const Record &record) { at.write(record.output(), record.length()); }
};

// Records hold the unit most significant byte first.
struct UnicodeTargetStep {
    const gl_cv &cd;

    Found find(const Cursor &at, MadeRecord &made) const {
        const Found found = MultibyteStep{cd}.find(at, made);
        if (found.record == made) std::reverse(made + 1, made + 1 + Record(made).length());
        return found;
    }
    // Two bytes of room are asked for also where four are written: hosts size the output by the expansion factor.
    static int room_needed(const Record &) { return 2; }
    void write(Cursor &at, const Record &record) const {
        const uint8_t *unit = record.output();
        if (cd.target_min_len == 4 && cd.target_max_len == 4) {
            const uint8_t reversed[4] = {unit[3], unit[2], unit[1], unit[0]};
            at.write(reversed, 4);
        } else {
            const uint8_t reversed[2] = {unit[1], unit[0]};
            at.write(reversed, 2);
        }
    }
};

// A way through a lane, and the same without writing.
struct LaneRun {
    LanePosition (*write)(const Lane &, LanePosition, const LaneRange &);
    LanePosition (*measure)(const Lane &, LanePosition, const LaneRange &);
};
constexpr LaneRun BY_BYTES = {run_lane<true>, run_lane<false>},
                  BY_SINGLE_BYTES = {run_single_byte_lane<true>, run_single_byte_lane<false>},
                  BY_UTF16LE = {run_unit_lane<UnicodeForm::UTF16LE, true>, run_unit_lane<UnicodeForm::UTF16LE, false>},
                  BY_UTF16BE = {run_unit_lane<UnicodeForm::UTF16BE, true>, run_unit_lane<UnicodeForm::UTF16BE, false>};

// Lets a lane take the plain characters from here on.
void take_lane(const Lane &lane, Cursor &at, const LaneRun &run) {
    const auto *in = reinterpret_cast<const uint8_t *>(at.in);
    const auto out = reinterpret_cast<uintptr_t>(at.out);
    // Counts may be larger than what lies between the buffers and the end of the address space.
    const auto in_size = std::min(static_cast<uintptr_t>(at.remaining), UINTPTR_MAX - reinterpret_cast<uintptr_t>(in));
    const auto out_size = at.room > 0 ? std::min(static_cast<uintptr_t>(at.room), UINTPTR_MAX - out) : 0;
    const LaneRange range = {in + in_size, out + out_size, !at.to_terminator};
    const LanePosition stop = (at.out != nullptr ? run.write : run.measure)(lane, {in, out}, range);
    const auto written = static_cast<int>(stop.out - out);
    at.consume(static_cast<int>(stop.in - in));
    at.room -= written;
    if (at.out != nullptr) at.out += written;
}

// The bytes that some UTF-8 takes in another form.
int length_in_form(UnicodeForm form, const uint8_t *utf8, const uint8_t *end) {
    int units = 0;
    const int unit = lengths_of(form).shortest;
    for (; utf8 < end; ++utf8) units += ((*utf8 & 0xC0) != 0x80 ? 1 : 0) + (*utf8 >= 0xF0 && unit == 2 ? 1 : 0);
    return units * unit;
}

// A step with the source read by algorithm.
template <class Step> struct ByUtf8 : Step {
    Found find(const Cursor &at, MadeRecord &made) const { return find_by_utf8(this->cd, at, made); }

    // Lets the lane take the text's units, or the UTF-8 of a piece of it after the other.
    void take_pieces(const Lane &lane, Cursor &at) const {
        constexpr int PIECE = 256, END = 4; // zero bytes behind the piece: the lane stops at them
        uint8_t utf8[PIECE * 2 + END];
        const auto form = static_cast<UnicodeForm>(this->cd.source_form);
        if (lane.has_units) return take_lane(lane, at, unicode::is_big_endian(form) ? BY_UTF16BE : BY_UTF16LE);
        const Transcoder transcode = transcoder(form, UnicodeForm::UTF8);
        while (at.remaining >= 1) {
            const int size = std::min(at.remaining, PIECE);
            TranscodePosition piece = {reinterpret_cast<const uint8_t *>(at.in), utf8, size, PIECE * 2};
            transcode(piece, false);
            const auto length = static_cast<int>(piece.out - utf8);
            memset(piece.out, 0, END);
            Cursor through = {reinterpret_cast<const char *>(utf8), length + END, at.out, at.room, false};
            take_lane(lane, through, BY_BYTES);
            at.out = through.out;
            at.room = through.room;
            const bool whole = through.remaining == END;
            const auto *const stop = reinterpret_cast<const uint8_t *>(through.in);
            at.consume(whole ? size - piece.remaining : length_in_form(form, utf8, stop));
            if (!whole || length == 0) return;
        }
    }
};

template <class Step> int convert_stateless(gl_cv *cd, const Buffers &buffers, const Step &step, bool single_byte = false) {
    Cursor at = load(buffers);
    const auto *lane = static_cast<const Lane *>(cd->lane);
    constexpr bool IN_PIECES = requires { step.take_pieces(*lane, at); };
    if ((single_byte || IN_PIECES) && at.to_terminator) lane = nullptr; // these look ahead
    MadeRecord made = {};
    while (at.remaining >= 1) {
        if (lane != nullptr) {
            if constexpr (IN_PIECES)
                step.take_pieces(*lane, at);
            else
                take_lane(*lane, at, single_byte ? BY_SINGLE_BYTES : BY_BYTES);
            if (at.remaining < 1) break;
        }
        const Found found = step.find(at, made);
        if (found.record == nullptr) return store(at, buffers, fail_without_record());
        const Record record(found.record);
        if (record.unmapped()) return store(at, buffers, fail_unmapped(cd));
        if (record.substituted()) *buffers.subst = 1;
        if (at.room < step.room_needed(record)) return store(at, buffers, fail_no_room(cd));
        step.write(at, record);
        at.consume(found.key_length);
        if (at.to_terminator && record.terminator()) break;
    }
    return store(at, buffers, 0);
}

// The record of a character in the state that the text is in.
Found find_in_state(const gl_cv &cd, const gl_cv_state &state, const Cursor &at, MadeRecord &made) {
    if (cd.convert == unicode_source_miconv) return find_by_utf8(cd, at, made);
    const gl_multi *table = state.source_shift == 1 && cd.shifted_table != nullptr ? cd.shifted_table : cd.main_table;
    return find_in(table, cd, at, made);
}

} // namespace

int mb_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    return convert_stateless(cd, {in, inleft, out, outleft, subst}, MultibyteStep{*cd});
}

int sb_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    return convert_stateless(cd, {in, inleft, out, outleft, subst}, SingleByteStep{*cd}, true);
}

int little_endian_unicode_source_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    return convert_stateless(cd, {in, inleft, out, outleft, subst}, UnicodeSourceStep{*cd});
}

int little_endian_unicode_target_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    return convert_stateless(cd, {in, inleft, out, outleft, subst}, UnicodeTargetStep{*cd});
}

int unicode_source_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    const Buffers buffers = {in, inleft, out, outleft, subst};
    if (is_unicode_unit(cd->target_min_len, cd->target_max_len))
        return convert_stateless(cd, buffers, ByUtf8<UnicodeTargetStep>{{*cd}});
    return convert_stateless(cd, buffers, ByUtf8<MultibyteStep>{{*cd}});
}

int unicode_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    const Buffers buffers = {in, inleft, out, outleft, subst};
    Cursor at = load(buffers);
    TranscodePosition place = {reinterpret_cast<const uint8_t *>(at.in), reinterpret_cast<uint8_t *>(at.out), at.remaining,
                               at.room};
    const Transcoder transcode = transcoder(static_cast<UnicodeForm>(cd->source_form), static_cast<UnicodeForm>(cd->target_form));
    const Transcoded result = transcode(place, at.to_terminator);
    at.in = reinterpret_cast<const char *>(place.in);
    at.out = reinterpret_cast<char *>(place.out);
    at.remaining = place.remaining;
    at.room = place.room;
    store(at, buffers, 0);
    switch (result) {
    case Transcoded::NO_CHARACTER: return fail_without_record();
    case Transcoded::UNMAPPED: return fail_unmapped(cd);
    case Transcoded::NO_ROOM: return fail_no_room(cd);
    default: return 0;
    }
}

int mb_smiconv(gl_cv *cd, gl_cv_state *state, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    const Buffers buffers = {in, inleft, out, outleft, subst};
    Cursor at = load(buffers);
    if (state->reset != 0) state->source_shift = state->target_shift = 0;
    MadeRecord made = {};
    while (at.remaining >= 1) {
        const auto [found, key_length] = find_in_state(*cd, *state, at, made);
        if (found == nullptr) return store(at, buffers, fail_without_record());
        const Record record(found);
        if (record.unmapped()) return store(at, buffers, fail_unmapped(cd));
        if (record.substituted()) *subst = 1;

        const bool shifts_target = record.target_shift() != (state->target_shift != 0 ? 1 : 0);
        const int shift = record.target_shift() == 1 ? 0 : 1; // the sequence that enters or leaves the shifted state
        const bool last = at.remaining - key_length < 1 || (at.to_terminator && record.terminator());
        const bool closes = state->flush != 0 && record.target_shift() == 1 && last;
        const int needed =
            (shifts_target ? cd->sequence_length[shift] : 0) + record.length() + (closes ? cd->sequence_length[1] : 0);
        // The shift states change only with a character that fits, so that the caller can enlarge the output and go on.
        if (at.room < needed) return store(at, buffers, fail_no_room(cd));

        if (record.toggles_source()) state->source_shift = state->source_shift == 0 ? 1 : 0;
        if (shifts_target) {
            state->target_shift = record.target_shift();
            at.write(cd->sequence[shift], cd->sequence_length[shift]);
        }
        at.write(record.output(), record.length());
        if (closes) at.write(cd->sequence[1], cd->sequence_length[1]);
        at.consume(key_length);
        if (at.to_terminator && record.terminator()) break;
    }
    return store(at, buffers, 0);
}

} // namespace qbgl

int gl_cv_mconv(gl_cv *cd, gl_cv_state *state, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    using namespace qbgl;
    if (cd == nullptr || is_canned(cd)) return -1;
    if (cd->glu_flag == 1) {
        // The extension may have been unloaded under the descriptor, and loaded again.
        if (fn_glu_cv_conv == nullptr || cd->glu_load != extension_load) return fail(cd, GL_ENODATA, -1);
        int status = 0;
        const int result =
            fn_glu_cv_conv(cd->glu_handle, state != nullptr ? state->reset : 1, in, inleft, out, outleft, subst, &status);
        if (status > 0) set_error(cd, status);
        return result;
    }
    if (cd->convert == nullptr) return -1; // a descriptor whose file failed to load
    if (cd->source_stateful == 0 && cd->target_stateful == 0) return cd->convert(cd, in, inleft, out, outleft, subst);
    gl_cv_state fresh = {1, 1, 0, 0};
    return mb_smiconv(cd, state != nullptr ? state : &fresh, in, inleft, out, outleft, subst);
}

int gl_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst) {
    return gl_cv_mconv(cd, nullptr, in, inleft, out, outleft, subst);
}

int gl_mconvlen(gl_cv *cd, gl_cv_state *state, const char **in, int *inleft, int *outleft, int *subst) {
    return gl_cv_mconv(cd, state, in, inleft, nullptr, outleft, subst);
}
