#include "process.h"

#include <dlfcn.h>
#include <filesystem>

namespace qbgl_sqlite {

void use_tree_beside_extension() {
    Dl_info file;
    if (dladdr(reinterpret_cast<const void *>(&use_tree_beside_extension), &file) == 0) return;
    std::error_code error;
    const std::filesystem::path extension = std::filesystem::canonical(file.dli_fname, error);
    if (error) return;
    for (const char *place : {"../../quorbane", "../../../share/quorbane"}) {
        const std::filesystem::path tree = (extension.parent_path() / place).lexically_normal();
        if (!std::filesystem::is_directory(tree / "vrn", error)) continue;
        one_at_a_time([&] { return gl_set_directory(tree.c_str()); });
        return;
    }
}

} // namespace qbgl_sqlite
