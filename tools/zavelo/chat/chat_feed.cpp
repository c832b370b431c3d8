#include "tools/zavelo/chat/chat_feed.hpp"

#include <utility>

#include "tools/zavelo/chat/chat_line.hpp"
#include "zavelo/base/number_text.hpp"

namespace zavelo::command {
namespace {

// Short, for what is said to seem to come at once.
constexpr std::chrono::milliseconds interval{100};

std::string numberText(std::uint64_t number) {
  return zavelo::numberText(static_cast<std::int64_t>(number));
}

}  // namespace

ChatFeed::ChatFeed(std::function<void(std::vector<std::string>)> show,
                   ZVChatBatcher::Collaborators with)
    : show_(std::move(show)),
      batcher_([this](const ZVChatBatch& batch) { take(batch); }, std::move(with),
               {.interval = interval}) {}

void ChatFeed::add(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type, bool isOwn) {
  if (isOwn)
    batcher_.addKept(std::move(event));
  else
    batcher_.add(std::move(event), type);
}

void ChatFeed::take(const ZVChatBatch& batch) {
  std::vector<std::string> lines;
  for (const auto& item : batch.items) {
    if (const auto* statistic = dynamic_cast<const ZVStatisticMessage*>(item.event.get())) {
      statistics_ = statisticText(*statistic);
      continue;
    }
    const auto* member = dynamic_cast<const MemberChange*>(item.event.get());
    lines.push_back(member ? member->text() : eventLine({}, item.type, *item.event).text);
    if (item.count > 1) lines.back() += " (and " + numberText(item.count - 1) + " more)";
  }
  if (!lines.empty()) show_(std::move(lines));
}

std::string ChatFeed::status() const {
  const auto dropped = batcher_.counters().droppedLines;
  if (dropped == 0) return statistics_;
  return statistics_ + (statistics_.empty() ? "" : ", ") + numberText(dropped) + " lines left out";
}

}  // namespace zavelo::command
