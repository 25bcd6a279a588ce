// Widths of characters, and their sums.
#pragma once

#include "ctype/case.h"
#include "ctype/class_name.h"
#include "mbwc/maps.h"

#include <algorithm>
#include <limits.h>

namespace qbgl {

// Adds up without a branch for each character: what has no width is found at the end.
class WidthSum {
  public:
    void add(unsigned traits) {
        quarters_ += traits + 1; // 4 for one column, 8 for two
        all_ &= traits;
    }
    void add_four(unsigned a, unsigned b, unsigned c, unsigned d) {
        quarters_ += a + b + c + d + 4;
        all_ &= a & b & c & d;
    }
    // Columns, as far as an int can count them, or -1.
    int width() const { return (all_ & HAS_WIDTH) != 0 ? static_cast<int>(std::min<uint64_t>(quarters_ / 4, INT_MAX)) : -1; }

  private:
    static_assert((IS_CHARACTER | HAS_WIDTH) + 1 == 4 && (IS_CHARACTER | HAS_WIDTH | HAS_TWO_COLUMNS) + 1 == 8);
    uint64_t quarters_ = 0;
    unsigned all_ = HAS_WIDTH;
};

// The traits of any wide character of a codeset; 0 for none.
class WideTraits {
  public:
    explicit WideTraits(gl_locale *locale)
        : maps_(locale->ctype.maps != nullptr ? *maps_of(locale) : NO_MAPS), table_(locale->ctype.codeset_table),
          full_width_(locale->ctype.maps != nullptr ? maps_.full_width : gl_ctype(locale, FULL_WIDTH_CLASS)) {}

    uint8_t of(gl_wchar wc) const { return wc >> 8 < maps_.page_count ? maps_.traits(wc) : look_up(wc); }
    const CodesetMaps &maps() const { return maps_; }
    // The mask of the class of characters of two columns.
    unsigned full_width() const { return full_width_; }

  private:
    [[gnu::noinline]] uint8_t look_up(gl_wchar wc) const {
        const void *entry = _gl_retrieve_wchar_multi_nl(nullptr, wc, table_);
        return entry != nullptr ? traits_of(value_at(entry), full_width_) : 0;
    }

    const CodesetMaps &maps_;
    const gl_multi *table_;
    unsigned full_width_;
};

// The width of wide text; -1, without an error number, when a character has none.
int wide_width(gl_locale *locale, const gl_wchar *begin, const gl_wchar *end);

} // namespace qbgl
