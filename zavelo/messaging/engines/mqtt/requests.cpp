#include "zavelo/messaging/engines/mqtt/requests_internal.hpp"

namespace zavelo::detail {

std::uint16_t MqttRequests::add(Answer answer) {
  do ++lastId_;
  while (lastId_ == 0 || requests_.contains(lastId_));
  const auto now = MqttLoop::Clock::now();
  requests_[lastId_] = {std::move(answer), ++lastSerial_, now};
  deadlines_.push_back({now + timeout_, lastId_, lastSerial_});
  return lastId_;
}

MqttRequests::Answer MqttRequests::withdraw(std::uint16_t id) {
  const auto found = requests_.find(id);
  if (found == requests_.end()) return {};
  auto answer = std::move(found->second.answer);
  requests_.erase(found);
  return answer;
}

void MqttRequests::sendQueued(std::string& out) {
  while (!queued_.empty() && inFlight_ < window_) {
    const auto [id, packet] = std::move(queued_.front());
    queued_.pop_front();
    const auto request = requests_.find(id);
    if (request == requests_.end()) continue;  // has timed out
    request->second.sent = MqttLoop::Clock::now();
    ++inFlight_;
    out += packet;
  }
}

void MqttRequests::settle(std::uint16_t id, int reason) {
  const auto found = requests_.find(id);
  if (found == requests_.end()) return;
  if (reason != unanswered) prove(found->second.sent);
  if (const auto answer = withdraw(id)) answer(reason);
}

void MqttRequests::settlePublish(std::uint16_t id, int reason) {
  if (inFlight_ > 0) --inFlight_;
  settle(id, reason);
}

bool MqttRequests::isOpen(const Deadline& deadline) const {
  const auto found = requests_.find(deadline.id);
  return found != requests_.end() && found->second.serial == deadline.serial;
}

MqttRequests::Time MqttRequests::nextDeadline() {
  while (!deadlines_.empty() && !isOpen(deadlines_.front())) deadlines_.pop_front();
  return deadlines_.empty() ? Time::max() : deadlines_.front().time;
}

void MqttRequests::expire(Time now) {
  while (nextDeadline() <= now) settle(deadlines_.front().id, unanswered);
}

void MqttRequests::abandon(MqttLoop& loop) {
  for (auto& [id, request] : std::exchange(requests_, {}))
    if (request.answer) loop.post([answer = std::move(request.answer)] { answer(unanswered); });
}

}  // namespace zavelo::detail
