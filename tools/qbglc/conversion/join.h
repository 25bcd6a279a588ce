// A conversion: two codesets joined on the characters of Unicode.
#pragma once

#include "charmap/codeset.h"
#include "conversion/substitutions.h"

#include <vector>

namespace qbgl::compiler {

inline constexpr uint8_t SHIFT_OUT = 0x0E, SHIFT_IN = 0x0F;

struct ConversionRecord {
    Sequence key;
    uint8_t control; // as cvlib/record.h tells; 0: a character that the target cannot express
    Sequence output;
};

struct Lengths {
    int min = 0, max = 0;
    void count(int length) {
        if (max == 0 || length < min) min = length;
        if (length > max) max = length;
    }
};

struct Conversion {
    bool source_stateful = false, target_stateful = false;
    Lengths source, target;  // as the object declares them, bytes a character
    int growth = 0, per = 1; // at most `growth` output bytes for `per` input bytes
    std::vector<ConversionRecord> main, shifted;
    size_t substituted = 0, unmapped = 0; // characters of the source
};

Conversion join(const Codeset &source, const Codeset &target, const Substitutions &substitutions);

} // namespace qbgl::compiler
