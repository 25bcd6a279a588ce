#include "locale_command.h"

#include "files.h"
#include "locale_handle.h"
#include "locale_sections.h"

namespace qbgl {

ExitStatus run_locale(const std::string &specification, const Messages &messages) {
    const LocaleHandle locale = open_locale(specification);
    const std::vector<Section> sections = sections_of(*locale);
    return print(messages.as_json() ? as_json(sections) : readable(sections), messages);
}

} // namespace qbgl
