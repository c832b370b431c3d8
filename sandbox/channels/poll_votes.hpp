#pragma once

#include <deque>
#include <mutex>
#include <set>
#include <string>

#include "sandbox/channels/channel_listener.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// Reads a stream's chat for its poll: the host's events start and stop one, and while it runs, a
/// line that is an option's number or its text, case aside, is a vote.
class PollVotes final : public ChannelListener {
 public:
  explicit PollVotes(Database& database) : database_(database) {}

  void received(const ChannelMember& sender, const std::string& text) override;

  /// The sandbox is about to send this event of a poll: the state has it already.
  void noteSent(const std::string& text);

  /// The channels whose polls were started or voted in since it was last asked.
  [[nodiscard]] std::set<std::string> takeChanged();

 private:
  [[nodiscard]] bool wasSent(const std::string& text);

  Database& database_;
  std::mutex mutex_;
  std::set<std::string> changed_;
  std::deque<std::string> sent_;
};

}  // namespace zavelo::sandbox
