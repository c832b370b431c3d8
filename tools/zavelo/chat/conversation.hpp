#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tools/zavelo/chat/channel_visit.hpp"
#include "tools/zavelo/chat/chat_line.hpp"
#include "tools/zavelo/chat/chat_recording.hpp"
#include "zavelo/platform/clock.hpp"

namespace zavelo::command {

/// Talks and listens in a channel until it is ended, and leaves when everything said has been
/// acknowledged. Lives on the visit's queue.
class Conversation : public std::enable_shared_from_this<Conversation> {
 public:
  struct Collaborators {
    std::shared_ptr<ChannelVisit> visit;
    std::shared_ptr<Queue> queue;
    std::shared_ptr<const Clock> clock;
    const ZVCurrentUserSource* users;
    std::optional<ChatRecording> recording;
  };
  struct Told {
    std::function<bool(const ChatLine&)> line;  ///< false: nobody can see it any more
    /// An event, received or one's own, in place of its line; empty: lines are wanted.
    std::function<void(std::shared_ptr<const ZVStreamMessage>, std::int64_t type, bool isOwn)>
        event{};
    std::function<void(const std::string&)> error;
    /// What delays the chat without being an error of its own.
    std::function<void(const std::string&)> delay{};
    std::function<void()> joined;
    std::function<void()> allSaid;  ///< nothing waits to be acknowledged
    /// The visit is over; whether without an error.
    std::function<void(bool isGood)> over;
  };

  [[nodiscard]] static std::shared_ptr<Conversation> create(Collaborators with, Told told);

  void start();
  /// Sends a chat line behind those before it; not an empty one.
  void say(std::string line);
  /// Ends by itself after so many received events.
  void endAfterEvents(std::int64_t count) { eventsLeft_ = count; }
  /// Leaves once everything said has been acknowledged. Harmless when repeated.
  void end();

  [[nodiscard]] bool hasJoined() const { return hasJoined_; }
  [[nodiscard]] bool hasUnsaid() const { return !unsaid_.empty(); }

 private:
  Conversation(Collaborators with, Told told);

  void enter();
  void hear(const std::string& text, const std::string& senderId);
  void hearChannel(const ZVRTMStatus::Channel& channel);
  void learnName(const std::string& userId, const ZVStreamMessage& event);
  [[nodiscard]] std::string ownId() const;
  void lookForMembers();
  void compareMembers(const std::vector<std::string>& ids);
  void tellMember(const std::string& id, bool came);
  void sendNext();
  void tell(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type,
            const std::string& senderId, bool isOwn);
  void show(const ChatLine& line);
  void record(std::int64_t type, const ZVStreamMessage& event, std::int64_t time);
  void fail(const std::string& reason);
  void giveUp();
  void leave();
  [[nodiscard]] std::int64_t sinceJoining() const;

  Collaborators with_;
  Told told_;
  std::deque<std::string> unsaid_;
  bool isSending_ = false;
  bool hasJoined_ = false;
  bool isEnding_ = false;
  bool hasLeft_ = false;
  bool isGood_ = true;
  std::optional<std::int64_t> eventsLeft_;
  std::optional<std::set<std::string>> members_;
  MemberNames names_;
  bool looksForMembers_ = false;
  std::chrono::nanoseconds joinedAt_{0};
};

}  // namespace zavelo::command
