#include <benchmark/benchmark.h>

#include <stdexcept>

#include "bench/chat_events.hpp"
#include "bench/repeat.hpp"
#include "support/generated_chat.hpp"
#include "zavelo/json/json.hpp"

// A chat event as it arrives and as it is sent: JSON in the envelope's JSON.

namespace zavelo::bench {
namespace {

std::shared_ptr<ZVStreamMessage> decodeOurs(const std::string& text) {
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(text);
  return envelope.value()->getStreamMessage();
}
std::string encodeOurs(const ZVStreamMessage& event) {
  return ZVMessage(event).toJsonString().value();
}

/// Events of one type, and their envelopes as they come from a network: without room behind them.
struct Events {
  Events(const char* what, ZVMessageType type) : name(what) {
    test::GeneratedChat chat;
    for (int i = 0; i < 32; ++i) {
      events.push_back(chat.next(type));
      texts.push_back(encodeOurs(*events.back()));
      texts.back().shrink_to_fit();
      bytes += texts.back().size();
    }
  }
  std::string name;
  RecordedEvents events;
  std::vector<std::string> texts;
  std::size_t bytes = 0;
};

// A contender that reads or writes something else is not measured.
void check(const ChatContender& contender, const Events& some) {
  for (std::size_t i = 0; i < some.texts.size(); ++i) {
    if (encodeOurs(*contender.decode(some.texts[i])) != some.texts[i])
      throw std::logic_error(std::string(contender.name) + " reads another " + some.name);
    if (encodeOurs(*decodeOurs(contender.encode(*some.events[i]))) != some.texts[i])
      throw std::logic_error(std::string(contender.name) + " writes another " + some.name);
  }
}

template <class Inputs, class Work>
void measure(const std::string& name, const Inputs& inputs, const Events& some, Work work) {
  benchmark::RegisterBenchmark(name.c_str(), [name, work, &inputs, &some](benchmark::State& state) {
    repeat(state, name, [&] {
      for (const auto& input : inputs) benchmark::DoNotOptimize(work(input));
    });
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * some.bytes));
  });
}

void compare(const Events& some) {
  const ChatContender ours{"ZaveloCore", &decodeOurs, &encodeOurs};
  const std::string what = std::to_string(some.texts.size()) + " " + some.name + "/";
  for (const ChatContender* contender : {&ours, &rapidjsonChat, &nlohmannChat}) {
    check(*contender, some);
    measure("decode " + what + contender->name, some.texts, some, contender->decode);
    measure("encode " + what + contender->name, some.events, some,
            [encode = contender->encode](const auto& event) { return encode(*event); });
  }
}

const bool registered = [] {
  static const Events all[] = {{"chat lines", ZVMessageType::message},
                               {"gifts", ZVMessageType::gift},
                               {"polls", ZVMessageType::startPoll},
                               {"statistics", ZVMessageType::statistic}};
  for (const Events& some : all) compare(some);
  return true;
}();

}  // namespace
}  // namespace zavelo::bench
