// Benchmarks that are named "WHAT/OURS" and "WHAT/THEIRS", with a table of ratios at the end.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "table.h"

namespace Bench {

/// Prints each run as usual, and at the end how many times as long each other one took as ours;
/// that also goes into the table of all benchmarks.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  /// \param benchmark  What the rows of the table are under.
  /// \param ours  The last part of the names of what the others are compared with.
  RatioReporter(std::string benchmark, std::string ours)
      : benchmark_(std::move(benchmark)), ours_(std::move(ours)) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) Note(run);
  }

  void Finalize() override {
    std::printf("\nTime of the others, %s = 1 (more is slower)\n", ours_.c_str());
    for (auto& [group, times] : times_) {
      // Interleaved runs come in any order.
      std::sort(times.begin(), times.end());
      PrintGroup(group, times);
    }
  }

 private:
  using Times = std::vector<std::pair<std::string, double>>;

  /// With repetitions, the median stands for all of them.
  void Note(const Run& run) {
    if (run.error_occurred) return;
    if (run.run_type == Run::RT_Aggregate ? run.aggregate_name != "median" : run.repetitions > 1) {
      return;
    }
    const std::string& name = run.run_name.function_name;
    const std::size_t slash = name.rfind('/');
    const std::string group = name.substr(0, slash);
    times_[group].emplace_back(name.substr(slash + 1), run.GetAdjustedCPUTime());
  }

  void PrintGroup(const std::string& group, const Times& times) const {
    double own = 0;
    for (const auto& [name, time] : times) {
      if (name == ours_) own = time;
    }
    if (own == 0) return;
    std::string others;
    for (const auto& [name, time] : times) {
      if (name == ours_) continue;
      if (!others.empty()) others += ", ";
      others += name + Text(" %.2f times", time / own);
    }
    std::printf("  %-20s  %s\n", group.c_str(), others.c_str());
    AddRow(benchmark_, group + ": processor time", Text("%.3f us", own / 1e3), others);
  }

  std::string benchmark_;
  std::string ours_;
  std::map<std::string, Times> times_;
};

}  // namespace Bench
