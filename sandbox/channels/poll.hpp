#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/state/database.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::sandbox {

/// The `status` of a poll's record.
enum class PollStatus : std::int64_t { running = 1, stopped = 2 };

/// A poll as the database has it. A stream has at most one that runs.
struct Poll {
  std::int64_t id = 0;
  std::string title;
  std::string question;
  std::vector<std::string> options;  ///< two or three
  PollStatus status = PollStatus::running;
  std::vector<std::int64_t> votes;       ///< for each option
  std::optional<std::int64_t> hostId{};  ///< the id that the host's app gave it
};

[[nodiscard]] std::optional<Poll> runningPoll(Transaction& transaction, std::int64_t stream);
/// The running one, or the one that ran last.
[[nodiscard]] std::optional<Poll> latestPoll(Transaction& transaction, std::int64_t stream);
/// The stream has none that runs. Its id, status and votes do not count.
[[nodiscard]] Poll startPoll(Transaction& transaction, std::int64_t stream, const Poll& poll);
[[nodiscard]] Poll stopPoll(Transaction& transaction, const Poll& poll);

/// One vote, in place of the voter's one before. `choice` counts from 1.
void vote(Transaction& transaction, const Poll& poll, std::string_view voter, std::int64_t choice);
/// Votes without known voters.
void addVotes(Transaction& transaction, const Poll& poll, std::int64_t choice, std::int64_t count);

[[nodiscard]] std::shared_ptr<ZVPoll> recordOf(const Poll& poll);

}  // namespace zavelo::sandbox
