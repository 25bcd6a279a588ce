#include "commands/locale.h"

#include "commands/locale_items.h"
#include "commands/locale_sections.h"
#include "frame/files.h"
#include "tree/locale_handle.h"

namespace qbgl {

ExitStatus run_locale(const std::string &specification, const std::string &category, const Messages &messages) {
    const LocaleHandle locale = open_locale(specification, messages);
    if (!category.empty() && !category.starts_with("LC_")) return print(item_line(*locale, category, messages.as_json()), messages);
    std::vector<Section> sections = sections_of(*locale);
    if (!category.empty()) std::erase_if(sections, [&](const Section &section) { return section.title != category; });
    return print(messages.as_json() ? as_json(sections) : readable(sections), messages);
}

} // namespace qbgl
