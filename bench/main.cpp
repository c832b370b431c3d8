#include <benchmark/benchmark.h>

#include "bench/loopback_server.hpp"
#include "bench/ratio_reporter.hpp"
#include "bench/stream_page.hpp"

int main(int argc, char** argv) {
  const zavelo::bench::LoopbackServer server(R"({"code":1,"data":)" +
                                             zavelo::bench::streamPageText(20) + "}");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  zavelo::bench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
