#include "zavelo/messaging/engines/in_process.hpp"

#include <atomic>
#include <optional>
#include <type_traits>
#include <utility>

#include "zavelo/messaging/engines/in_process_sessions_internal.hpp"
#include "zavelo/messaging/engines/rtm_channel_table_internal.hpp"
#include "zavelo/platform/background_queue.hpp"

namespace zavelo {

/// A kit's way to the hub: carries operations to the queue, and their code back to the caller.
class InProcessHub::Kit final : public AgoraRtmKit, public std::enable_shared_from_this<Kit> {
 public:
  using Sessions = detail::InProcessSessions;

  Kit(std::shared_ptr<InProcessHub> hub, Sessions::SessionId id) : hub_(std::move(hub)), id_(id) {}
  ~Kit() override {
    hub_->queue_->post([sessions = hub_->sessions_, id = id_] { sessions->close(id); });
  }

  /// Nothing is called back once the kit is gone.
  template <class Work, class Completion>
  void ask(Work work, Completion completion) {
    hub_->queue_->post([sessions = hub_->sessions_, id = id_, work = std::move(work),
                        answer = Answer(weak_from_this(), std::move(completion))]() mutable {
      if (!answer.isWanted()) return;
      answer.give(work(*sessions, id));
    });
  }

  void login(const std::optional<std::string>&, const std::string& userId,
             AgoraRtmCompletion completion) override {
    ask([userId](Sessions& all, auto id) { return all.login(id, userId); }, std::move(completion));
  }
  void logout(AgoraRtmCompletion completion) override {
    ask([](Sessions& all, auto id) { return all.logout(id); }, std::move(completion));
  }
  void send(const std::string& text, const std::string& peerId,
            AgoraRtmCompletion completion) override {
    ask([text, peerId](Sessions& all, auto id) { return all.sendToPeer(id, peerId, text); },
        std::move(completion));
  }
  std::shared_ptr<AgoraRtmChannel> createChannel(
      const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) override;
  bool destroyChannel(const std::string& channelId) override;
  [[nodiscard]] std::optional<Channels> channels() const override { return channels_.all(); }

 private:
  /// The answer to one operation: a failure when the queue gives the operation up, as for want of a
  /// thread.
  template <class Completion>
  class Answer {
   public:
    Answer(std::weak_ptr<Kit> kit, Completion completion)
        : kit_(std::move(kit)), completion_(std::move(completion)) {}
    Answer(Answer&& other) noexcept
        : kit_(std::move(other.kit_)), completion_(std::exchange(other.completion_, nullptr)) {}
    Answer& operator=(Answer&&) = delete;
    ~Answer() {
      try {
        if constexpr (std::is_same_v<Completion, AgoraRtmMembersCompletion>) {
          give(std::nullopt);
        } else {
          give(rtmCode::failure);
        }
      } catch (...) {  // an app's mistake, and no caller to catch it
      }
    }
    [[nodiscard]] bool isWanted() const { return !kit_.expired(); }
    template <class Result>
    void give(Result&& result) {
      const auto completion = std::exchange(completion_, nullptr);
      if (completion && isWanted()) completion(std::forward<Result>(result));
    }

   private:
    std::weak_ptr<Kit> kit_;
    Completion completion_;
  };

  const std::shared_ptr<InProcessHub> hub_;
  const Sessions::SessionId id_;
  detail::RtmChannelTable channels_;
};

class InProcessHub::Channel final : public AgoraRtmChannel {
 public:
  using Sessions = detail::InProcessSessions;

  Channel(std::weak_ptr<Kit> kit, std::string id, std::weak_ptr<AgoraRtmChannelDelegate> delegate)
      : kit_(std::move(kit)), id_(std::move(id)), delegate_(std::move(delegate)) {}

  void join(AgoraRtmCompletion completion) override {
    ask([channel = id_, delegate = delegate_](Sessions& all,
                                              auto id) { return all.join(id, channel, delegate); },
        std::move(completion));
  }
  void leave(AgoraRtmCompletion completion) override {
    ask([channel = id_](Sessions& all, auto id) { return all.leave(id, channel); },
        std::move(completion));
  }
  void send(const std::string& text, AgoraRtmCompletion completion) override {
    ask([channel = id_, text](Sessions& all,
                              auto id) { return all.sendToChannel(id, channel, text); },
        std::move(completion));
  }
  void getMembers(AgoraRtmMembersCompletion completion) override {
    ask([channel = id_](Sessions& all, auto id) { return all.members(id, channel); },
        std::move(completion));
  }

 private:
  template <class Work, class Completion>
  void ask(Work work, Completion completion) {
    if (const auto kit = kit_.lock()) kit->ask(std::move(work), std::move(completion));
  }

  const std::weak_ptr<Kit> kit_;
  const std::string id_;
  const std::weak_ptr<AgoraRtmChannelDelegate> delegate_;
};

std::shared_ptr<AgoraRtmChannel> InProcessHub::Kit::createChannel(
    const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) {
  return channels_.findOrCreate(channelId, [&] {
    return std::make_shared<Channel>(weak_from_this(), channelId, std::move(delegate));
  });
}

bool InProcessHub::Kit::destroyChannel(const std::string& channelId) {
  if (!channels_.remove(channelId)) return false;
  ask([channelId](Sessions& all, auto id) { return all.leave(id, channelId); },
      AgoraRtmCompletion());
  return true;
}

std::shared_ptr<InProcessHub> InProcessHub::create(std::shared_ptr<Queue> callbackQueue) {
  if (!callbackQueue) callbackQueue = std::make_shared<BackgroundQueue>();
  return std::shared_ptr<InProcessHub>(new InProcessHub(std::move(callbackQueue)));
}

const std::shared_ptr<InProcessHub>& InProcessHub::shared() {
  static const auto& hub = *new std::shared_ptr<InProcessHub>(create());
  return hub;
}

InProcessHub::InProcessHub(std::shared_ptr<Queue> callbackQueue)
    : queue_(std::move(callbackQueue)), sessions_(std::make_shared<detail::InProcessSessions>()) {}

InProcessHub::~InProcessHub() = default;

AgoraRtmKitFactory InProcessHub::kitFactory() {
  return [hub = shared_from_this()](const std::string& appId,
                                    std::weak_ptr<AgoraRtmDelegate> delegate) {
    static std::atomic<detail::InProcessSessions::SessionId> last = 0;
    const auto id = ++last;
    hub->queue_->post([sessions = hub->sessions_, id, appId, delegate = std::move(delegate)] {
      sessions->open(id, appId, delegate);
    });
    return std::make_shared<Kit>(hub, id);
  };
}

}  // namespace zavelo
