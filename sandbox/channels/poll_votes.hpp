#pragma once

#include <mutex>
#include <set>
#include <string>

#include "sandbox/channels/channel_listener.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// Takes votes out of a stream's chat while a poll runs: a line that is an option's number or its
/// text, case aside.
class PollVotes final : public ChannelListener {
 public:
  explicit PollVotes(Database& database) : database_(database) {}

  void heard(const ChannelMember& sender, const std::string& text) override;

  /// The channels whose polls had votes since it was last asked.
  [[nodiscard]] std::set<std::string> takeChanged();

 private:
  Database& database_;
  std::mutex mutex_;
  std::set<std::string> changed_;
};

}  // namespace zavelo::sandbox
