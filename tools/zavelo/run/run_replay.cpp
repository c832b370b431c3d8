#include <optional>
#include <utility>

#include "tools/zavelo/chat/chat_line.hpp"
#include "tools/zavelo/chat/paced_replay.hpp"
#include "tools/zavelo/chat/replay_controls.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/clock_text.hpp"
#include "tools/zavelo/terminal/input_reader.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "tools/zavelo/terminal/key_input.hpp"
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

ChatLine lineOf(const ZVStreamMessage& event) {
  auto line = eventLine({}, event.messageType.value_or(rawValue(ZVMessageType::message)), event);
  line.text = (event.recordedTime ? clockText(*event.recordedTime) : "--:--:--") + " " + line.text;
  return line;
}

/// A recording that is played on a terminal, where keys steer it, or to a file.
class Player {
 public:
  Player(ZVRecordedMessages events, const ReplayRequest& request, const Output& output,
         const std::shared_ptr<MainQueue>& queue)
      : output_(output),
        queue_(queue),
        replay_(PacedReplay::create(std::move(events), {request.speed, request.from}, queue,
                                    std::make_shared<SystemClock>())) {
    if (!output.isForPerson()) return;
    keys_.emplace();
    if (!keys_->isTerminal()) return;
    input_.emplace(queue, [this](const std::string& keys) {
      controls_.take(keys);
      if (!keys.empty()) input_->more();
    });
    input_->more();
  }

  ExitStatus run() {
    replay_->start(
        {.event = [this](const ZVStreamMessage& event) { show(event); },
         .moment = [this] { progress_.show(progressText(*replay_, ProgressLine::room())); },
         .end = [this] { end(); }});
    queue_->run();
    return status_;
  }

 private:
  void show(const ZVStreamMessage& event) {
    const auto line = lineOf(event);
    progress_.show("");
    status_ = output_.result(line.json, line.text + "\n");
    if (status_ != succeeded) end();
  }
  void end() {
    replay_->stop();
    queue_->stop();
  }

  const Output& output_;
  const std::shared_ptr<MainQueue> queue_;
  const std::shared_ptr<PacedReplay> replay_;
  ReplayControls controls_{*replay_};
  ProgressLine progress_;
  std::optional<KeyInput> keys_;
  std::optional<InputReader> input_;
  ExitStatus status_ = succeeded;
};

}  // namespace

int runReplay(const ReplayRequest& request, const Output& output) {
  const auto queue = std::make_shared<MainQueue>();
  const OnSignal stopping([queue] {
    KeyInput::restore();  // a second signal ends the process at once
    queue->stop();
  });
  auto loaded = load(request.address, queue);
  if (const auto interrupted = Interruption::shared().status()) return *interrupted;
  if (!loaded) return output.error("replay", request.address + ": " + loaded.error());
  const auto status = Player(std::move(loaded).value(), request, output, queue).run();
  return Interruption::shared().status().value_or(status);
}

}  // namespace zavelo::command
