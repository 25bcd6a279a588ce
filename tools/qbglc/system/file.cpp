#include "system/file.h"

#include "system/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace qbgl::compiler {

namespace {

struct CloseFile {
    void operator()(FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

[[noreturn]] void fail(const std::filesystem::path &path, int error) {
    throw SystemError(fmt::format("{}: {}", path.string(), std::strerror(error)));
}

} // namespace

std::string read_file(const std::filesystem::path &path) {
    const File file(std::fopen(path.c_str(), "rb"));
    if (!file) fail(path, errno);
    std::string content;
    char buffer[65536];
    while (const size_t count = std::fread(buffer, 1, sizeof buffer, file.get())) content.append(buffer, count);
    if (std::ferror(file.get())) fail(path, errno);
    return content;
}

void replace_file(const std::filesystem::path &path, std::string_view content) {
    std::filesystem::path temporary = path;
    temporary += fmt::format(".{}{}", getpid(), TEMPORARY_SUFFIX);
    File file(std::fopen(temporary.c_str(), "wb"));
    if (!file) fail(temporary, errno);
    const bool written = std::fwrite(content.data(), 1, content.size(), file.get()) == content.size();
    const bool closed = std::fclose(file.release()) == 0;
    if (!written || !closed || std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        std::remove(temporary.c_str());
        fail(path, error);
    }
}

} // namespace qbgl::compiler
