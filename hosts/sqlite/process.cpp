#include "process.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>

namespace qbgl_sqlite {

namespace {

constexpr char ICU_WISH[] = "GL_USEGLU", TREE[] = "QUORBANEDIR";

std::string tree_beside_extension; // NOLINT(readability-identifier-naming)

// Which connections may have ICU, they tell themselves.
char *library_environment(const char *name) {
    static char yes[] = "1";
    if (strcmp(name, ICU_WISH) == 0) return yes;
    char *const value = getenv(name);
    const bool is_told = strcmp(name, TREE) != 0 || (value != nullptr && *value != '\0') || tree_beside_extension.empty();
    return is_told ? value : tree_beside_extension.data();
}

std::string find_tree_beside_extension() {
    Dl_info file;
    if (dladdr(reinterpret_cast<const void *>(&find_tree_beside_extension), &file) == 0) return {};
    std::error_code error;
    const std::filesystem::path extension = std::filesystem::canonical(file.dli_fname, error);
    if (error) return {};
    for (const char *place : {"../../quorbane", "../../../share/quorbane"}) {
        const std::filesystem::path tree = (extension.parent_path() / place).lexically_normal();
        if (std::filesystem::is_directory(tree / "vrn", error)) return tree;
    }
    return {};
}

} // namespace

void prepare_library() {
    static const bool prepared = [] {
        tree_beside_extension = find_tree_beside_extension();
        return gl_setextfunc(nullptr, GL_EXT_GETENV, reinterpret_cast<gl_extfunc>(library_environment)) == 0;
    }();
    (void)prepared;
}

bool environment_wants_icu() {
    const char *const wish = getenv(ICU_WISH);
    return wish != nullptr && (strcmp(wish, "1") == 0 || strcmp(wish, "2") == 0);
}

} // namespace qbgl_sqlite
