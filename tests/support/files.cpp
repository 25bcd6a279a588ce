#include "support/files.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace qbgl_test {

namespace {

void set_variable(const char *name, const char *value) {
    if (value != nullptr)
        setenv(name, value, 1);
    else
        unsetenv(name);
}

} // namespace

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qbgl-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::system_error(errno, std::generic_category(), pattern);
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void write_file(const std::filesystem::path &path, std::string_view content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

std::string read_file(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

File stream_of(std::string_view content) {
    File file(std::tmpfile(), std::fclose);
    if (file == nullptr || std::fwrite(content.data(), 1, content.size(), file.get()) != content.size())
        throw std::system_error(errno, std::generic_category(), "tmpfile");
    std::rewind(file.get());
    return file;
}

std::string rest_of(FILE *stream) {
    std::string rest;
    for (int byte = std::getc(stream); byte != EOF; byte = std::getc(stream)) rest += static_cast<char>(byte);
    return rest;
}

ScopedEnv::ScopedEnv(const char *name, const char *value) : name_(name) {
    if (const char *before = std::getenv(name)) before_ = before;
    set_variable(name, value);
}

ScopedEnv::~ScopedEnv() { set_variable(name_, before_ ? before_->c_str() : nullptr); }

} // namespace qbgl_test
