#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/channels/broker_connection.hpp"
#include "sandbox/channels/channel_listener.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// Receives every channel of a broker, knows its members, and can send there in any user's name.
class ChannelTap {
 public:
  /// `userName`: one that the broker lets read and write everything. The listeners outlive the tap.
  static Result<std::unique_ptr<ChannelTap>, std::string> open(
      std::uint16_t port, const std::string& userName, std::vector<ChannelListener*> listeners);

  /// Sends it to the channel, once for each app that has members there. Returns how often.
  std::int64_t tell(std::string_view channelId, std::string_view senderId, const std::string& text);

  /// Those that have members.
  [[nodiscard]] std::set<std::string> channels() const;

 private:
  struct Place {
    std::string channelId;
    std::string appId;
    auto operator<=>(const Place&) const = default;
  };
  using Sessions = std::set<std::string>;

  explicit ChannelTap(std::vector<ChannelListener*> listeners) : listeners_(std::move(listeners)) {}
  void receive(const std::string& topic, const std::string& payload);
  void notePresence(const ChannelMember& member, const std::string& session, bool isThere);
  void forgetAll();

  const std::vector<ChannelListener*> listeners_;
  mutable std::mutex mutex_;
  std::map<Place, std::map<std::string, Sessions>> members_;
  std::unique_ptr<BrokerConnection> connection_;  // the last: its thread uses the others
};

}  // namespace zavelo::sandbox
