// Codeset conversion. Text goes through ICU in pieces for which there is room whatever they become. Where ICU finds a fault in one,
// and where room runs short, the converters go back to where the piece began and on by single characters, which shows the place.
#include "icu/codeset.h"
#include "icu/entry.h"
#include "icu/host.h"
#include "icu/map.h"
#include "icu/memory.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <unicode/ucnv.h>

namespace qbgl::icu {
namespace {

// Where a call has come to.
struct Cursor {
    const char *in;
    int left;
    char *out; // null: measured only
    int room;
    bool substituted;

    void advance(int taken, int made) {
        in += taken;
        left -= taken;
        if (out != nullptr) out += made;
        room -= made;
    }
};

// What became of a character. UNREADABLE: the bytes are none of the source, or not all of one.
enum class Outcome { DONE, NO_ROOM, UNMAPPED, UNREADABLE, NO_MEMORY };

class Converter {
  public:
    Converter() = default;
    Converter(const Converter &) = delete;
    Converter &operator=(const Converter &) = delete;
    ~Converter() {
        ucnv_close(source_);
        ucnv_close(target_);
    }

    bool open(const char *source, const char *target, UErrorCode &status);
    Outcome convert(Cursor &at, bool reset);
    // The bytes of a text with its terminator.
    int length_with_terminator(const char *text) const;
    double expansion() const { return units_a_byte_ * bytes_a_unit_; }
    const char *name() const { return name_; }

  private:
    static constexpr int PIECE = 16384, SMALL_PIECE = 256, SMALLEST_PIECE = 16;
    static constexpr int MEASURED = 16 * PIECE; // what a piece may become when it is only measured
    static constexpr int LONGEST_RESULT = 64;   // of one character, with its shift sequences

    int room_for(int bytes) const { return static_cast<int>((bytes * units_a_byte_ + 10) * bytes_a_unit_); }
    int piece_for(int room) const { return static_cast<int>((room / bytes_a_unit_ - 11) / units_a_byte_); }
    void reset() {
        ucnv_reset(source_);
        ucnv_reset(target_);
    }
    bool pending() const;
    Outcome convert_with_states(Cursor &at, bool closes);
    Outcome convert_pieces(Cursor &at);
    bool convert_piece(Cursor &at, int piece, char *scratch, UErrorCode &status);
    Outcome convert_character(Cursor &at, bool closes);
    bool encode(const UChar *units, int count, char *&out, const char *end, bool closes, bool &substituted);
    bool encode_what_waits(char *&out, const char *end);

    UConverter *source_ = nullptr, *target_ = nullptr;
    bool stateful_ = false, single_byte_source_ = false;
    double units_a_byte_ = 1, bytes_a_unit_ = 1; // at most
    char name_[2 * UCNV_MAX_CONVERTER_NAME_LENGTH + 2] = "";
};

bool has_states(const UConverter *converter) {
    switch (ucnv_getType(converter)) {
    case UCNV_SBCS:
    case UCNV_DBCS:
    case UCNV_MBCS:
    case UCNV_LATIN_1:
    case UCNV_US_ASCII:
    case UCNV_UTF8:
    case UCNV_CESU8:
    case UCNV_UTF16_BigEndian:
    case UCNV_UTF16_LittleEndian:
    case UCNV_UTF32_BigEndian:
    case UCNV_UTF32_LittleEndian: return false;
    default: return true;
    }
}

bool Converter::open(const char *source, const char *target, UErrorCode &status) {
    source_ = ucnv_open(source, &status);
    target_ = ucnv_open(target, &status);
    if (U_FAILURE(status)) return false;
    stop_at_errors(source_, status);
    stop_at_errors(target_, status);
    ucnv_setFallback(target_, false); // what is approximate is to be told
    const bool stateful_target = has_states(target_);
    stateful_ = has_states(source_) || stateful_target;
    single_byte_source_ = ucnv_getMaxCharSize(source_) == 1;
    // Characters of four bytes are two units at most.
    const int shortest = ucnv_getMinCharSize(source_);
    units_a_byte_ = shortest == 1 ? 1 : 0.5;
    bytes_a_unit_ = ucnv_getMaxCharSize(target_) + (stateful_target ? 2 : 0);
    snprintf(name_, sizeof name_, "%s,%s", source, target);
    return U_SUCCESS(status);
}

int Converter::length_with_terminator(const char *text) const {
    const size_t unit = static_cast<size_t>(ucnv_getMinCharSize(source_));
    static constexpr char ZEROS[4] = {};
    size_t length = 0;
    if (unit == 1) {
        length = strlen(text);
    } else {
        while (memcmp(text + length, ZEROS, unit) != 0) length += unit;
    }
    return static_cast<int>(std::min<size_t>(length + unit, INT_MAX));
}

bool Converter::pending() const {
    UErrorCode status = U_ZERO_ERROR;
    return ucnv_toUCountPending(source_, &status) > 0 || ucnv_fromUCountPending(target_, &status) > 0;
}

Outcome Converter::convert(Cursor &at, bool reset_states) {
    if (reset_states || !stateful_) reset();
    return stateful_ ? convert_with_states(at, reset_states) : convert_pieces(at);
}

// Where a character fails, both sides go back to where the call began, and over the way again up to it, as if the text ended there:
// that is the state that the place shown has. `closes`: the call began in the initial states.
Outcome Converter::convert_with_states(Cursor &at, bool closes) {
    const Cursor begin = at;
    UConverter *source = nullptr, *target = nullptr;
    if (!closes) {
        const Provision provision; // for they may stay
        UErrorCode status = provision ? U_ZERO_ERROR : U_MEMORY_ALLOCATION_ERROR;
        source = ucnv_clone(source_, &status);
        target = ucnv_clone(target_, &status);
        if (U_FAILURE(status)) {
            ucnv_close(source);
            return Outcome::NO_MEMORY;
        }
    }
    Outcome outcome = Outcome::DONE;
    while (at.left > 0 && outcome == Outcome::DONE) outcome = convert_character(at, closes);
    if (outcome != Outcome::DONE) {
        if (closes) {
            reset();
        } else {
            std::swap(source_, source);
            std::swap(target_, target);
        }
        Cursor again = {begin.in, static_cast<int>(at.in - begin.in), nullptr, INT_MAX, false};
        while (again.left > 0 && convert_character(again, false) == Outcome::DONE) {
        }
    }
    ucnv_close(source);
    ucnv_close(target);
    return outcome;
}

// Into the output, or where there is none into the scratch. False with the place as it was.
bool Converter::convert_piece(Cursor &at, int piece, char *scratch, UErrorCode &status) {
    char *out = at.out != nullptr ? at.out : scratch;
    const char *const begin = out, *in = at.in;
    UChar pivot[1024], *pivot_source = pivot, *pivot_target = pivot;
    status = U_ZERO_ERROR;
    ucnv_convertEx(target_, source_, &out, out + room_for(piece), &in, in + piece, pivot, &pivot_source, &pivot_target,
                   pivot + std::size(pivot), false, piece == at.left, &status);
    if (U_FAILURE(status)) return false;
    at.advance(piece, static_cast<int>(out - begin));
    return true;
}

// Of codesets without states. What a piece leaves in the converters, a character that the next piece ends or one that may join the
// next, counts as not yet converted. Behind a fault pieces are small, and grow again.
Outcome Converter::convert_pieces(Cursor &at) {
    Scratch<char, 1> scratch;
    int size = PIECE;
    while (at.left > 0) {
        Cursor ahead = at;
        bool whole = true;
        while (whole) {
            const int room = at.out != nullptr ? ahead.room : std::min(ahead.room, MEASURED);
            int piece = std::min(ahead.left, size);
            if (room_for(piece) > room) piece = piece_for(room);
            if (piece < std::min(ahead.left, SMALLEST_PIECE)) break;
            if (at.out == nullptr && !scratch.reserve(static_cast<size_t>(room_for(piece)))) return Outcome::NO_MEMORY;
            UErrorCode status;
            whole = convert_piece(ahead, piece, scratch.data(), status);
            if (!whole && status == U_INVALID_CHAR_FOUND) { // once more up to its end, with approximate mappings
                reset();
                piece += static_cast<int>(ahead.in - at.in);
                ahead = at;
                if (room_for(piece) > ahead.room || (at.out == nullptr && room_for(piece) > static_cast<int>(scratch.capacity())))
                    break;
                ucnv_setFallback(target_, true);
                whole = convert_piece(ahead, piece, scratch.data(), status);
                ucnv_setFallback(target_, false);
                ahead.substituted |= whole;
                size = SMALL_PIECE;
            } else {
                size = std::min(2 * size, PIECE);
            }
            if (whole && !pending()) at = ahead;
            if (whole && ahead.left == 0) return Outcome::DONE;
        }
        reset();
        // Past the piece, so that it is not tried again at once.
        const char *const past = at.in + std::min(at.left, whole ? SMALLEST_PIECE : SMALL_PIECE);
        size = SMALL_PIECE;
        while (at.in < past) {
            const Outcome outcome = convert_character(at, true);
            if (outcome != Outcome::DONE) return outcome;
        }
        reset();
    }
    return Outcome::DONE;
}

// Writes what the units become, with approximate mappings where there are no others.
bool Converter::encode(const UChar *units, int count, char *&out, const char *end, bool closes, bool &substituted) {
    const UChar *at = units;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(target_, &out, end, &at, units + count, nullptr, closes, &status);
    if (U_SUCCESS(status)) return true;
    if (status != U_INVALID_CHAR_FOUND) return false;
    status = U_ZERO_ERROR;
    at = units;
    ucnv_setFallback(target_, true);
    ucnv_fromUnicode(target_, &out, end, &at, units + count, nullptr, closes, &status);
    ucnv_setFallback(target_, false);
    substituted = true;
    return U_SUCCESS(status);
}

// Writes the characters that wait for one that joins them; the shift state stays as it is behind them.
bool Converter::encode_what_waits(char *&out, const char *end) {
    constexpr char SHIFT_IN = 0x0F;
    constexpr UChar WIDE_SPACE = 0x3000;
    const char *const begin = out;
    const UChar *at = &WIDE_SPACE;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(target_, &out, end, &at, at, nullptr, true, &status);
    if (out > begin && out[-1] == SHIFT_IN && ucnv_getType(target_) == UCNV_EBCDIC_STATEFUL) {
        char shifted[LONGEST_RESULT], *to = shifted; // for the state alone
        --out;
        ucnv_fromUnicode(target_, &to, shifted + sizeof shifted, &at, at + 1, nullptr, false, &status);
    }
    return U_SUCCESS(status);
}

// The next character, with what joins it and the shift sequences before it; `closes`: the target returns to its initial state
// behind the last one. Where a fault stands behind characters that wait to be joined, they are converted, and the place is on it.
Outcome Converter::convert_character(Cursor &at, bool closes) {
    char bytes[LONGEST_RESULT], *out = bytes;
    const char *const room_end = bytes + sizeof bytes;
    int taken = 0, waiting = 0; // bytes read, and those of them that the characters before the last one have
    bool substituted = at.substituted, before_last = substituted, waits = false;
    UErrorCode status = U_ZERO_ERROR;
    Outcome outcome = Outcome::DONE;
    for (;; waiting = taken, before_last = substituted) {
        UChar units[LONGEST_RESULT / 2], *end = units;
        while (end == units && taken < at.left && U_SUCCESS(status)) {
            const char *in = at.in + taken++;
            ucnv_toUnicode(source_, &end, units + std::size(units), &in, in + 1, nullptr, false, &status);
        }
        const bool last = taken == at.left;
        if (U_FAILURE(status) || (last && ucnv_toUCountPending(source_, &status) > 0)) {
            outcome = single_byte_source_ ? Outcome::UNMAPPED : Outcome::UNREADABLE;
            break;
        }
        if (!encode(units, static_cast<int>(end - units), out, room_end, last && (closes || !stateful_), substituted)) {
            outcome = Outcome::UNMAPPED;
            break;
        }
        waits = ucnv_fromUCountPending(target_, &status) > 0;
        if (!waits || last) break;
    }

    if (outcome != Outcome::DONE) {
        taken = waiting;
        substituted = before_last;
        waits = waiting > 0;
    }
    if (waits && !encode_what_waits(out, room_end)) return Outcome::UNMAPPED;
    const int made = taken > 0 ? static_cast<int>(out - bytes) : 0;
    if (taken > 0 && made > at.room) {
        outcome = Outcome::NO_ROOM;
    } else if (taken > 0) {
        if (at.out != nullptr) memcpy(at.out, bytes, static_cast<size_t>(made));
        at.advance(taken, made);
        at.substituted = substituted;
    }
    if (outcome != Outcome::DONE && !stateful_) reset();
    return outcome;
}

Converter *as_converter(void *handle) { return static_cast<Converter *>(handle); }

} // namespace
} // namespace qbgl::icu

using namespace qbgl::icu;

int glu_useIcuCvtCall(int source_number, int target_number) {
    const Map *const map = Map::loaded();
    return map != nullptr && map->converts(source_number, target_number) ? 1 : 0;
}

void *glu_cv_open(int source_number, int target_number, int *status) {
    const KeepErrno errno_stays;
    const Map *const map = Map::loaded();
    if (map == nullptr || !map->converts(source_number, target_number)) return fail<int, void *>(status, GL_EINVAL, nullptr);
    const Provision provision;
    Owned<Converter> converter = make<Converter>();
    if (!provision || !converter) return fail<int, void *>(status, GL_ENOMEM, nullptr);
    const char *const source = map->codeset(source_number)->icu, *const target = map->codeset(target_number)->icu;
    UErrorCode code = U_ZERO_ERROR;
    if (converter->open(source, target, code)) return converter.release();
    say("qbgl_icu: no conversion from %s to %s: %s", source, target, u_errorName(code));
    return fail<int, void *>(status, code == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_EINVAL, nullptr);
}

int glu_cv_close(void *converter) {
    if (converter == nullptr) return -1;
    Owned<Converter>(as_converter(converter)).reset();
    return 0;
}

int glu_cv_conv(void *converter, int reset, const char **in, int *inleft, char **out, int *outleft, int *subst, int *status) {
    if (converter == nullptr || in == nullptr || *in == nullptr || outleft == nullptr) return fail(status, GL_ENULLPTR, -1);
    if ((inleft != nullptr && *inleft < 0) || *outleft < 0) return fail(status, GL_EBADARG, -1);
    Converter &own = *as_converter(converter);
    Cursor at = {*in, inleft != nullptr ? *inleft : own.length_with_terminator(*in), out != nullptr ? *out : nullptr, *outleft,
                 false};
    const Outcome outcome = own.convert(at, reset != 0);
    *in = at.in;
    if (inleft != nullptr) *inleft = at.left;
    if (out != nullptr && at.out != nullptr) *out = at.out;
    *outleft = at.room;
    if (subst != nullptr) *subst = at.substituted ? 1 : 0;
    switch (outcome) {
    case Outcome::DONE: return 0;
    case Outcome::NO_ROOM: return fail(status, GL_E2BIG, -1);
    case Outcome::UNMAPPED: return fail(status, GL_EILSEQ, -1);
    case Outcome::NO_MEMORY: return fail(status, GL_ENOMEM, -1);
    case Outcome::UNREADABLE: break;
    }
    return -1;
}

double glu_iconv_expansion(void *converter) { return converter != nullptr ? as_converter(converter)->expansion() : 0; }

const char *glu_getICUCvtName(void *converter) { return converter != nullptr ? as_converter(converter)->name() : nullptr; }
