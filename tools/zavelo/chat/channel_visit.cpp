#include "tools/zavelo/chat/channel_visit.hpp"

#include <chrono>
#include <utility>

#include "zavelo/core/notifications.hpp"

namespace zavelo::command {
namespace {

constexpr std::chrono::seconds patience{15};
constexpr std::chrono::milliseconds firstWord{1'500};
constexpr std::chrono::milliseconds logoutLook{10};
constexpr int logoutLooks = 200;

}  // namespace

std::shared_ptr<ChannelVisit> ChannelVisit::create(Collaborators with, std::string channel) {
  return std::shared_ptr<ChannelVisit>(new ChannelVisit(std::move(with), std::move(channel)));
}

ChannelVisit::ChannelVisit(Collaborators with, std::string channel)
    : with_(std::move(with)), channel_(std::move(channel)) {}

/// From whatever thread to the queue, if the visit is still there by then. A step copies what it
/// calls, as that may end the visit.
void ChannelVisit::post(Step step) {
  with_.queue->post([weak = weak_from_this(), step = std::move(step)] {
    if (const auto self = weak.lock()) step(*self);
  });
}

void ChannelVisit::enter(Heard heard, Outcome entered, Patience howLong) {
  entered_ = std::move(entered);
  hear(std::move(heard));
  with_.queue->postAfter(firstWord, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->sayNoAnswer();
  });
  if (howLong == Patience::limited)
    with_.queue->postAfter(patience, [weak = weak_from_this()] {
      const auto self = weak.lock();
      if (!self) return;
      const auto status = self->with_.service->status();
      const auto place = status.address + (status.problem.empty() ? "" : ": " + status.problem);
      self->answer(self->isConnected()
                       ? "no answer to the joining of " + self->channel_
                       : "could not log in to messaging within 15 seconds: " + place);
    });
  // Notifications and callbacks hold the visit weakly: the service outlives it.
  with_.service->connect([step = steps()] { step([](ChannelVisit& visit) { visit.join(); }); });
}

void ChannelVisit::join() {
  if (!entered_) return;
  const auto step = steps();
  with_.service->joinChannel(
      channel_, [step] { step([](ChannelVisit& visit) { visit.answer(std::nullopt); }); },
      [step](const ZVError& error) {
        step([failure = error.description()](ChannelVisit& visit) { visit.answer(failure); });
      });
}

std::function<void(ChannelVisit::Step)> ChannelVisit::steps() {
  return [weak = weak_from_this()](Step step) {
    if (const auto self = weak.lock()) self->post(std::move(step));
  };
}

void ChannelVisit::answer(std::optional<std::string> failure) {
  if (const auto entered = std::exchange(entered_, {})) entered(std::move(failure));
}

void ChannelVisit::hear(Heard heard) {
  heard_ = std::move(heard);
  const auto observe = [this](std::string_view name,
                              std::function<void(const Notification&)> observer) {
    observers_.push_back(with_.notifications->addObserver(std::string(name), std::move(observer)));
  };
  observe(ZaveloDidReceiveChannelMessage, [weak = weak_from_this()](const Notification& posted) {
    const auto self = weak.lock();
    const auto* message = posted.info<ZVRTMChannelMessage>("message");
    if (!self || message == nullptr || message->channelId != self->channel_) return;
    self->post([heard = *message](ChannelVisit& visit) {
      if (const auto hear = visit.heard_.message) hear(heard.message, heard.senderId);
    });
  });
  observe(ZaveloUserDidLeaveChannel, [weak = weak_from_this()](const Notification& posted) {
    const auto self = weak.lock();
    const auto* member = posted.info<ZVRTMChannelMember>("user");
    if (!self || member == nullptr || member->channelId != self->channel_) return;
    self->post([](ChannelVisit& visit) {
      if (const auto hear = visit.heard_.membersChanged) hear();
    });
  });
  observe(ZaveloRTMStatusDidChange, [weak = weak_from_this()](const Notification& posted) {
    const auto self = weak.lock();
    const auto* status = posted.info<ZVRTMStatus>("status");
    if (!self || status == nullptr) return;
    self->post([heard = *status](ChannelVisit& visit) { visit.hearStatus(heard); });
  });
  observe(ZaveloUserDidRemoteLogin, [weak = weak_from_this()](const Notification&) {
    const auto self = weak.lock();
    if (!self) return;
    self->post([](ChannelVisit& visit) {
      visit.answer("signed in elsewhere");
      if (const auto hear = visit.heard_.remoteLogin) hear();
    });
  });
}

void ChannelVisit::hearStatus(const ZVRTMStatus& status) {
  const auto problem = status.address + ": " + status.problem;
  if (entered_ && !status.problem.empty() && problem != problem_) {
    problem_ = problem;
    if (const auto hear = heard_.problem) hear(problem);
  }
  const auto entry = status.channels.find(channel_);
  if (entry == status.channels.end()) return;
  const auto state = std::exchange(state_, entry->second.state);
  using enum AgoraRtmChannelState;
  if (state == state_ || (state_ != interrupted && state_ != resumed && state_ != givenUp)) return;
  if (const auto hear = heard_.channel) hear(entry->second);
}

void ChannelVisit::sayNoAnswer() {
  if (!entered_ || !problem_.empty()) return;
  problem_ = with_.service->status().address + ": no answer yet";
  if (const auto hear = heard_.problem) hear(problem_);
}

void ChannelVisit::send(const std::string& text, Outcome sent) {
  const auto step = steps();
  with_.service->writeChannel(
      channel_, text, [step, sent] { step([sent](ChannelVisit&) { sent(std::nullopt); }); },
      [step, sent](const ZVError& error) {
        step([sent, failure = error.description()](ChannelVisit&) { sent(failure); });
      });
}

void ChannelVisit::members(std::function<void(std::vector<std::string>)> told) {
  with_.service->getMembersOfChannel(
      channel_, [step = steps(), told = std::move(told)](std::vector<std::string> ids) {
        step([told, ids = std::move(ids)](ChannelVisit&) { told(ids); });
      });
}

void ChannelVisit::leave(std::function<void()> left) {
  observers_.clear();
  heard_ = {};
  entered_ = {};
  with_.service->leaveChannel(channel_, true);
  with_.service->disconnect();
  waitForLogout(logoutLooks, std::move(left));
}

// Nothing tells that the logout is done, but the connection's state.
void ChannelVisit::waitForLogout(int looks, std::function<void()> left) {
  if (looks == 0 || !isConnected()) return left();
  with_.queue->postAfter(logoutLook, [self = shared_from_this(), looks, left = std::move(left)] {
    self->waitForLogout(looks - 1, left);
  });
}

}  // namespace zavelo::command
