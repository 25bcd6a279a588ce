#include "tree/directories.h"

#include <qbgl.h>

#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>

namespace qbgl {

namespace {

std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::vector<std::string> directories_of(const char *versioned, const char *plain) {
    std::vector<std::string> result;
    const std::string path = variable("GL_PATH");
    if (path.empty()) {
        const std::filesystem::path vrn = std::filesystem::path(tree_directory()) / "vrn";
        return {vrn / versioned, vrn / plain};
    }
    for (size_t at = 0; at < path.size();) {
        const size_t end = std::min(path.find(':', at), path.size());
        if (end > at) result.push_back(path.substr(at, end - at));
        at = end + 1;
    }
    return result;
}

} // namespace

void use_tree_beside_program() {
    if (!variable("QUORBANEDIR").empty()) return;
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return;
    for (const char *place : {"quorbane", "../share/quorbane"}) {
        const std::filesystem::path tree = (program.parent_path() / place).lexically_normal();
        if (!std::filesystem::is_directory(tree / "vrn", error)) continue;
        setenv("QUORBANEDIR", tree.c_str(), 1);
        return;
    }
}

std::string tree_directory() {
    const std::string tree = variable("QUORBANEDIR");
    return tree.empty() ? QBGL_DEFAULT_DIRECTORY : tree;
}

std::vector<std::string> conversion_directories() { return directories_of(GL_CV_DIRECTORY GL_CV_VERSION, GL_CV_DIRECTORY); }

std::vector<std::string> locale_directories() { return directories_of(GL_LC_DIRECTORY GL_LC_VERSION, GL_LC_DIRECTORY); }

std::vector<std::string> charmap_directories() { return directories_of(GL_CM_DIRECTORY GL_CM_VERSION, GL_CM_DIRECTORY); }

std::string tree_advice() {
    return variable("GL_PATH").empty() ? "set QUORBANEDIR to an installation tree, or make one with `qbglc tree DIR`"
                                       : "GL_PATH takes the place of the tree's directories: unset it, or add them to it";
}

Failure no_tree() {
    const std::string path = variable("GL_PATH");
    const std::string place = printable(path.empty() ? tree_directory() : path);
    return {ExitStatus::SYSTEM, fmt::format("there is no codeset registry in {}: {}", place, tree_advice()),
            JsonObject().text("directory", place)};
}

} // namespace qbgl
