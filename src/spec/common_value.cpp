// The short form that all six clauses of a long form share.
#include "spec/long_form.h"

#include <algorithm>

using namespace qbgl;

namespace {

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return ascii::to_lower(x) == ascii::to_lower(y); });
}

// The six values, walked in step.
class CommonValue {
  public:
    explicit CommonValue(const Values &values) : at_(values), start_(values[0].position()) {}

    std::string_view text() const { return {start_, static_cast<size_t>(at_[0].position() - start_)}; }
    template <class Predicate> bool all(Predicate holds) const { return std::all_of(at_.begin(), at_.end(), holds); }
    bool all_end() const {
        return all([](const Cursor &at) { return at.at_value_end(); });
    }
    bool skip(char c) {
        return std::all_of(at_.begin(), at_.end(), [c](Cursor &at) { return at.skip(c); });
    }

    // Takes the same run of characters from each; false when they differ in more than case.
    template <class Predicate> bool take_while(Predicate belongs, std::string_view &run) {
        run = at_[0].take_while(belongs);
        return std::all_of(at_.begin() + 1, at_.end(),
                           [&](Cursor &at) { return equal_ignoring_case(run, at.take_while(belongs)); });
    }

    // Column by column, so that the first column that is wrong decides how this fails.
    int take_place() {
        for (int column = 0; column < PLACE_LENGTH; ++column) {
            const char first = at_[0].peek();
            const bool underscore = column == 2;
            if (!underscore && !all([](const Cursor &at) { return ascii::is_alpha(at.peek()); })) return SILENT;
            if (underscore && first != '_') return GL_EINVAL;
            if (!all([first](const Cursor &at) { return ascii::to_lower(at.peek()) == ascii::to_lower(first); })) return GL_EINVAL;
            for (Cursor &at : at_) at.take(1);
        }
        return DONE;
    }

  private:
    Values at_;
    const char *start_;
};

int take_codeset_and_modifier(CommonValue &value, void *ctx, const char *registry_path) {
    std::string_view codeset, modifier;
    if (!value.skip('.') || !value.take_while(is_codeset_char, codeset)) return GL_EINVAL;
    if (codeset.starts_with(';') || codeset.starts_with('#') || codeset.size() > CODESET_NAME_MAX) return GL_EINVAL;
    if (codeset_number(ctx, codeset, registry_path) == GL_NO_CODESET) return SILENT;
    if (value.all_end()) return DONE;
    if (!value.skip('@') || !value.take_while(ascii::is_alnum, modifier)) return GL_EINVAL;
    return value.all_end() ? DONE : static_cast<int>(GL_EINVAL);
}

int unite(void *ctx, const char *text, char *short_out, const char *registry_path) {
    Values values;
    if (!find_values(text, values)) return GL_EINVAL;
    CommonValue value(values);
    int outcome = value.take_place();
    if (outcome == DONE && !value.all_end()) outcome = take_codeset_and_modifier(value, ctx, registry_path);
    if (outcome != DONE) return outcome;
    if (value.text().size() > VALUE_MAX) return GL_EINVAL;
    Writer out(short_out);
    out.put_lower(value.text());
    out.terminate();
    return DONE;
}

} // namespace

int gl_lc_spec2lc_short(void *ctx, const char *long_spec, char *short_out, const char *registry_path) {
    return over_copy(ctx, long_spec, short_out, [=](const char *text) { return unite(ctx, text, short_out, registry_path); });
}
