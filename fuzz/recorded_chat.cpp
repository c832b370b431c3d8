#include "zavelo/messaging/recorded_chat.hpp"

#include <algorithm>
#include <limits>

#include "fuzz/fuzz.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/chat_replay.hpp"
#include "zavelo/messaging/poll_message.hpp"
#include "zavelo/platform/platform.hpp"

// The saved chat of a stream: read, ordered and replayed.

namespace zavelo::fuzz {
namespace {

struct NoLog final : LogSink {
  void write(std::string_view) override {}
};

}  // namespace

void run(std::string_view input) {
  [[maybe_unused]] static const bool quiet = [] {
    ZVPlatform platform;
    platform.logSink = std::make_shared<NoLog>();
    return ZVPlatform::install(std::move(platform));
  }();
  const auto events = ZVRecordedMessageDecoder(std::string(input)).decode();
  const auto whole = json::decode<std::vector<std::shared_ptr<ZVPollMessage>>>(input);
  require(events.size() == (whole ? whole->size() : 0), "no event is lost");
  require(std::is_partitioned(events.begin(), events.end(),
                              [](const auto& event) {
                                return event->type() != ZVMessageType::startPoll &&
                                       event->type() != ZVMessageType::stopPoll;
                              }),
          "polls come last");

  ZVChatReplay replay(events);
  std::size_t due = 0;
  while (const auto next = replay.nextTime()) due += replay.advance(*next).size();
  require(due == events.size(), "each event is due once");
  replay.seek(std::numeric_limits<std::int64_t>::min());
  require(replay.past().empty(), "no event is before the beginning");
}

}  // namespace zavelo::fuzz
