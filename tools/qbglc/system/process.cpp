#include "system/process.h"

#include "system/error.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char **environ;

namespace qbgl::compiler {

namespace {

[[noreturn]] void fail(const std::string &program, const char *what, int error) {
    throw SystemError(fmt::format("{}: {}: {}", program, what, std::strerror(error)));
}

class Descriptor {
  public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        close();
        fd_ = std::exchange(other.fd_, -1);
        return *this;
    }
    ~Descriptor() { close(); }
    int get() const { return fd_; }
    void close() {
        if (fd_ >= 0) ::close(std::exchange(fd_, -1));
    }

  private:
    int fd_;
};

// Both ends close on exec: a child of another thread must not hold our pipe open.
struct Pipe {
    Descriptor read, write;
    explicit Pipe(const std::string &program) {
        std::array<int, 2> fds;
        if (pipe2(fds.data(), O_CLOEXEC) != 0) fail(program, "pipe", errno);
        read = Descriptor(fds[0]);
        write = Descriptor(fds[1]);
    }
};

struct Actions {
    posix_spawn_file_actions_t value;
    Actions() { posix_spawn_file_actions_init(&value); }
    ~Actions() { posix_spawn_file_actions_destroy(&value); }
    Actions(const Actions &) = delete;
    Actions &operator=(const Actions &) = delete;
};

// The child's messages and its view of bytes must not depend on the user's locale.
std::vector<char *> c_environment() {
    static char c_locale[] = "LC_ALL=C";
    std::vector<char *> result;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text = *variable;
        if (!text.starts_with("LC_") && !text.starts_with("LANG=") && !text.starts_with("LANGUAGE=")) result.push_back(*variable);
    }
    result.push_back(c_locale);
    result.push_back(nullptr);
    return result;
}

pid_t spawn(const std::vector<std::string> &arguments, const Pipe &in, const Pipe &out, const Pipe &err) {
    Actions actions;
    posix_spawn_file_actions_adddup2(&actions.value, in.read.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions.value, out.write.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions.value, err.write.get(), STDERR_FILENO);
    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments) argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    std::vector<char *> environment = c_environment();
    pid_t pid;
    const int error = posix_spawnp(&pid, argv[0], &actions.value, nullptr, argv.data(), environment.data());
    if (error != 0) fail(arguments[0], "cannot be run", error);
    return pid;
}

// Reads what is there; closes at the end of the stream.
void drain(Descriptor &fd, std::string &into) {
    std::array<char, 65536> buffer;
    const ssize_t count = read(fd.get(), buffer.data(), buffer.size());
    if (count > 0)
        into.append(buffer.data(), static_cast<size_t>(count));
    else if (count == 0 || errno != EINTR)
        fd.close();
}

// Writes what fits; closes at the end of the input, and when the child no longer reads.
void feed(Descriptor &fd, std::string_view &input) {
    if (!input.empty()) {
        const ssize_t count = write(fd.get(), input.data(), input.size());
        if (count > 0)
            input.remove_prefix(static_cast<size_t>(count));
        else if (errno != EINTR && errno != EAGAIN)
            input = {};
    }
    if (input.empty()) fd.close();
}

} // namespace

ProcessResult run_process(const std::vector<std::string> &arguments, std::string_view input) {
    std::signal(SIGPIPE, SIG_IGN); // a child that stops reading shows in its exit status
    Pipe in(arguments[0]), out(arguments[0]), err(arguments[0]);
    const pid_t pid = spawn(arguments, in, out, err);
    in.read.close();
    out.write.close();
    err.write.close();
    fcntl(in.write.get(), F_SETFL, O_NONBLOCK);
    if (input.empty()) in.write.close();

    ProcessResult result;
    while (out.read.get() >= 0 || err.read.get() >= 0) {
        // poll ignores the negative descriptors of streams that are closed.
        std::array<pollfd, 3> waits{{{in.write.get(), POLLOUT, 0}, {out.read.get(), POLLIN, 0}, {err.read.get(), POLLIN, 0}}};
        if (poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) fail(arguments[0], "poll", errno);
        if (waits[0].revents != 0) feed(in.write, input);
        if (waits[1].revents != 0) drain(out.read, result.output);
        if (waits[2].revents != 0) drain(err.read, result.errors);
    }
    in.write.close();
    int status = 0;
    while (waitpid(pid, &status, 0) < 0)
        if (errno != EINTR) fail(arguments[0], "waitpid", errno);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

} // namespace qbgl::compiler
