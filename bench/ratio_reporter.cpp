#include "ratio_reporter.h"

#include <algorithm>
#include <cstdio>

namespace bench {

void RatioReporter::ReportRuns(const std::vector<Run> &runs) {
    for (const Run &run : runs) {
        const auto rate = run.counters.find("bytes_per_second");
        if (run.run_type == Run::RT_Iteration && !run.error_occurred && rate != run.counters.end())
            rates_[run.run_name.function_name].push_back(rate->second);
    }
    ConsoleReporter::ReportRuns(runs);
}

double RatioReporter::median(const std::string &name) const {
    const auto found = rates_.find(name);
    if (found == rates_.end()) return 0;
    std::vector<double> rates = found->second;
    std::sort(rates.begin(), rates.end());
    return rates[rates.size() / 2];
}

void RatioReporter::Finalize() {
    std::printf("\n%d-bit, medians, MB/s of input, and how many times a peer's speed of how many to reach\n%-34s %8s",
                static_cast<int>(sizeof(void *) * 8), "", "qbgl");
    for (const std::string &peer : peers_) std::printf(" %8s %15s", peer.c_str(), "");
    for (const Goal &goal : goals_) {
        const double ours = median(goal.work + "/qbgl");
        if (ours == 0) continue;
        std::printf("\n%-34s %8.0f", goal.work.c_str(), ours / 1e6);
        for (const std::string &peer : peers_) {
            const double rate = median(goal.work + "/" + peer);
            const auto wanted = goal.over.find(peer);
            if (rate == 0 || wanted == goal.over.end())
                std::printf(" %8s %15s", "-", "");
            else if (wanted->second == 0)
                std::printf(" %8.0f %6.2f%9s", rate / 1e6, ours / rate, "");
            else
                std::printf(" %8.0f %6.2f of %4.2f%c", rate / 1e6, ours / rate, wanted->second,
                            ours / rate >= wanted->second ? ' ' : '!');
        }
    }
    std::printf("\n");
}

} // namespace bench
