#pragma once

#include <benchmark/benchmark.h>

#include <string>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#endif

namespace zavelo::bench {

/// Runs `work` as often as the benchmark asks. Under callgrind, which counts instructions exactly
/// but slows the clock, the instructions of one run more are dumped under the benchmark's name.
template <class Work>
void repeat(benchmark::State& state, const std::string& name, const Work& work) {
  for (auto _ : state) work();
#if defined(CALLGRIND_DUMP_STATS_AT)
  if (RUNNING_ON_VALGRIND == 0) return;
  CALLGRIND_ZERO_STATS;
  work();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
#endif
}

}  // namespace zavelo::bench
