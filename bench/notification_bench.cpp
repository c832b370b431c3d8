#include <benchmark/benchmark.h>

#include <vector>

#include "zavelo/platform/notification_centre.hpp"

namespace zavelo::bench {
namespace {

void post(benchmark::State& state) {
  NotificationCentre centre;
  std::size_t heard = 0;
  std::vector<ObserverToken> tokens;
  for (std::int64_t i = 0; i < state.range(0); ++i)
    tokens.push_back(centre.addObserver("ZaveloDidReceiveChannelMessage",
                                        [&heard](const Notification&) { ++heard; }));
  for (auto _ : state) centre.post("ZaveloDidReceiveChannelMessage");
  if (heard != static_cast<std::size_t>(state.iterations() * state.range(0)))
    state.SkipWithError("a notification was lost");
}
BENCHMARK(post)->Name("post a notification")->ArgName("observers")->Arg(1)->Arg(10)->Arg(100);

}  // namespace
}  // namespace zavelo::bench
