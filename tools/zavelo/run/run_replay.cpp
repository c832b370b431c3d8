#include <algorithm>
#include <utility>

#include "tools/zavelo/chat/chat_line.hpp"
#include "tools/zavelo/chat/paced_replay.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/clock_text.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "tools/zavelo/terminal/progress_line.hpp"
#include "zavelo/platform/main_queue.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo::command {
namespace {

using Loaded = ZaveloRecordedMessageDownloader::Loaded;

Loaded load(const std::string& address, const std::shared_ptr<MainQueue>& queue) {
  Loaded result = Failure{std::string("interrupted")};
  const ZaveloRecordedMessageDownloader downloader(
      address, {platform::httpSession(), queue, platform::backgroundQueue()});
  downloader.load([&](Loaded loaded) {
    result = std::move(loaded);
    queue->stop();
  });
  queue->run();
  return result;
}

/// "[######............] 00:00:12 / 00:00:40"
std::string progressText(const PacedReplay& replay) {
  constexpr double width = 40;
  const auto begin = static_cast<double>(replay.begin());
  const double length = static_cast<double>(replay.end()) - begin;
  const double share = length > 0 ? (static_cast<double>(replay.position()) - begin) / length : 1.0;
  const auto done = static_cast<std::size_t>(std::clamp(share, 0.0, 1.0) * width);
  std::string bar(static_cast<std::size_t>(width), '.');
  std::fill_n(bar.begin(), done, '#');
  return "[" + bar + "] " + clockText(replay.position()) + " / " + clockText(replay.end());
}

ChatLine lineOf(const ZVStreamMessage& event) {
  auto line = eventLine({}, event.messageType.value_or(rawValue(ZVMessageType::message)), event);
  line.text = (event.recordedTime ? clockText(*event.recordedTime) : "--:--:--") + " " + line.text;
  return line;
}

ExitStatus play(ZVRecordedMessages events, const ReplayRequest& request, const Output& output,
                const std::shared_ptr<MainQueue>& queue) {
  ExitStatus status = succeeded;
  ProgressLine progress;
  const auto replay = PacedReplay::create(std::move(events), {request.speed, request.from}, queue,
                                          std::make_shared<SystemClock>());
  replay->start({.event =
                     [&](const ZVStreamMessage& event) {
                       const auto line = lineOf(event);
                       progress.show("");
                       status = output.result(line.json, line.text + "\n");
                       if (status == succeeded) return;
                       replay->stop();
                       queue->stop();
                     },
                 .moment = [&] { progress.show(progressText(*replay)); },
                 .end = [&] { queue->stop(); }});
  queue->run();
  return status;
}

}  // namespace

int runReplay(const ReplayRequest& request, const Output& output) {
  const auto queue = std::make_shared<MainQueue>();
  const OnSignal stopping([queue] { queue->stop(); });
  auto loaded = load(request.address, queue);
  if (const auto interrupted = Interruption::shared().status()) return *interrupted;
  if (!loaded) return output.error("replay", request.address + ": " + loaded.error());
  const auto status = play(std::move(loaded).value(), request, output, queue);
  return Interruption::shared().status().value_or(status);
}

}  // namespace zavelo::command
