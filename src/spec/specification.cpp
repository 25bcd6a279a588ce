#include "spec/specification.h"

namespace qbgl {

namespace {

bool take_clause(Cursor &at, const char *registry_path, CategorySet &seen, Specification &spec) {
    const Category *category = take_category(at);
    if (category == nullptr || !seen.add(*category) || !at.skip(EQUALS)) return false;
    Clause &clause = spec.clauses[spec.count++];
    clause.category = category;
    return take_short_form(at, nullptr, registry_path, clause.form) && clause.form.codeset == spec.clauses[0].form.codeset;
}

bool parse_long(Cursor at, const char *registry_path, Specification &spec) {
    spec.is_long = true;
    CategorySet seen;
    do {
        if (!take_clause(at, registry_path, seen, spec)) return false;
        if (at.at_end()) return true;
        if (!at.skip(SEPARATOR)) return false;
    } while (!at.at_end());
    spec.ends_with_separator = true;
    return true;
}

bool parse_short(Cursor at, const char *registry_path, Specification &spec) {
    Clause &clause = spec.clauses[spec.count++];
    clause.category = nullptr;
    return take_short_form(at, nullptr, registry_path, clause.form) && at.at_end();
}

} // namespace

int parse_specification(const char *text, const char *registry_path, Specification &spec) {
    const Cursor at(text);
    const auto parse = find_category(at) != nullptr ? parse_long : parse_short;
    return parse(at, registry_path, spec) ? DONE : static_cast<int>(GL_EINVAL);
}

} // namespace qbgl
