#include "unicode/transcode.h"

#include "unicode/blocks.h"

#include <algorithm>

namespace qbgl {

namespace {

using unicode::BlockPosition;

template <UnicodeForm SOURCE, UnicodeForm TARGET, bool WRITE>
void run_blocks(BlockPosition &at, const uint8_t *in_end, uintptr_t out_end) {
    if constexpr (SOURCE == UnicodeForm::UTF8)
        unicode::FromUtf8<TARGET, WRITE>::run(at, in_end, out_end);
    else if constexpr (TARGET == UnicodeForm::UTF8)
        unicode::ToUtf8<SOURCE, WRITE>::run(at, in_end, out_end);
    else
        unicode::BetweenUnits<SOURCE, TARGET, WRITE>::run(at, in_end, out_end);
}

// Lets blocks take what comes in runs.
template <UnicodeForm SOURCE, UnicodeForm TARGET> void take_blocks(TranscodePosition &at) {
    const auto out = reinterpret_cast<uintptr_t>(at.out);
    // Counts may be larger than what lies between the buffers and the end of the address space.
    const auto size_from = [](uintptr_t begin, int size) { return std::min(static_cast<uintptr_t>(size), UINTPTR_MAX - begin); };
    const uint8_t *const in_end = at.in + size_from(reinterpret_cast<uintptr_t>(at.in), at.remaining);
    const uintptr_t out_end = out + size_from(out, at.room);
    BlockPosition place = {at.in, out};
    if (at.out != nullptr)
        run_blocks<SOURCE, TARGET, true>(place, in_end, out_end);
    else
        run_blocks<SOURCE, TARGET, false>(place, in_end, out_end);
    const auto written = static_cast<int>(place.out - out);
    at.remaining -= static_cast<int>(place.in - at.in);
    at.in = place.in;
    at.room -= written;
    if (at.out != nullptr) at.out += written;
}

// Converts one character.
template <UnicodeForm SOURCE, UnicodeForm TARGET> Transcoded step(TranscodePosition &at, bool &terminates) {
    const Scalar scalar = decode<SOURCE>(at.in, static_cast<uint32_t>(at.remaining));
    if (scalar.length == 0) return Transcoded::NO_CHARACTER;
    uint8_t bytes[LONGEST_FORM];
    const int length = encode<TARGET>(scalar.code, bytes);
    if (length == 0) return Transcoded::UNMAPPED;
    if (at.room < length) return Transcoded::NO_ROOM;
    if (at.out != nullptr) {
        memcpy(at.out, bytes, static_cast<size_t>(length));
        at.out += length;
    }
    at.room -= length;
    at.in += scalar.length;
    at.remaining -= scalar.length;
    terminates = scalar.code == 0;
    return Transcoded::ALL;
}

template <UnicodeForm SOURCE, UnicodeForm TARGET> Transcoded transcode(TranscodePosition &at, bool to_terminator) {
    // Blocks look ahead, and so not behind a terminator. A character or two in front of a stop do not call for another one.
    constexpr int PATIENCE = 16;
    for (int patience = 0; at.remaining >= 1; --patience) {
        if (!to_terminator && patience <= 0 && at.remaining >= unicode::BLOCK_INPUT && at.room >= unicode::BLOCK_ROOM) {
            const uint8_t *const before = at.in;
            take_blocks<SOURCE, TARGET>(at);
            patience = at.in == before ? PATIENCE : 1;
            if (at.remaining < 1) break;
        }
        bool terminates = false;
        if (const Transcoded result = step<SOURCE, TARGET>(at, terminates); result != Transcoded::ALL) return result;
        if (terminates && to_terminator) break;
    }
    return Transcoded::ALL;
}

} // namespace

Transcoder transcoder(UnicodeForm source, UnicodeForm target) {
    return unicode::with_form(source, [target]<UnicodeForm SOURCE>() {
        return unicode::with_form(target, []<UnicodeForm TARGET>() -> Transcoder {
            if constexpr (SOURCE == TARGET)
                return nullptr;
            else
                return transcode<SOURCE, TARGET>;
        });
    });
}

float growth(UnicodeForm source, UnicodeForm target) {
    float most = 0;
    for (const uint32_t code : {0x7FU, 0x7FFU, 0xFFFFU, 0x10FFFFU}) { // the last ones of each length
        uint8_t bytes[LONGEST_FORM];
        const int read = encode(source, code, bytes), written = encode(target, code, bytes);
        if (read > 0) most = std::max(most, static_cast<float>(written) / static_cast<float>(read));
    }
    return most;
}

} // namespace qbgl
