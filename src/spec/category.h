// The category keywords of long specifications.
#pragma once

#include "qbgl.h"
#include "spec/text.h"

#include <array>

namespace qbgl {

inline constexpr int CATEGORY_COUNT = 6;

struct Category {
    std::string_view keyword;
    int selector; // the category number of the handle
};

// In the order in which _gl_is_category numbers them, which is that of nothing else.
inline constexpr std::array<Category, CATEGORY_COUNT> CATEGORIES = {{
    {"GL_CTYPE", GL_CAT_CTYPE},
    {"GL_COLLATE", GL_CAT_COLLATE},
    {"GL_TIME", GL_CAT_TIME},
    {"GL_MONETARY", GL_CAT_MONETARY},
    {"GL_NUMERIC", GL_CAT_NUMERIC},
    {"GL_MESSAGES", GL_CAT_MESSAGES},
}};

// Keywords by selector less GL_CAT_CTYPE: the order of the long form.
inline constexpr std::array<std::string_view, CATEGORY_COUNT> LONG_FORM = [] {
    std::array<std::string_view, CATEGORY_COUNT> keywords;
    for (const Category &category : CATEGORIES) keywords[category.selector - GL_CAT_CTYPE] = category.keyword;
    return keywords;
}();

// Null-terminated.
constexpr const char *keyword_of(int selector) { return LONG_FORM[selector - GL_CAT_CTYPE].data(); }

// The category whose keyword comes next, or null.
const Category *find_category(const Cursor &at);
const Category *take_category(Cursor &at);

class CategorySet {
  public:
    // False when it is there already.
    bool add(const Category &category) {
        const unsigned bit = 1U << category.selector;
        const bool added = (seen_ & bit) == 0;
        seen_ |= bit;
        return added;
    }

  private:
    unsigned seen_ = 0;
};

// The values of the six categories, in the order of the long form, wherever in the text their keywords stand. False when one is
// missing or not followed by " = ".
using Values = std::array<Cursor, CATEGORY_COUNT>;
bool find_values(const char *text, Values &values);

} // namespace qbgl
