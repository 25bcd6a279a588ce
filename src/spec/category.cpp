#include "spec/category.h"

namespace qbgl {

const Category *find_category(const Cursor &at) {
    for (const Category &category : CATEGORIES)
        if (at.begins_with(category.keyword)) return &category;
    return nullptr;
}

const Category *take_category(Cursor &at) {
    const Category *category = find_category(at);
    if (category != nullptr) at.skip(category->keyword);
    return category;
}

bool find_values(const char *text, Values &values) {
    for (int i = 0; i < CATEGORY_COUNT; ++i) {
        const char *found = strstr(text, LONG_FORM[i].data());
        if (found == nullptr) return false;
        values[i] = Cursor(found + LONG_FORM[i].size());
        if (!values[i].skip(EQUALS)) return false;
    }
    return true;
}

} // namespace qbgl

using namespace qbgl;

int _gl_is_category(const char *text, int *length) {
    const Category *category = text != nullptr ? find_category(Cursor(text)) : nullptr;
    if (category == nullptr) return 0;
    if (length != nullptr) *length = static_cast<int>(category->keyword.size());
    return static_cast<int>(category - CATEGORIES.data()) + 1;
}
