#include "bench/ratio_reporter.hpp"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <tuple>

namespace zavelo::bench {
namespace {

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

std::string timeText(double nanoseconds) {
  const char* unit = "ns";
  if (nanoseconds >= 1e6) {
    nanoseconds /= 1e6;
    unit = "ms";
  } else if (nanoseconds >= 1e3) {
    nanoseconds /= 1e3;
    unit = "us";
  }
  char text[32];
  std::snprintf(text, sizeof text, "%.2f %s", nanoseconds, unit);
  return text;
}

std::string groupOf(const std::string& name) {
  return name.substr(0, name.find('/'));
}

}  // namespace

bool RatioReporter::ReportContext(const Context& context) {
  PrintBasicContext(&std::cerr, context);
  return true;
}

RatioReporter::Row& RatioReporter::rowOf(const std::string& name) {
  const auto known =
      std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) { return row.name == name; });
  return known != rows_.end() ? *known : rows_.emplace_back(Row{name, {}, {}});
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Iteration) continue;
    if (run.error_occurred) {
      std::cout << run.benchmark_name() << ": " << run.error_message << "\n";
      continue;
    }
    Row& row = rowOf(run.run_name.function_name +
                     (run.run_name.args.empty() ? "" : "/" + run.run_name.args));
    row.nanoseconds.push_back(run.GetAdjustedCPUTime());
    for (const auto& [name, counter] : run.counters) row.counters[name] = counter.value;
  }
}

// Interleaved repetitions arrive in any order: a group stands where its name sorts, with the
// library's own row first.
void RatioReporter::Finalize() {
  std::sort(rows_.begin(), rows_.end(), [](const Row& left, const Row& right) {
    const auto rank = [](const Row& row) {
      return std::tuple(groupOf(row.name), !row.name.ends_with("/ZaveloCore"),
                        median(row.nanoseconds));
    };
    return rank(left) < rank(right);
  });
  std::string group;
  double first = 0;
  for (const Row& row : rows_) {
    const double time = median(row.nanoseconds);
    if (groupOf(row.name) != group) {
      group = groupOf(row.name);
      first = time;
      std::printf("\n%s (CPU time, median of %zu interleaved repetitions)\n", group.c_str(),
                  row.nanoseconds.size());
    }
    std::printf("  %-34s %12s  %6.2fx", row.name.substr(group.size() + 1).c_str(),
                timeText(time).c_str(), time / first);
    for (const auto& [name, value] : row.counters) std::printf("  %s %.4g", name.c_str(), value);
    std::printf("\n");
  }
}

}  // namespace zavelo::bench
