#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <utility>

#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"

namespace zavelo::detail {

/// What a connection has asked its broker and is not answered yet: identifiers, time-outs, and the
/// window of publishes that the broker takes at a time (MQTT 5 section 4.9). Each request is
/// answered once, with the broker's reason code or with `unanswered`.
class MqttRequests {
 public:
  using Answer = std::function<void(int reason)>;
  using Time = MqttLoop::Clock::time_point;
  static constexpr int unanswered = -1;

  explicit MqttRequests(std::chrono::milliseconds timeout) : timeout_(timeout) {}

  /// A new request's identifier.
  std::uint16_t add(Answer answer);
  /// The answer of a request that is not sent after all.
  Answer withdraw(std::uint16_t id);
  /// A publish packet that waits for its turn.
  void queue(std::uint16_t id, std::string packet) { queued_.emplace_back(id, std::move(packet)); }
  [[nodiscard]] std::size_t queued() const noexcept { return queued_.size(); }
  /// Appends the packets that the window lets through.
  void sendQueued(std::string& out);
  void setWindow(std::size_t size) { window_ = size; }

  /// The broker's answer; of a publish it opens the window.
  void settle(std::uint16_t id, int reason);
  void settlePublish(std::uint16_t id, int reason);
  /// Answers what is late.
  void expire(Time now);
  /// `Time::max()` when nothing waits for an answer.
  [[nodiscard]] Time nextDeadline();
  /// The end: each request that is left is answered on the loop.
  void abandon(MqttLoop& loop);

  /// When the latest request was sent that the broker has answered. A connection delivers in order,
  /// so that what the broker had for it before has arrived.
  [[nodiscard]] Time provenAt() const noexcept { return provenAt_; }
  void prove(Time sent) { provenAt_ = std::max(provenAt_, sent); }

 private:
  struct Request {
    Answer answer;
    std::uint64_t serial;
    Time sent;
  };
  struct Deadline {
    Time time;
    std::uint16_t id;
    std::uint64_t serial;
  };
  [[nodiscard]] bool isOpen(const Deadline& deadline) const;

  const std::chrono::milliseconds timeout_;
  std::map<std::uint16_t, Request> requests_;
  std::deque<Deadline> deadlines_;  // the earliest first
  std::uint64_t lastSerial_ = 0;
  std::uint16_t lastId_ = 0;
  std::size_t inFlight_ = 0, window_ = 1;
  std::deque<std::pair<std::uint16_t, std::string>> queued_;
  Time provenAt_ = MqttLoop::Clock::now();
};

}  // namespace zavelo::detail
