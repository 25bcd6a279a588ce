// Prints, after the ordinary table, how many times as fast as each peer the library is, beside the ratio that is to be reached.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

struct Goal {
    std::string work;                   // benchmarks are named WORK/qbgl and WORK/PEER
    std::map<std::string, double> over; // by peer; 0 where none is to be reached
};

class RatioReporter : public benchmark::ConsoleReporter {
  public:
    RatioReporter(std::vector<std::string> peers, std::vector<Goal> goals) : peers_(std::move(peers)), goals_(std::move(goals)) {}
    void ReportRuns(const std::vector<Run> &runs) override;
    void Finalize() override;

  private:
    double median(const std::string &name) const;

    std::vector<std::string> peers_;
    std::vector<Goal> goals_;
    std::map<std::string, std::vector<double>> rates_; // bytes a second of each repetition
};

} // namespace bench
