// The order of Thai dictionaries, in any codeset that holds Thai.
//
// Four passes, all forward; a later one decides where the earlier ones find no difference.
//   letters      digits, Latin letters, Thai consonants, Thai vowels, then all other characters by code value. A vowel that is
//                written before its consonant counts behind it.
//   marks        tone marks and other signs above and below a letter, by the first place where they differ; none comes first
//   variants     capitals before small letters, the digits 0 to 9 before Thai ones, the short form of sara aa before the long one
//   punctuation  controls, spaces and punctuation by the first place where they differ; none comes first
// Only equal texts are equal: a leading vowel that no consonant follows is a variant, too.
#pragma once

#include "coll/key_writer.h"
#include "coll/table_walk.h"

namespace qbgl {

// How the characters of a codeset are known.
enum class ThaiLayout : uint8_t {
    BYTES, // TIS-620 and what extends it
    UTF8,
    UNITS, // a code value is Unicode's
    OTHER, // without Thai: ASCII, and all else by code value
};

ThaiLayout thai_layout(gl_locale *locale);

inline constexpr size_t THAI_PASSES = 4;

// Of the first passes, at least one.
int compare_thai(ThaiLayout layout, WideSpan a, WideSpan b, size_t passes = THAI_PASSES);
void write_thai_key(KeyWriter &key, ThaiLayout layout, WideSpan text, size_t passes = THAI_PASSES);

// Whether a character is a vowel that is written before its consonant.
bool leads_consonant(ThaiLayout layout, gl_wchar wc);

// The length of the whole key. A weight is one byte; that of a character by code value has five more.
int thai_key(ThaiLayout layout, char *out, WideSpan text, int capacity);

} // namespace qbgl
