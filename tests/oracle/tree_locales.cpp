#include "oracle/tree_locales.h"

#include "support/files.h"

#include "recipe/locales.h"

namespace qbgl_test {

using qbgl::compiler::Catalogue;

std::vector<TreeLocale> tree_locales() {
    const auto catalogue = Catalogue::load(QBGL_SOURCE_DIR "/data");
    const std::string recipe = QBGL_SOURCE_DIR "/data/locales";
    std::vector<TreeLocale> locales;
    for (const auto &task : qbgl::compiler::parse_locales(catalogue, read_file(recipe), recipe)) {
        const Catalogue::Codeset &codeset = catalogue.codesets()[task.codeset];
        const std::string place = task.file.parent_path().string(), modifier = task.file.stem().string().substr(4);
        const std::string at = modifier.empty() || place.empty() ? "" : "@" + modifier;
        locales.push_back({place.empty() ? "default" : place + at, codeset.name,
                           place.empty() ? task.file.string() : place + "." + codeset.name + at, task.definition,
                           codeset.source.argument, task.codeset, task.collation.empty()});
    }
    return locales;
}

} // namespace qbgl_test
