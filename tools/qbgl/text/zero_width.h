// Characters that take no column of their own, though no class of a locale says so: they shape, join or direct others, or are the
// vowels and the finals of a Hangul syllable whose initial has its columns.
#pragma once

#include "qbgl.h"

#include <vector>

namespace qbgl {

class ZeroWidth {
  public:
    explicit ZeroWidth(gl_locale &locale);

    bool contains(gl_wchar wc) const { return wc >= least_ && is_in_range(wc); }

  private:
    struct Range {
        gl_wchar first, last;
    };
    bool is_in_range(gl_wchar wc) const;

    std::vector<Range> ranges_; // in order
    gl_wchar least_ = UINT32_MAX;
};

} // namespace qbgl
