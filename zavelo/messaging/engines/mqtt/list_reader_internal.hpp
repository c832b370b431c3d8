#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "zavelo/messaging/engines/mqtt/connection_internal.hpp"
#include "zavelo/messaging/engines/mqtt/roster_internal.hpp"

namespace zavelo::detail {

/// Fetches lists of presence entries over a connection, one list after the other.
///
/// What one says to oneself usually comes after all that was there before: a list is complete when
/// the number comes back that was published after asking for it (the fence).
class MqttListReader {
 public:
  struct Filters {
    std::string whole, ownShard;
    std::string fence;  ///< a topic
  };
  struct Reading {
    bool isWhole;                                      ///< or the own shard alone
    std::function<void(const MqttRoster* seen)> done;  ///< null when it was not read to its end
    MqttConnection::Answer subscribed{};
    MqttRoster seen{};
  };

  /// `keeps` says whether a list's subscription goes on when it has been read.
  MqttListReader(MqttLoop& loop, std::chrono::milliseconds timeout,
                 std::function<bool(bool isWhole)> keeps)
      : loop_(loop), timeout_(timeout), keeps_(std::move(keeps)) {}

  void begin(Filters filters);
  void read(const std::shared_ptr<MqttConnection>& connection, Reading reading);
  /// The connection is lost: lists that were asked for are not read to their end.
  void end();

  void hearEntry(const std::string& userId, const std::string& session, bool isInOwnShard,
                 bool isEmpty);
  void hearFence(const std::string& number);

 private:
  void start();
  void finish(bool isComplete);

  MqttLoop& loop_;
  const std::chrono::milliseconds timeout_;
  const std::function<bool(bool)> keeps_;
  Filters filters_;
  std::shared_ptr<MqttConnection> connection_;
  std::shared_ptr<int> life_;     // from `begin` to `end`; what comes later holds it weakly
  std::deque<Reading> readings_;  // the first is under way
  std::uint64_t fence_ = 0;
};

}  // namespace zavelo::detail
