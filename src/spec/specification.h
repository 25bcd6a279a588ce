// A specification of either form, parsed as far as it has file names: every codeset known, all of them the same.
#pragma once

#include "spec/category.h"
#include "spec/short_form.h"

namespace qbgl {

struct Clause {
    const Category *category; // null for a short form
    ShortForm form;
};

struct Specification {
    std::array<Clause, CATEGORY_COUNT> clauses;
    int count = 0;
    bool is_long = false;
    bool ends_with_separator = false;
};

// DONE or GL_EINVAL, whatever the reason. The views of the result are into the text.
int parse_specification(const char *text, const char *registry_path, Specification &spec);

} // namespace qbgl
