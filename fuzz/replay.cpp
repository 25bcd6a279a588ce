// Runs a fuzz target without libFuzzer: once over each file of the folders and files named on the command line, or with
// `--random SECONDS` over random inputs, always the same ones.
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
// There with sanitizers only: they end the process without a signal.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace {

constexpr size_t LONGEST = 500;

int run = 0;
std::vector<uint8_t> input;

void replay(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    input.assign(std::istreambuf_iterator<char>(file), {});
    LLVMFuzzerTestOneInput(input.data(), input.size());
    ++run;
}

// What the process died of is kept in a file.
void keep_input() {
    if (FILE *const file = std::fopen("crash-random", "wb")) {
        std::fwrite(input.data(), 1, input.size(), file);
        std::fclose(file);
    }
    std::fputs("the input is in crash-random\n", stderr);
}
void die(int signal) {
    keep_input();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void run_random(int seconds) {
    std::minstd_rand random(1);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::signal(SIGABRT, die);
    if (__sanitizer_set_death_callback != nullptr)
        __sanitizer_set_death_callback(keep_input);
    else
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE}) std::signal(signal, die);
    for (; std::chrono::steady_clock::now() < end; ++run) {
        input.resize(random() % LONGEST);
        const bool small = random() % 2 == 0; // small numbers are choices more often than large ones
        for (uint8_t &byte : input) byte = static_cast<uint8_t>((random() >> 8) % (small && random() % 2 == 0 ? 8 : 256));
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 3 && std::strcmp(argv[1], "--random") == 0) {
        run_random(std::atoi(argv[2]));
    } else {
        for (int i = 1; i < argc; ++i) {
            if (!std::filesystem::is_directory(argv[i])) {
                replay(argv[i]);
                continue;
            }
            for (const auto &entry : std::filesystem::recursive_directory_iterator(argv[i]))
                if (entry.is_regular_file()) replay(entry.path());
        }
    }
    std::printf("ran %d inputs\n", run);
    return run > 0 ? 0 : 1;
}
