#include <chrono>
#include <functional>
#include <utility>

#include "tools/zavelo/chat/chat_line.hpp"
#include "tools/zavelo/chat/chat_message.hpp"
#include "tools/zavelo/run/channel_access.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"

namespace zavelo::command {
namespace {

constexpr std::chrono::seconds patience{15};

/// Enters the channel, does one thing there and leaves.
class ChannelErrand : public std::enable_shared_from_this<ChannelErrand> {
 public:
  /// Calls `finish` or `fail`.
  using Errand = std::function<void(ChannelErrand&)>;

  ChannelErrand(const ChannelAccess& access, const Output& output)
      : visit_(access.visit), queue_(access.library.queue), output_(output) {}

  int run(Errand errand) {
    const OnSignal stopping([weak = weak_from_this(), queue = queue_] {
      queue->post([weak] {
        if (const auto self = weak.lock()) self->leave();
      });
    });
    visit_->enter({.message = {},
                   .membersChanged = {},
                   .remoteLogin = [this] { fail("signed in elsewhere"); }},
                  [this, errand = std::move(errand)](const std::optional<std::string>& failure) {
                    if (failure) return fail(*failure);
                    queue_->postAfter(patience, [weak = weak_from_this()] {
                      if (const auto self = weak.lock()) self->fail("no answer in 15 seconds");
                    });
                    errand(*this);
                  });
    queue_->run();
    return Interruption::shared().status().value_or(status_);
  }

  /// Unless it is over: what comes of it, and then the way out.
  void finish(const std::function<int()>& outcome) {
    if (isLeaving_) return;
    status_ = outcome();
    leave();
  }
  void fail(const std::string& reason) {
    finish([&] { return output_.error("chat", reason); });
  }

  ChannelVisit& visit() { return *visit_; }

 private:
  void leave() {
    if (!std::exchange(isLeaving_, true)) visit_->leave([queue = queue_] { queue->stop(); });
  }

  const std::shared_ptr<ChannelVisit> visit_;
  const std::shared_ptr<MainQueue> queue_;
  const Output& output_;
  bool isLeaving_ = false;
  int status_ = failed;
};

}  // namespace

int runChatMembers(const ChatMembersRequest& request, const GlobalOptions& options,
                   const Output& output) {
  auto access = openChannel(request.channel, options, output, request.help);
  if (!access) return access.error();
  const auto errand = std::make_shared<ChannelErrand>(*access, output);
  return errand->run([&output](ChannelErrand& running) {
    running.visit().members([&output, &running](const std::vector<std::string>& ids) {
      running.finish([&] {
        const auto line = json::encode(ids);
        return line ? output.result(*line) : failed;
      });
    });
  });
}

int runChatSend(const ChatSendRequest& request, const GlobalOptions& options,
                const Output& output) {
  const auto usage = [&](const ArgumentError& error) {
    return output.usageError(error, request.help);
  };
  const auto fields = jsonArguments(messageArguments(), request.fields);
  if (!fields) return usage(fields.error());
  auto access = openChannel(request.channel, options, output, request.help);
  if (!access) return access.error();
  const auto event = chatMessage(request.type, *fields);
  if (!event) return usage(event.error());

  const auto text = ZVMessage(**event).toJsonString();
  const auto line = eventLine(request.channel, rawValue(request.type), **event);
  const auto errand = std::make_shared<ChannelErrand>(*access, output);
  return errand->run([&](ChannelErrand& running) {
    running.visit().send(*text, [&](const std::optional<std::string>& failure) {
      if (failure) return running.fail(*failure);
      running.finish([&] { return output.result(line.json, line.text + "\n"); });
    });
  });
}

}  // namespace zavelo::command
