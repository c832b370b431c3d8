#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::testing {

/// A messaging kit that does nothing but keep what it was asked for, until the test answers. What
/// comes in, the test tells the delegates itself.
///
///     kit->answer(0);                                     // the oldest question
///     EXPECT_THAT(kit->asked(), ElementsAre("login 7", "join c"));
class ZAVELO_EXPORT ScriptedRtmKit final : public AgoraRtmKit,
                                           public std::enable_shared_from_this<ScriptedRtmKit> {
 public:
  /// Always makes this kit.
  [[nodiscard]] AgoraRtmKitFactory factory();

  /// "login 7", "logout", "send bob hi", and of channels "create c", "join c", "leave c",
  /// "write c hi", "members c", "destroy c".
  [[nodiscard]] std::vector<std::string> asked() const;
  /// Completes the oldest question that waits. False when none does.
  bool answer(std::int64_t code);
  /// The same for a question for members.
  bool answerMembers(const std::optional<std::vector<std::string>>& members);

  [[nodiscard]] std::string appId() const;
  [[nodiscard]] std::shared_ptr<AgoraRtmDelegate> delegate() const;
  [[nodiscard]] std::shared_ptr<AgoraRtmChannelDelegate> channelDelegate() const;

  void setCreatesChannels(bool creates);
  void setHasDictionary(bool has);

  void login(const std::optional<std::string>& token, const std::string& userId,
             AgoraRtmCompletion completion) override;
  void logout(AgoraRtmCompletion completion) override;
  void send(const std::string& text, const std::string& peerId,
            AgoraRtmCompletion completion) override;
  std::shared_ptr<AgoraRtmChannel> createChannel(
      const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) override;
  bool destroyChannel(const std::string& channelId) override;
  [[nodiscard]] std::optional<Channels> channels() const override;

 private:
  class Channel;
  struct Question {
    AgoraRtmCompletion completion;
    AgoraRtmMembersCompletion members;
  };

  void ask(std::string what, Question question);
  std::optional<Question> oldest();

  mutable std::mutex mutex_;
  std::vector<std::string> asked_;
  std::deque<Question> waiting_;
  std::string appId_;
  std::weak_ptr<AgoraRtmDelegate> delegate_;
  std::weak_ptr<AgoraRtmChannelDelegate> channelDelegate_;
  Channels channels_;
  bool createsChannels_ = true;
  bool hasDictionary_ = true;
};

}  // namespace zavelo::testing
