#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::bench {

/// Counts what arrives in a room, on whatever threads, and when it does.
class Tally {
 public:
  using Clock = std::chrono::steady_clock;

  /// Begins a round in which so much is to arrive, receipts and acknowledgements.
  void expect(std::size_t receipts, std::size_t acknowledgements);
  void receive();
  void acknowledge(bool sound);
  /// False when something was refused, or does not come.
  [[nodiscard]] bool wait();
  /// How long after the beginning of the round each receipt came.
  [[nodiscard]] const std::vector<Clock::duration>& delays() const { return delays_; }

 private:
  void arrive();

  Clock::time_point began_;
  std::vector<Clock::duration> delays_;
  std::atomic<std::size_t> received_ = 0;
  std::atomic<std::size_t> open_ = 0;
  std::atomic<bool> sound_ = true;
};

/// A channel with one who speaks and some who listen, each with connections of their own.
class Room {
 public:
  virtual ~Room() = default;
  /// From one thread. Ends in one acknowledgement, and a receipt for everyone who listens.
  virtual void send(const std::string& text) = 0;
};

/// Through kits of an engine. Each room is a channel of its own.
[[nodiscard]] std::unique_ptr<Room> kitRoom(const AgoraRtmKitFactory& factory,
                                            std::size_t receivers, Tally& tally);
/// With nothing but libmosquitto, on the same topics, with the same quality of service.
[[nodiscard]] std::unique_ptr<Room> mosquittoRoom(std::uint16_t port, std::size_t receivers,
                                                  Tally& tally);

}  // namespace zavelo::bench
