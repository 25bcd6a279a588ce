// Conversion between two forms of Unicode.
#pragma once

#include "unicode/form.h"

namespace qbgl {

enum class Transcoded {
    ALL,          // the input is used up, or the terminator is converted
    NO_CHARACTER, // the input stands on bytes that are none, or that end inside one
    UNMAPPED,     // on a character that the target does not have
    NO_ROOM       // on a character that does not fit
};

// Where a conversion stands; what is advanced stands behind whole characters.
struct TranscodePosition {
    const uint8_t *in;
    uint8_t *out; // null: measuring
    int remaining, room;
};

using Transcoder = Transcoded (*)(TranscodePosition &at, bool to_terminator);

// The function for two different forms.
Transcoder transcoder(UnicodeForm source, UnicodeForm target);

// The largest ratio of output bytes to input bytes.
float growth(UnicodeForm source, UnicodeForm target);

} // namespace qbgl
