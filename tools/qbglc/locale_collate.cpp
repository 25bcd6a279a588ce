#include "locale_collate.h"

#include "object_text.h"

#include <fmt/format.h>

namespace qbgl::compiler {

// The direct form without passes: characters compare by their code values.
std::string collate_section(const Definition &, const Codeset &) {
    const uint16_t no_row = 0;
    TableWriter rows(sizeof no_row, &no_row);
    const auto write_row = [](FILE *stream, const void *) { return std::fputs("0000", stream) < 0 ? -1 : 0; };
    return fmt::format("as_specified\n{}1\n0 0 0 0 0\n", rows.text(write_row));
}

} // namespace qbgl::compiler
