#include "commands/locale.h"

#include "commands/locale_sections.h"
#include "frame/files.h"
#include "tree/locale_handle.h"

namespace qbgl {

ExitStatus run_locale(const std::string &specification, const Messages &messages) {
    const LocaleHandle locale = open_locale(specification);
    const std::vector<Section> sections = sections_of(*locale);
    return print(messages.as_json() ? as_json(sections) : readable(sections), messages);
}

} // namespace qbgl
