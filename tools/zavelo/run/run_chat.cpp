#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>
#include <string>
#include <utility>

#include "tools/zavelo/chat/chat_feed.hpp"
#include "tools/zavelo/chat/chat_screen.hpp"
#include "tools/zavelo/chat/conversation.hpp"
#include "tools/zavelo/run/channel_access.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/file_bytes.hpp"
#include "tools/zavelo/terminal/input_reader.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "tools/zavelo/terminal/key_input.hpp"
#include "tools/zavelo/terminal/typed_lines.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/ui/timer_label.hpp"

namespace zavelo::command {
namespace {

/// A chat that is about to join is not ended before.
constexpr std::chrono::milliseconds joiningTime{2'000};

std::string timeOfDay() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::string text(sizeof "00:00:00", '\0');
  text.resize(std::strftime(text.data(), text.size(), "%H:%M:%S", &local));
  return text;
}

Result<std::vector<std::string>, std::string> linesOf(const std::optional<std::string>& path) {
  if (!path) return std::vector<std::string>();
  const auto bytes = fileBytes(*path);
  if (!bytes) return Failure{bytes.error()};
  TypedLines reading;
  auto lines = reading.take({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
  lines.push_back(reading.last());
  return lines;
}

/// A chat on a terminal or in a script: what is typed goes to the conversation, what is heard to
/// the output.
class Chat {
 public:
  Chat(const ChatRequest& request, const Output& output, ChannelAccess& access)
      : request_(request), output_(output), access_(access) {
    if (!output.isForPerson()) return;
    feed_.emplace([this](const std::vector<std::string>& lines) { show(lines); },
                  ZVChatBatcher::Collaborators{access.library.queue, platform::clock()});
    screen_ = std::make_shared<ChatScreen>([this] {
      return access_.visit->isConnected() ? feed_->status() : std::string("not connected");
    });
    screen_->setText(ZVTimerLabel::text(0, ZVTimerLabel::TimeStyle::full));
    keys_.emplace();
    clock_ = ZVTimerLabel::create({.label = screen_});
  }

  int run(const std::vector<std::string>& firstLines, std::optional<ChatRecording> recording) {
    talk_ = Conversation::create({access_.visit, access_.library.queue, platform::clock(),
                                  &ZVCurrentUserSource::shared(), std::move(recording)},
                                 told());
    const OnSignal ending([this, weak = std::weak_ptr<Conversation>(talk_)] {
      KeyInput::restore();  // a second signal ends the process at once
      access_.library.queue->post([weak] {
        if (const auto talk = weak.lock()) talk->end();
      });
    });
    for (const auto& line : firstLines) talk_->say(line);
    talk_->start();
    // The time counts from the joining, or from now when there is none.
    const auto* time = std::get_if<std::chrono::milliseconds>(&request_.exitAfter);
    if (time)
      endAfter(std::max(*time, joiningTime),
               [](const Conversation& talk) { return !talk.hasJoined(); });
    access_.library.queue->run();
    const auto interrupted = Interruption::shared().status();
    return talk_->hasJoined() ? status_ : interrupted.value_or(failed);
  }

 private:
  Conversation::Told told() {
    Conversation::Told told{
        .line = [this](const ChatLine& line) { return show(line); },
        .error =
            [this](const std::string& reason) {
              above([&] { return output_.error("chat", reason); });
            },
        .delay = [this](const std::string& reason) { output_.warning("chat: " + reason); },
        .joined = [this] { join(); },
        .allSaid =
            [this] {
              if (input_) input_->more();
            },
        .over =
            [this](bool isGood) {
              status_ = isGood ? succeeded : failed;
              if (feed_) feed_->flush();
              access_.library.queue->post([queue = access_.library.queue] { queue->stop(); });
            }};
    if (feed_)
      told.event = [this](auto event, std::int64_t type, bool isOwn) {
        feed_->add(std::move(event), type, isOwn);
      };
    return told;
  }

  /// Does what writes to the terminal above the line that is typed.
  template <class Write>
  ExitStatus above(Write write) {
    if (screen_) screen_->hide();
    const ExitStatus status = write();
    if (screen_ && talk_->hasJoined()) screen_->show();
    return status;
  }

  bool show(const ChatLine& line) {
    return above([&] { return output_.result(line.json, timeOfDay() + " " + line.text + "\n"); }) ==
           succeeded;
  }

  void show(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += timeOfDay() + " " + line + "\n";
    if (above([&] { return output_.text(text); }) != succeeded) talk_->end();
  }

  void join() {
    if (clock_) clock_->start();
    if (const auto* count = std::get_if<std::int64_t>(&request_.exitAfter))
      talk_->endAfterEvents(*count);
    if (const auto* time = std::get_if<std::chrono::milliseconds>(&request_.exitAfter))
      endAfter(*time, [](const Conversation&) { return true; });
    input_.emplace(access_.library.queue, [this](const std::string& piece) { take(piece); });
  }

  template <class Condition>
  void endAfter(std::chrono::milliseconds time, Condition holds) {
    access_.library.queue->postAfter(time, [weak = std::weak_ptr<Conversation>(talk_), holds] {
      const auto talk = weak.lock();
      if (talk && holds(*talk)) talk->end();
    });
  }

  void take(const std::string& piece) {
    const bool isTyped = keys_ && keys_->isTerminal();
    auto lines = isTyped ? editor_.take(piece) : lines_.take(piece);
    if (piece.empty()) lines.push_back(lines_.last());
    for (auto& line : lines) talk_->say(std::move(line));
    if (screen_) screen_->setTyped(editor_.text());
    if (isTyped && (piece.empty() || editor_.isEnded())) return talk_->end();
    if (!piece.empty() && (isTyped || !talk_->hasUnsaid())) input_->more();
  }

  const ChatRequest& request_;
  const Output& output_;
  ChannelAccess& access_;
  std::optional<ChatFeed> feed_;
  std::shared_ptr<ChatScreen> screen_;
  std::optional<KeyInput> keys_;
  std::shared_ptr<ZVTimerLabel> clock_;
  LineEditor editor_;
  TypedLines lines_;
  std::shared_ptr<Conversation> talk_;
  std::optional<InputReader> input_;
  int status_ = failed;
};

}  // namespace

int runChat(const ChatRequest& request, const GlobalOptions& options, const Output& output) {
  const auto lines = linesOf(request.sendFile);
  if (!lines) return output.usageError({"--send-file: " + lines.error(), request.help});
  auto access = openChannel(request.channel, options, output, request.help);
  if (!access) return access.error();
  std::optional<ChatRecording> recording;
  if (request.save) {
    auto created = ChatRecording::create(*request.save);
    if (!created) return output.error("chat", created.error());
    recording = std::move(created).value();
  }
  return Chat(request, output, *access).run(*lines, std::move(recording));
}

}  // namespace zavelo::command
