// Running the built client: its output, messages and exit status.
#pragma once

#include "files.h"
#include "locale_object.h"

#include <gtest/gtest.h>

#include <csignal>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qbgl_test {

inline constexpr const char *QBGL = QBGL_BINARY_DIR "/qbgl";
inline constexpr size_t WHOLE = 1 << 30;

struct Result {
    int status = -1;
    std::string out, err;
};

// Puts a chunk into the pipe whenever the reader has taken the one before, until there is no more or the reader is gone.
inline void feed(int pipe, std::string_view input, size_t chunk) {
    for (size_t at = 0; at < input.size(); at += chunk) {
        const std::string_view part = input.substr(at, chunk);
        if (write(pipe, part.data(), part.size()) != static_cast<ssize_t>(part.size())) return;
        for (int waiting = 1; waiting > 0 && ioctl(pipe, FIONREAD, &waiting) == 0; usleep(20)) {
            pollfd state{pipe, POLLOUT, 0};
            if (poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0) return;
        }
    }
}

inline Result run(std::vector<std::string> words, std::string_view input = "", size_t chunk = WHOLE) {
    const File out = stream_of(""), err = stream_of("");
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[0], 0), dup2(fileno(out.get()), 1), dup2(fileno(err.get()), 2);
        close(ends[0]), close(ends[1]);
        std::vector<char *> pointers;
        for (std::string &word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        execvp(pointers[0], pointers.data());
        _exit(127);
    }
    signal(SIGPIPE, SIG_IGN);
    close(ends[0]);
    feed(ends[1], input, chunk);
    close(ends[1]);
    int status = 0;
    waitpid(child, &status, 0);
    rewind(out.get()), rewind(err.get());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, rest_of(out.get()), rest_of(err.get())};
}

// The words of `arguments` are separated by blanks; `words` stand before them.
inline Result qbgl(const std::string &arguments, std::string_view input = "", size_t chunk = WHOLE,
                   std::vector<std::string> words = {QBGL}) {
    std::istringstream stream(arguments);
    for (std::string word; stream >> word;) words.push_back(word);
    return run(words, input, chunk);
}

// A call of the client and all that comes of it.
struct Case {
    std::string arguments, input;
    int status;
    std::string out, err;
};

// Each is run with its input at once and, unless that is long, byte by byte.
inline void expect_all(const std::string &command, const std::vector<Case> &cases, const std::vector<std::string> &words = {QBGL}) {
    constexpr size_t LONG = 99;
    for (const Case &one : cases) {
        SCOPED_TRACE(command + one.arguments + " < " + one.input.substr(0, LONG));
        for (const size_t chunk : {WHOLE, size_t{1}}) {
            if (chunk == 1 && (one.input.empty() || one.input.size() > LONG)) continue;
            const Result result = qbgl(command + one.arguments, one.input, chunk, words);
            EXPECT_EQ(result.status, one.status);
            EXPECT_EQ(result.out, one.out);
            EXPECT_EQ(result.err, one.err);
        }
    }
}

// A tree with the built registry and conversions, and with locales of its own.
class ClientTree : public testing::Test {
  protected:
    ClientTree() {
        std::filesystem::create_directories(tree_.path() / "vrn/lc11");
        for (const char *name : {"vrn/cm3", "vrn/cv9"})
            std::filesystem::create_directory_symlink(std::string(QBGL_TREE "/") + name, tree_.path() / name);
    }

    void add(const std::string &file, const LocaleObject &object) { write_file(tree_ / ("vrn/lc11/" + file), object.text()); }

    std::vector<std::string> words(const std::string &set = "X=") {
        return {"env", "QUORBANEDIR=" + tree_.path().string(), set, QBGL};
    }
    Result client(const std::string &arguments, std::string_view input = "", size_t chunk = WHOLE) {
        return qbgl(arguments, input, chunk, words());
    }

    TempDir tree_;
};

} // namespace qbgl_test
