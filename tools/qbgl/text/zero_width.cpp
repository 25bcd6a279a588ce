#include "text/zero_width.h"

#include "text/conversion.h"
#include "text/utf8.h"
#include "tree/locale_handle.h"

#include <algorithm>

namespace qbgl {

namespace {

// Unicode's format characters (general category Cf) but for the soft hyphen and those that enclose numbers, and the jamo of
// the Hangul_Syllable_Type V and T.
constexpr struct {
    char32_t first, last;
} CODES[] = {
    {0x061C, 0x061C},   {0x1160, 0x11FF},   {0x180E, 0x180E},   {0x200B, 0x200F},   {0x202A, 0x202E}, {0x2060, 0x2064},
    {0x2066, 0x206F},   {0xD7B0, 0xD7C6},   {0xD7CB, 0xD7FB},   {0xFEFF, 0xFEFF},   {0xFFF9, 0xFFFB}, {0x13430, 0x13438},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F},
};

} // namespace

ZeroWidth::ZeroWidth(gl_locale &locale) {
    std::unique_ptr<Conversion> conversion;
    const Opened opened = Conversion::open("utf8", category_codeset(locale, GL_CAT_CTYPE), conversion);
    if (opened != Opened::CONVERSION && opened != Opened::SAME_CODESET) return;
    std::vector<gl_wchar> values;
    OutputBuffer bytes;
    for (const auto &[first, last] : CODES) {
        for (char32_t code = first; code <= last; ++code) {
            bytes.clear();
            const std::string character = utf8_of(code);
            Shift shift;
            if (opened == Opened::SAME_CODESET)
                bytes.append(character);
            else if (const Step step = conversion->step(shift, character, bytes); step.outcome != Outcome::DONE || step.substituted)
                continue;
            gl_wchar value = 0;
            if (_qbx_gl_full_mbtowc(&locale, &value, bytes.text().data(), static_cast<int>(bytes.size())) > 0)
                values.push_back(value);
        }
    }
    std::sort(values.begin(), values.end());
    if (!values.empty()) least_ = values.front();
    for (const gl_wchar value : values) {
        if (!ranges_.empty() && ranges_.back().last + 1 == value)
            ranges_.back().last = value;
        else
            ranges_.push_back({value, value});
    }
}

bool ZeroWidth::is_in_range(gl_wchar wc) const {
    const auto behind = std::upper_bound(ranges_.begin(), ranges_.end(), wc,
                                         [](gl_wchar value, const Range &range) { return value < range.first; });
    return behind != ranges_.begin() && wc <= behind[-1].last;
}

} // namespace qbgl
