#include "tree/registry.h"

#include "qbgl.h"

#include <algorithm>
#include <memory>

namespace qbgl {

std::string Registry::name_of(uint16_t number) const {
    const auto found = by_number.find(number);
    if (found == by_number.end()) return std::to_string(number);
    // "c" and "posix" name a codeset after the locale that uses it.
    const auto own =
        std::find_if(found->second.begin(), found->second.end(), [](const auto &name) { return name != "c" && name != "posix"; });
    return own != found->second.end() ? *own : found->second.front();
}

Registry read_registry() {
    Registry result;
    const std::unique_ptr<FILE, int (*)(FILE *)> file(gl_path_search_no_ext(nullptr, "registry", GL_CM_DIRECTORY, GL_CM_VERSION),
                                                      fclose);
    if (file == nullptr) return result;
    char name[22];
    while (_gl_next_cs_name_from_registry(file.get(), name, sizeof name) == 1) {
        const uint16_t number = _gl_next_cs_number_from_registry(nullptr, file.get());
        if (number == GL_NO_CODESET) break;
        // The first line with a name is the one that counts.
        if (std::find(result.names.begin(), result.names.end(), name) == result.names.end()) {
            result.names.emplace_back(name);
            result.by_number[number].emplace_back(name);
        }
        for (int byte = 0; byte != '\n' && byte != EOF;) byte = fgetc(file.get());
    }
    return result;
}

} // namespace qbgl
