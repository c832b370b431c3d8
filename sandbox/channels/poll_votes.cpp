#include "sandbox/channels/poll_votes.hpp"

#include <memory>
#include <optional>
#include <utility>

#include "sandbox/api/unicode.hpp"
#include "sandbox/channels/poll.hpp"
#include "sandbox/streams/stream.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/message.hpp"

namespace zavelo::sandbox {
namespace {

/// What a chat line says; none for any other event.
std::optional<std::string> lineIn(const std::string& text) {
  const auto envelope = json::decode<std::shared_ptr<ZVMessage>>(text);
  if (!envelope || (*envelope)->type != rawValue(ZVMessageType::message)) return {};
  const auto event = (*envelope)->getStreamMessage();
  return event ? event->message : std::nullopt;
}

std::optional<std::int64_t> choiceIn(const Poll& poll, const std::string& line) {
  for (std::size_t i = 0; i < poll.options.size(); ++i) {
    if (line == std::to_string(i + 1) || caseFolded(line) == caseFolded(poll.options[i])) {
      return static_cast<std::int64_t>(i + 1);
    }
  }
  return {};
}

}  // namespace

void PollVotes::heard(const ChannelMember& sender, const std::string& text) {
  const auto line = lineIn(text);
  if (!line) return;
  const bool isVote = database_.transact([&](Transaction& transaction) {
    const auto stream = streamBySlug(transaction, sender.channelId);
    const auto poll = stream ? runningPoll(transaction, stream->id) : std::nullopt;
    const auto choice = poll ? choiceIn(*poll, *line) : std::nullopt;
    if (choice) vote(transaction, *poll, sender.userId, *choice);
    return choice.has_value();
  });
  if (!isVote) return;
  const std::scoped_lock lock(mutex_);
  changed_.insert(sender.channelId);
}

std::set<std::string> PollVotes::takeChanged() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(changed_, {});
}

}  // namespace zavelo::sandbox
