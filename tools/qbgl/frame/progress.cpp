#include "frame/progress.h"

#include <algorithm>
#include <fmt/format.h>
#include <unistd.h>

namespace qbgl {

Progress::Progress(uint64_t total, const Messages &messages, bool writes_to_terminal)
    : total_(total), wanted_(!messages.as_json() && !writes_to_terminal && isatty(STDERR_FILENO) != 0) {}

void Progress::add(uint64_t bytes) {
    done_ += bytes;
    if (!wanted_) return;
    const Clock::time_point now = Clock::now();
    if (now - last_ < std::chrono::milliseconds(200)) return;
    last_ = now;
    const double mebibytes = static_cast<double>(done_) / (1 << 20);
    const std::string percent = total_ > 0 ? fmt::format(" {:3}%", std::min<uint64_t>(100, done_ * 100 / total_)) : "";
    fmt::print(stderr, "\r{:.1f} MiB{} ", mebibytes, percent);
    shown_ = true;
}

void Progress::clear() {
    if (shown_) fmt::print(stderr, "\r{:24}\r", "");
    shown_ = false;
}

} // namespace qbgl
