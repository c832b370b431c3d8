#include "sandbox/channels/poll.hpp"

#include <numeric>
#include <utility>

namespace zavelo::sandbox {
namespace {

std::optional<Poll> pollWhere(Transaction& transaction, std::string_view condition,
                              std::int64_t id) {
  using Text = std::string;
  const auto row = transaction.first<std::int64_t, Text, Text, PollStatus, Text, Text,
                                     std::optional<Text>, std::optional<std::int64_t>>(
      Text("SELECT id, title, question, status, option1, option2, option3, host_id "
           "FROM polls WHERE ")
          .append(condition),
      id);
  if (!row) return {};
  const auto& [number, title, question, status, first, second, third, hostId] = *row;
  Poll poll{.id = number,
            .title = title,
            .question = question,
            .options = {first, second},
            .status = status,
            .votes = {},
            .hostId = hostId};
  if (third) poll.options.push_back(*third);
  poll.votes.resize(poll.options.size());
  for (const auto& [choice, count] : transaction.rows<std::size_t, std::int64_t>(
           "SELECT choice, sum(count) FROM poll_votes WHERE poll = ? GROUP BY choice", poll.id)) {
    poll.votes.at(choice - 1) = count;
  }
  return poll;
}

}  // namespace

std::optional<Poll> runningPoll(Transaction& transaction, std::int64_t stream) {
  return pollWhere(transaction, "status = 1 AND stream = ?", stream);
}

std::optional<Poll> latestPoll(Transaction& transaction, std::int64_t stream) {
  return pollWhere(transaction, "stream = ? ORDER BY id DESC LIMIT 1", stream);
}

Poll startPoll(Transaction& transaction, std::int64_t stream, const Poll& poll) {
  const auto& options = poll.options;
  transaction.run(
      "INSERT INTO polls (stream, title, question, option1, option2, option3, host_id) "
      "VALUES (?, ?, ?, ?, ?, ?, ?)",
      stream, poll.title, poll.question, options.at(0), options.at(1),
      options.size() > 2 ? std::optional(options[2]) : std::nullopt, poll.hostId);
  return *pollWhere(transaction, "id = ?", transaction.lastId());
}

Poll stopPoll(Transaction& transaction, const Poll& poll) {
  transaction.run("UPDATE polls SET status = ? WHERE id = ?", PollStatus::stopped, poll.id);
  return *pollWhere(transaction, "id = ?", poll.id);
}

void vote(Transaction& transaction, const Poll& poll, std::string_view voter, std::int64_t choice) {
  transaction.run(
      "INSERT OR REPLACE INTO poll_votes (poll, voter, choice, count) "
      "VALUES (?, ?, ?, 1)",
      poll.id, voter, choice);
}

void addVotes(Transaction& transaction, const Poll& poll, std::int64_t choice, std::int64_t count) {
  transaction.run("INSERT INTO poll_votes (poll, choice, count) VALUES (?, ?, ?)", poll.id, choice,
                  count);
}

std::shared_ptr<ZVPoll> recordOf(const Poll& poll) {
  auto record = std::make_shared<ZVPoll>();
  record->id = poll.hostId.value_or(poll.id);
  record->title = poll.title;
  record->question = poll.question;
  record->status = static_cast<std::int64_t>(poll.status);
  record->option1 = poll.options.at(0);
  record->option2 = poll.options.at(1);
  record->numOption1 = poll.votes.at(0);
  record->numOption2 = poll.votes.at(1);
  if (poll.options.size() > 2) {
    record->option3 = poll.options[2];
    record->numOption3 = poll.votes.at(2);
  }
  record->total = std::accumulate(poll.votes.begin(), poll.votes.end(), std::int64_t{0});
  return record;
}

}  // namespace zavelo::sandbox
