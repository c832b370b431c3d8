#include "sandbox/channels/poll.hpp"

#include <numeric>
#include <utility>

namespace zavelo::sandbox {
namespace {

std::optional<Poll> pollWhere(Transaction& transaction, std::string_view condition,
                              std::int64_t id) {
  const auto row = transaction.first(
      std::string("SELECT id, title, question, status, option1, option2, option3, host_id "
                  "FROM polls WHERE ")
          .append(condition),
      id);
  if (!row) return {};
  Poll poll{.id = row->integer(0),
            .title = row->text(1),
            .question = row->text(2),
            .options = {row->text(4), row->text(5)},
            .status = static_cast<PollStatus>(row->integer(3)),
            .votes = {},
            .hostId = row->integerOrNone(7)};
  if (auto third = row->textOrNone(6)) poll.options.push_back(*std::move(third));
  poll.votes.resize(poll.options.size());
  for (const auto& votes : transaction.all(
           "SELECT choice, sum(count) FROM poll_votes WHERE poll = ? GROUP BY choice", poll.id)) {
    poll.votes.at(static_cast<std::size_t>(votes.integer(0) - 1)) = votes.integer(1);
  }
  return poll;
}

}  // namespace

std::optional<Poll> runningPoll(Transaction& transaction, std::int64_t stream) {
  return pollWhere(transaction, "status = 1 AND stream = ?", stream);
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
  transaction.run("UPDATE polls SET status = ? WHERE id = ?",
                  static_cast<std::int64_t>(PollStatus::stopped), poll.id);
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
