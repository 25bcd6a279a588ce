#include "frame/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qbgl {

namespace {

bool same_file(const struct stat &a, const struct stat &b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

} // namespace

Failure file_failure(std::string_view doing, const std::string &name) {
    const std::string reason = std::strerror(errno);
    return {ExitStatus::SYSTEM, fmt::format("cannot {} {}: {}", doing, printable(name), reason),
            JsonObject().text("file", name).text("reason", reason)};
}

std::vector<std::string> inputs_of(const std::vector<std::string> &files) {
    return files.empty() ? std::vector<std::string>{STANDARD_STREAM} : files;
}

void check_readable(const std::vector<std::string> &files) {
    for (const std::string &name : files) {
        if (name != STANDARD_STREAM && access(name.c_str(), R_OK) != 0) throw file_failure("open", name);
    }
}

void check_writable(const std::string &name) {
    if (name == STANDARD_STREAM || access(name.c_str(), W_OK) == 0) return;
    const size_t slash = name.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : name.substr(0, slash + 1);
    if (errno != ENOENT || access(directory.c_str(), W_OK) != 0) throw file_failure("write", name);
}

std::string shown_name(const std::string &file) { return file == STANDARD_STREAM ? "standard input" : printable(file); }

ExitStatus print(const std::string &text, const Messages &messages) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return ExitStatus::OK;
    return messages.fail(ExitStatus::SYSTEM, fmt::format("cannot write standard output: {}", std::strerror(errno)));
}

InputFile::InputFile(const std::string &name) : name_(name == STANDARD_STREAM ? "standard input" : name) {
    if (name != STANDARD_STREAM && (descriptor_ = ::open(name.c_str(), O_RDONLY | O_CLOEXEC)) < 0)
        throw file_failure("open", name_);
    struct stat status {};
    if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) size_ = static_cast<uint64_t>(status.st_size);
}

InputFile::~InputFile() {
    if (descriptor_ > 0) ::close(descriptor_);
}

size_t InputFile::read(char *buffer, size_t size) {
    for (;;) {
        const ssize_t count = ::read(descriptor_, buffer, size);
        if (count >= 0) return static_cast<size_t>(count);
        if (errno != EINTR) throw file_failure("read", name_);
    }
}

OutputFile::OutputFile(std::string name, const std::vector<std::string> &inputs) : name_(std::move(name)) {
    const bool is_standard = name_ == STANDARD_STREAM;
    if (is_standard) name_ = "standard output";
    struct stat output {
    }, input{};
    const bool exists = (is_standard ? fstat(1, &output) : stat(name_.c_str(), &output)) == 0 && S_ISREG(output.st_mode);
    for (const std::string &other : inputs) {
        const bool known = other == STANDARD_STREAM ? fstat(0, &input) == 0 : stat(other.c_str(), &input) == 0;
        if (exists && known && same_file(output, input)) {
            throw Failure{ExitStatus::CALL, fmt::format("{} is input and output: choose another output file", printable(name_)),
                          JsonObject().text("file", name_)};
        }
    }
    if (is_standard) return;
    descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor_ < 0) throw file_failure("write", name_);
}

OutputFile::~OutputFile() {
    if (descriptor_ > 1) ::close(descriptor_);
}

void OutputFile::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) throw file_failure("write", name_);
        if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
    }
}

bool OutputFile::is_terminal() const { return isatty(descriptor_) != 0; }

void OutputFile::close() {
    const int descriptor = descriptor_;
    descriptor_ = -1;
    if (descriptor >= 0 && ::close(descriptor) != 0) throw file_failure("write", name_);
}

} // namespace qbgl
