#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace zavelo::bench {

/// Collects the CPU times of all repetitions and prints, for each group of benchmarks
/// ("group/contender"), the medians side by side and each contender's multiple of the first one's.
class RatioReporter final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  struct Row {
    std::string name;
    std::vector<double> nanoseconds;
    std::map<std::string, double> counters;
  };
  Row& rowOf(const std::string& name);

  std::vector<Row> rows_;
};

}  // namespace zavelo::bench
