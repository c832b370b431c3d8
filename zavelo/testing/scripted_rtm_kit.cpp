#include "zavelo/testing/scripted_rtm_kit.hpp"

#include <utility>

namespace zavelo::testing {

class ScriptedRtmKit::Channel final : public AgoraRtmChannel {
 public:
  Channel(std::weak_ptr<ScriptedRtmKit> kit, std::string id)
      : kit_(std::move(kit)), id_(std::move(id)) {}

  void join(AgoraRtmCompletion completion) override { ask("join " + id_, {completion}); }
  void joinWithOptions(const AgoraRtmJoinOptions& options, AgoraRtmCompletion completion) override {
    ask("join " + id_ + (options.presence ? "" : " unseen"), {completion});
  }
  void leave(AgoraRtmCompletion completion) override { ask("leave " + id_, {completion}); }
  void send(const std::string& text, AgoraRtmCompletion completion) override {
    ask("write " + id_ + " " + text, {completion});
  }
  void getMembers(AgoraRtmMembersCompletion completion) override {
    ask("members " + id_, {.members = completion});
  }
  void countMembers(AgoraRtmCountCompletion completion) override {
    ask("count " + id_, {.count = completion});
  }

 private:
  void ask(std::string what, Question question) {
    if (const auto kit = kit_.lock()) kit->ask(std::move(what), std::move(question));
  }

  const std::weak_ptr<ScriptedRtmKit> kit_;
  const std::string id_;
};

AgoraRtmKitFactory ScriptedRtmKit::factory() {
  return [self = shared_from_this()](const std::string& appId,
                                     std::weak_ptr<AgoraRtmDelegate> delegate) {
    const std::lock_guard lock(self->mutex_);
    self->appId_ = appId;
    self->delegate_ = std::move(delegate);
    return self;
  };
}

void ScriptedRtmKit::ask(std::string what, Question question) {
  const std::lock_guard lock(mutex_);
  asked_.push_back(std::move(what));
  if (question.completion || question.members || question.count)
    waiting_.push_back(std::move(question));
}

std::optional<ScriptedRtmKit::Question> ScriptedRtmKit::oldest() {
  const std::lock_guard lock(mutex_);
  if (waiting_.empty()) return std::nullopt;
  auto question = std::move(waiting_.front());
  waiting_.pop_front();
  return question;
}

bool ScriptedRtmKit::answer(std::int64_t code) {
  const auto question = oldest();
  if (question && question->completion) question->completion(code);
  return question.has_value();
}

bool ScriptedRtmKit::answerMembers(const std::optional<std::vector<std::string>>& members) {
  const auto question = oldest();
  if (question && question->members) question->members(members);
  return question.has_value();
}

bool ScriptedRtmKit::answerCount(const std::optional<AgoraRtmMemberCount>& count) {
  const auto question = oldest();
  if (question && question->count) question->count(count);
  return question.has_value();
}

void ScriptedRtmKit::changeState(AgoraRtmConnectionState state,
                                 AgoraRtmConnectionChangeReason reason) {
  report(&AgoraRtmDelegate::connectionStateChanged, state, reason);
}

void ScriptedRtmKit::reportProblem(const std::string& address, const std::string& problem) {
  report(&AgoraRtmDelegate::connectionProblemChanged, address, problem);
}

void ScriptedRtmKit::interrupt(const std::string& channelId, const std::string& problem,
                               std::chrono::milliseconds silence) {
  report(&AgoraRtmDelegate::channelStateChanged, channelId, AgoraRtmChannelState::interrupted,
         problem, silence);
}

void ScriptedRtmKit::restore(const std::string& channelId) {
  report(&AgoraRtmDelegate::channelStateChanged, channelId, AgoraRtmChannelState::resumed,
         std::string(), std::chrono::milliseconds(0));
}

void ScriptedRtmKit::giveUp(const std::string& channelId, const std::string& problem) {
  report(&AgoraRtmDelegate::channelStateChanged, channelId, AgoraRtmChannelState::givenUp, problem,
         std::chrono::milliseconds(0));
}

void ScriptedRtmKit::dropText(const std::string& channelId) {
  report(&AgoraRtmDelegate::textDropped, channelId);
}

void ScriptedRtmKit::expireToken() {
  report(&AgoraRtmDelegate::tokenDidExpire);
}

std::vector<std::string> ScriptedRtmKit::asked() const {
  const std::lock_guard lock(mutex_);
  return asked_;
}

std::string ScriptedRtmKit::appId() const {
  const std::lock_guard lock(mutex_);
  return appId_;
}

std::shared_ptr<AgoraRtmDelegate> ScriptedRtmKit::delegate() const {
  const std::lock_guard lock(mutex_);
  return delegate_.lock();
}

std::shared_ptr<AgoraRtmChannelDelegate> ScriptedRtmKit::channelDelegate() const {
  const std::lock_guard lock(mutex_);
  return channelDelegate_.lock();
}

void ScriptedRtmKit::setCreatesChannels(bool creates) {
  const std::lock_guard lock(mutex_);
  createsChannels_ = creates;
}

void ScriptedRtmKit::setHasDictionary(bool has) {
  const std::lock_guard lock(mutex_);
  hasDictionary_ = has;
}

void ScriptedRtmKit::login(const std::optional<std::string>& token, const std::string& userId,
                           AgoraRtmCompletion completion) {
  ask("login " + userId + (token ? " " + *token : ""), {std::move(completion)});
}

void ScriptedRtmKit::logout(AgoraRtmCompletion completion) {
  ask("logout", {std::move(completion)});
}

void ScriptedRtmKit::send(const std::string& text, const std::string& peerId,
                          AgoraRtmCompletion completion) {
  ask("send " + peerId + " " + text, {std::move(completion)});
}

std::shared_ptr<AgoraRtmChannel> ScriptedRtmKit::createChannel(
    const std::string& channelId, std::weak_ptr<AgoraRtmChannelDelegate> delegate) {
  ask("create " + channelId, {});
  const std::lock_guard lock(mutex_);
  if (!createsChannels_) return nullptr;
  channelDelegate_ = std::move(delegate);
  auto& channel = channels_[channelId];
  if (!channel) channel = std::make_shared<Channel>(weak_from_this(), channelId);
  return channel;
}

bool ScriptedRtmKit::destroyChannel(const std::string& channelId) {
  ask("destroy " + channelId, {});
  const std::lock_guard lock(mutex_);
  return channels_.erase(channelId) > 0;
}

std::optional<AgoraRtmKit::Channels> ScriptedRtmKit::channels() const {
  const std::lock_guard lock(mutex_);
  return hasDictionary_ ? std::optional(channels_) : std::nullopt;
}

}  // namespace zavelo::testing
