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
    std::printf("\n%d-bit, medians, MB/s of input\n%-34s %8s %8s %8s %16s %16s\n", static_cast<int>(sizeof(void *) * 8), "", "qbgl",
                "iconv", "ICU", "over iconv", "over ICU");
    const auto ratio = [](double ours, double peer, double goal) {
        if (peer == 0)
            std::printf("%16s", "-");
        else
            std::printf("  %5.2f of %5.2f%s", ours / peer, goal, ours / peer >= goal ? " " : "!");
    };
    for (const Goal &goal : goals_) {
        const double ours = median(goal.work + "/qbgl"), iconv = median(goal.work + "/iconv"), icu = median(goal.work + "/icu");
        if (ours == 0) continue;
        std::printf("%-34s %8.0f %8.0f %8.0f", goal.work.c_str(), ours / 1e6, iconv / 1e6, icu / 1e6);
        ratio(ours, iconv, goal.over_iconv);
        ratio(ours, icu, goal.over_icu);
        std::printf("\n");
    }
}

} // namespace bench
