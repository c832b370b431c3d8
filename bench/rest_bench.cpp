#include <benchmark/benchmark.h>
#include <curl/curl.h>
#include <malloc.h>

#include <memory>

#include "bench/loopback_server.hpp"
#include "zavelo/api/api_service.hpp"
#include "zavelo/models/stream.hpp"
#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/platform/platform.hpp"

// A call of the backend beside a bare curl loop that sends the same bytes and reads the same reply
// into the same structs. The CPU time is that of the whole process, all threads; the server has a
// process of its own.

namespace zavelo::bench {
namespace {

using Page = std::shared_ptr<ZVUserStream>;

json::Object parameters() {
  return {{"userName", "ann"}, {"nextId", 0}, {"limit", 20}};
}

class Client {
 public:
  template <class Done>
  void call(Done done) {
    service_->request<Page>(loopbackUrl() + "/api/users/search", ZVHTTPMethod::post, parameters(),
                            ZVParameterEncoding::json, 0, {}, false,
                            ZVAPIService::APILogLevel::none, std::move(done));
  }
  MainQueue& queue() { return *queue_; }

 private:
  std::shared_ptr<MainQueue> queue_ = std::make_shared<MainQueue>();
  std::shared_ptr<ZVAPIService> service_ =
      ZVAPIService::create({std::make_shared<CurlHttpSession>(), queue_,
                            std::make_shared<NotificationCentre>(), platform::clock()});
};

/// Calls one after the other, each from the completion before it, as an app's screens do.
class Chain {
 public:
  Chain(Client& client, std::int64_t calls) : client_(client), left_(calls) { next(); }
  [[nodiscard]] bool run() {
    client_.queue().run();
    return sound_;
  }

 private:
  void next() {
    client_.call([this](ZVAPIResult<Page> result) {
      sound_ &= result.isOk();
      --left_ > 0 ? next() : client_.queue().stop();
    });
  }

  Client& client_;
  std::int64_t left_;
  bool sound_ = true;
};

void restCall(benchmark::State& state) {
  constexpr std::int64_t calls = 64;
  Client client;
  while (state.KeepRunningBatch(calls))
    if (!Chain(client, calls).run()) return state.SkipWithError("a call failed");
}

std::size_t append(char* data, std::size_t size, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

void bareCurl(benchmark::State& state) {
  CURL* const handle = curl_easy_init();
  curl_slist* headers = curl_slist_append(nullptr, "Accept: application/json");
  headers = curl_slist_append(headers, "Content-Type: application/json");
  const std::string url = loopbackUrl() + "/api/users/search";
  for (auto _ : state) {
    const std::string body = *json::encode(json::Value(parameters()));
    std::string reply;
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &reply);
    if (curl_easy_perform(handle) != CURLE_OK) return state.SkipWithError("curl failed");
    auto page = json::decode<ZVAPIResonse<Page>>(reply);
    if (!page || !page->data) return state.SkipWithError("no page");
    benchmark::DoNotOptimize(page);
  }
  curl_slist_free_all(headers);
  curl_easy_cleanup(handle);
}

std::size_t bytesInUse() {
  return mallinfo2().uordblks + mallinfo2().hblkhd;
}

void thousandCalls(benchmark::State& state) {
  constexpr std::size_t calls = 1000;
  Client client;
  double bytesPerCall = 0;
  for (auto _ : state) {
    std::size_t answered = 0;
    std::size_t sound = 0;
    const std::size_t before = bytesInUse();
    for (std::size_t i = 0; i < calls; ++i)
      client.call([&](ZVAPIResult<Page> result) {
        sound += result.isOk() ? 1 : 0;
        if (++answered == calls) client.queue().stop();
      });
    const std::size_t after = bytesInUse();
    bytesPerCall = static_cast<double>(after > before ? after - before : 0) / calls;
    client.queue().run();
    if (sound != calls) return state.SkipWithError("a call was lost");
  }
  state.counters["bytes/call in flight"] = bytesPerCall;
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * calls));
}

BENCHMARK(restCall)->Name("REST call/ZaveloCore")->MeasureProcessCPUTime();
BENCHMARK(bareCurl)->Name("REST call/bare curl")->MeasureProcessCPUTime();
BENCHMARK(thousandCalls)->Name("1000 calls in flight/ZaveloCore")->MeasureProcessCPUTime();

}  // namespace
}  // namespace zavelo::bench
