#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::detail {

/// Who is logged in where, and who is in which channel. All of it runs on the hub's callback queue,
/// one call after the other, so that delegates may ask for more at any time: it comes behind.
class InProcessSessions {
 public:
  using SessionId = std::uint64_t;
  using ChannelDelegate = std::weak_ptr<AgoraRtmChannelDelegate>;

  void open(SessionId id, std::string appId, std::weak_ptr<AgoraRtmDelegate> delegate);
  void close(SessionId id);

  std::int64_t login(SessionId id, const std::string& userId);
  std::int64_t logout(SessionId id);
  std::int64_t sendToPeer(SessionId id, const std::string& peerId, const std::string& text);

  std::int64_t join(SessionId id, const std::string& channelId, const ChannelDelegate& delegate);
  std::int64_t leave(SessionId id, const std::string& channelId);
  std::int64_t sendToChannel(SessionId id, const std::string& channelId, const std::string& text);
  [[nodiscard]] std::optional<std::vector<std::string>> members(SessionId id,
                                                                const std::string& channelId);

 private:
  struct Session {
    std::string appId;
    std::weak_ptr<AgoraRtmDelegate> delegate;
    std::string userId{};  // empty: not logged in
    /// What the last user has joined and not left; comes back with the next login.
    std::string lastUserId{};
    std::map<std::string, ChannelDelegate> joined{};
  };
  struct Member {
    SessionId session;
    std::string userId;
    ChannelDelegate delegate;
  };
  using Members = std::vector<Member>;
  using Name = std::pair<std::string, std::string>;  // of a channel or a user, behind the app id

  static void tell(const Session& session, AgoraRtmConnectionState state,
                   AgoraRtmConnectionChangeReason reason);
  void end(SessionId id, AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason);
  void remove(SessionId id, const Name& channel);
  void enter(SessionId id, const Name& channel, const ChannelDelegate& delegate);
  void restoreChannels(SessionId id);
  Members* membersWith(SessionId id, const Name& channel);

  std::map<SessionId, Session> sessions_;
  std::map<Name, SessionId> users_;
  std::map<Name, Members> channels_;  // members in the order in which they came
};

}  // namespace zavelo::detail
