// What a specification is turned into to find files: file names, the message directory, the codeset number.
#include "spec/registry.h"
#include "spec/specification.h"

#include <algorithm>

using namespace qbgl;

namespace {

constexpr size_t MESSAGE_DIRECTORY_LENGTH = 10;

void put_long_file_name(Writer &out, const Specification &spec, const char *directory) {
    for (int i = 0; i < spec.count; ++i) {
        if (i > 0) out.put(SEPARATOR);
        out.put(spec.clauses[i].category->keyword);
        out.put(EQUALS);
        out = Writer(pathcat_mark(out.position(), directory));
        put_file_name(out, spec.clauses[i].form);
    }
    if (spec.ends_with_separator) out.put(SEPARATOR);
}

int write_file_name(const char *text, char *fname_out, const char *registry_path, const char *directory) {
    Specification spec;
    if (const int outcome = parse_specification(text, registry_path, spec)) return outcome;
    Writer out(fname_out);
    if (spec.is_long)
        put_long_file_name(out, spec, directory);
    else
        put_file_name(out, spec.clauses[0].form);
    out.terminate();
    return DONE;
}

const Clause *messages_clause(const Specification &spec) {
    const auto *end = spec.clauses.begin() + spec.count;
    const auto *found = std::find_if(spec.clauses.begin(), end, [](const Clause &clause) {
        return clause.category == nullptr || clause.category->selector == GL_CAT_MESSAGES;
    });
    return found != end ? found : nullptr;
}

int write_message_directory(const char *text, char *dname_out, const char *registry_path, const char *directory) {
    Specification spec;
    if (const int outcome = parse_specification(text, registry_path, spec)) return outcome;
    const Clause *clause = messages_clause(spec);
    if (clause == nullptr) return GL_EINVAL;

    // Ten characters of what follows the keyword: a directory comes first, and nothing behind its tenth character matters.
    char name[MESSAGE_DIRECTORY_LENGTH + 1 + FILE_NAME_MAX];
    Writer out(name);
    if (spec.is_long && directory != nullptr && *directory != '\0') {
        out.put(std::string_view(directory, strnlen(directory, MESSAGE_DIRECTORY_LENGTH)));
        out.put(PATH_COOKIE);
    }
    put_file_name(out, clause->form);
    memcpy(dname_out, name, MESSAGE_DIRECTORY_LENGTH);
    dname_out[MESSAGE_DIRECTORY_LENGTH] = '\0';
    return DONE;
}

uint16_t codeset_of_long_form(void *ctx, const char *text, const char *registry_path) {
    Specification spec;
    if (report(ctx, parse_specification(text, registry_path, spec)) < 0) return GL_NO_CODESET;
    return spec.clauses[0].form.codeset;
}

} // namespace

int gl_lc_spec2lc_fname(void *ctx, const char *spec, char *fname_out, const char *registry_path, const char *directory) {
    return over_copy(ctx, spec, fname_out,
                     [=](const char *text) { return write_file_name(text, fname_out, registry_path, directory); });
}

int gl_lc_spec2msg_dname(void *ctx, const char *spec, char *dname_out, const char *registry_path, const char *directory) {
    return over_copy(ctx, spec, dname_out,
                     [=](const char *text) { return write_message_directory(text, dname_out, registry_path, directory); });
}

uint16_t gl_lc_spec2cs_num(void *ctx, const char *spec, const char *registry_path) {
    const WorkingCopy copy(spec);
    if (!copy) {
        set_error(ctx, GL_EINVAL);
        return GL_NO_CODESET;
    }
    Cursor at(copy.get());
    if (find_category(at) != nullptr) return codeset_of_long_form(ctx, copy.get(), registry_path);

    // What is no short form is taken for the name of a codeset; so is what a short form leaves over.
    ShortForm form;
    if (!take_short_form(at, nullptr, registry_path, form))
        at = Cursor(copy.get());
    else if (at.at_end())
        return form.codeset;
    return codeset_number(ctx, at.position(), registry_path);
}
