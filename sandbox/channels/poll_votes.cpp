#include "sandbox/channels/poll_votes.hpp"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "sandbox/api/unicode.hpp"
#include "sandbox/channels/poll.hpp"
#include "sandbox/streams/stream.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"
#include "zavelo/messaging/poll_message.hpp"

namespace zavelo::sandbox {
namespace {

/// How many events of its own the sandbox recognises when the broker hands them back.
constexpr std::size_t mostSent = 64;

/// A chat line or a poll's start or stop; null for any other event.
std::shared_ptr<ZVStreamMessage> eventIn(const std::string& text) {
  using enum ZVMessageType;
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(text);
  if (!envelope) return nullptr;
  const auto type = (*envelope)->type;
  const bool isWanted =
      type == rawValue(message) || type == rawValue(startPoll) || type == rawValue(stopPoll);
  return isWanted ? (*envelope)->getStreamMessage() : nullptr;
}

std::optional<std::int64_t> choiceIn(const Poll& poll, const std::string& line) {
  for (std::size_t i = 0; i < poll.options.size(); ++i) {
    if (line == std::to_string(i + 1) || caseFolded(line) == caseFolded(poll.options[i])) {
      return static_cast<std::int64_t>(i + 1);
    }
  }
  return {};
}

bool countVote(Transaction& transaction, const Stream& stream, const ZVStreamMessage& line,
               const std::string& voter) {
  const auto poll = runningPoll(transaction, stream.id);
  const auto choice = poll && line.message ? choiceIn(*poll, *line.message) : std::nullopt;
  if (choice) vote(transaction, *poll, voter, *choice);
  return choice.has_value();
}

/// A start of the poll that runs already only tells how it is going. Any other one takes its place.
bool beginPoll(Transaction& transaction, const Stream& stream, const ZVPoll& record) {
  Poll poll{.title = record.title.value_or(""),
            .question = record.question.value_or(""),
            .options = {},
            .votes = {},
            .hostId = record.id};
  for (const auto& option : record.options()) poll.options.push_back(option.option);
  if (poll.question.empty() || poll.options.size() < 2) return false;
  if (const auto running = runningPoll(transaction, stream.id)) {
    if (running->question == poll.question && running->options == poll.options) return false;
    (void)stopPoll(transaction, *running);
  }
  (void)startPoll(transaction, stream.id, poll);
  return true;
}

/// Returns whether the channel is to be told how the poll is going.
bool follow(Transaction& transaction, const Stream& stream, const ZVStreamMessage& event,
            const std::string& sender) {
  const auto* pollEvent = dynamic_cast<const ZVPollMessage*>(&event);
  if (pollEvent == nullptr) return countVote(transaction, stream, event, sender);
  const bool isRunning =
      stream.status == StreamStatus::live || stream.status == StreamStatus::paused;
  if (!isRunning || sender != std::to_string(stream.owner)) return false;
  if (pollEvent->type() == ZVMessageType::startPoll) {
    return pollEvent->pollData && beginPoll(transaction, stream, *pollEvent->pollData);
  }
  if (const auto poll = runningPoll(transaction, stream.id)) (void)stopPoll(transaction, *poll);
  return false;
}

}  // namespace

void PollVotes::received(const ChannelMember& sender, const std::string& text) {
  const auto event = eventIn(text);
  if (!event || wasSent(text)) return;
  const bool isChanged = database_.transact([&](Transaction& transaction) {
    const auto stream = streamBySlug(transaction, sender.channelId);
    return stream && follow(transaction, *stream, *event, sender.userId);
  });
  if (!isChanged) return;
  const std::scoped_lock lock(mutex_);
  changed_.insert(sender.channelId);
}

void PollVotes::noteSent(const std::string& text) {
  const std::scoped_lock lock(mutex_);
  sent_.push_back(text);
  if (sent_.size() > mostSent) sent_.pop_front();
}

bool PollVotes::wasSent(const std::string& text) {
  const std::scoped_lock lock(mutex_);
  return std::ranges::find(sent_, text) != sent_.end();
}

std::set<std::string> PollVotes::takeChanged() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(changed_, {});
}

}  // namespace zavelo::sandbox
