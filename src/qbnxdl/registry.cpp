#include "qbnxdl/registry.h"

#include "qbnxdl/text.h"
#include "util/growing.h"

namespace qbgl {
namespace {

using PathBuffer = Growing<char>;

bool append(PathBuffer &buffer, std::string_view text) { return buffer.append(text.data(), static_cast<uint32_t>(text.size())); }

// The rest of a line, without its newline. The end of the file ends a line too.
bool append_line(PathBuffer &buffer, int byte, FILE *stream) {
    for (; byte != '\n' && byte != EOF; byte = getc(stream)) {
        if (!buffer.append(static_cast<char>(byte))) return false;
    }
    return true;
}

} // namespace

Owned<char> registry_path(const char *install_dir) { return join({install_dir, "/vrn/etc/dllregistry"}); }

int get_dl_name(FILE *stream, const char *install_dir, char **path, uint32_t *capacity) {
    PathBuffer buffer(std::exchange(*path, nullptr), std::exchange(*capacity, 0));
    const int first = getc(stream);
    if (first == EOF) return 0;
    const bool complete =
        append(buffer, install_dir) && append(buffer, "/vrn/dll/") && append_line(buffer, first, stream) && buffer.append('\0');
    if (!complete) return -1;
    *capacity = buffer.capacity();
    *path = buffer.release();
    return 0;
}

} // namespace qbgl
