#pragma once

#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::testing {

/// A messaging kit that does nothing but keep what it was asked for, until the test answers. What
/// comes in, the test tells the delegates itself; for what the engine reports there are words.
///
///     kit->answer(0);                                     // the oldest question
///     EXPECT_THAT(kit->asked(), ElementsAre("login 7", "join c"));
class ZAVELO_EXPORT ScriptedRtmKit final : public AgoraRtmKit,
                                           public std::enable_shared_from_this<ScriptedRtmKit> {
 public:
  /// Always makes this kit.
  [[nodiscard]] AgoraRtmKitFactory factory();

  /// "login 7", "logout", "send bob hi", and of channels "create c", "join c", "join c unseen"
  /// (with no presence), "leave c", "write c hi", "members c", "count c", "destroy c". Of the
  /// device "suspend", "resume", "network changed", "background", "foreground".
  [[nodiscard]] std::vector<std::string> asked() const;
  /// Completes the oldest question that waits. False when none does.
  bool answer(std::int64_t code);
  /// The same for a question for members.
  bool answerMembers(const std::optional<std::vector<std::string>>& members);
  /// The same for a question for their number.
  bool answerCount(const std::optional<AgoraRtmMemberCount>& count);

  // What an engine reports to its delegate.

  void changeState(AgoraRtmConnectionState state, AgoraRtmConnectionChangeReason reason);
  void reportProblem(const std::string& address, const std::string& problem);
  /// A joined channel's connection was lost, and worked until `silence` before now.
  void interrupt(const std::string& channelId, const std::string& problem,
                 std::chrono::milliseconds silence = {});
  void restore(const std::string& channelId);
  void giveUp(const std::string& channelId, const std::string& problem);
  void dropText(const std::string& channelId);
  void expireToken();

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
  void suspend() override { ask("suspend", {}); }
  void resume() override { ask("resume", {}); }
  void networkChanged() override { ask("network changed", {}); }
  void setInBackground(bool isInBackground) override {
    ask(isInBackground ? "background" : "foreground", {});
  }

 private:
  class Channel;
  struct Question {
    AgoraRtmCompletion completion{};
    AgoraRtmMembersCompletion members{};
    AgoraRtmCountCompletion count{};
  };

  void ask(std::string what, Question question);
  std::optional<Question> oldest();
  template <class... Parameters, class... Arguments>
  void report(void (AgoraRtmDelegate::*what)(Parameters...), const Arguments&... arguments) const {
    if (const auto receiver = delegate()) ((*receiver).*what)(arguments...);
  }

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
