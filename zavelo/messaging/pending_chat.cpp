#include "zavelo/messaging/pending_chat_internal.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <typeinfo>
#include <utility>

#include "zavelo/messaging/gift_message.hpp"

namespace zavelo::detail {
namespace {

using Event = std::shared_ptr<const ZVStreamMessage>;

/// Newer kinds count as plain lines, as they do in `ZVStreamMessage::type`.
ZVMessageType kindOf(std::int64_t type) {
  return fromRawValue<ZVMessageType>(type).value_or(ZVMessageType::message);
}

std::int64_t sum(std::int64_t a, std::int64_t b) {
  using Limits = std::numeric_limits<std::int64_t>;
  if (b > 0 && a > Limits::max() - b) return Limits::max();
  if (b < 0 && a < Limits::min() - b) return Limits::min();
  return a + b;
}

/// The newer event, as a gift with the gifts of both.
Event joined(const Event& older, Event newer) {
  const auto* before = dynamic_cast<const ZVGiftMessage*>(older.get());
  const auto* now = dynamic_cast<const ZVGiftMessage*>(newer.get());
  if (before == nullptr || now == nullptr) return newer;
  auto gift = std::make_shared<ZVGiftMessage>();
  static_cast<ZVStreamMessageFields&>(*gift) = *now;
  static_cast<ZVGiftMessageFields&>(*gift) = *now;
  gift->giftCount = sum(before->giftCount.value_or(1), now->giftCount.value_or(1));
  return gift;
}

}  // namespace

ChatHandling chatHandling(const ZVStreamMessage& event, std::int64_t type) {
  switch (kindOf(type)) {
    case ZVMessageType::like:
    case ZVMessageType::viewerJoined:
    case ZVMessageType::viewerLeft:
    case ZVMessageType::statistic:
    case ZVMessageType::pkStatistic:
      return ChatHandling::merge;
    case ZVMessageType::message:  // also of a gift without its `messageType`
      return typeid(event) == typeid(ZVStreamMessage) ? ChatHandling::drop : ChatHandling::keep;
    default:
      return ChatHandling::keep;
  }
}

PendingChat::PendingChat(const ZVChatBatcherOptions& options)
    : lineLimit_(std::max<std::size_t>(options.lineLimit, 1)), keptLimit_(options.keptLimit) {}

PendingChat::Key PendingChat::keyOf(const ZVStreamMessage& event, std::int64_t type) {
  const auto* gift = dynamic_cast<const ZVGiftMessage*>(&event);
  return {Scope::origin, kindOf(type), event.senderUserId,
          gift != nullptr ? gift->giftId : std::nullopt, event.targetUsername};
}

PendingChat::Key PendingChat::keyOfAll(std::int64_t type) {
  return {Scope::kind, kindOf(type), {}, {}, {}};
}

void PendingChat::add(Event event, std::int64_t type, ChatHandling handling) {
  Waiting waiting{{std::move(event), type}, ++lastNumber_};
  if (handling == ChatHandling::drop) {
    lines_.push_back(std::move(waiting));
    if (lines_.size() > lineLimit_) dropOldestLine();
  } else if (handling == ChatHandling::merge) {
    if (addTo(keyOfAll(type), std::move(waiting))) ++counters.merged;
  } else {
    Key key = keyOf(*waiting.item.event, type);
    if (others_.size() < keptLimit_) return append(std::move(key), std::move(waiting));
    if (!places_.contains(key)) key = keyOfAll(type);
    if (addTo(std::move(key), std::move(waiting))) ++counters.compacted;
  }
}

ZVChatBatch PendingChat::take(std::size_t lines) {
  const auto end = lines_.begin() + static_cast<std::ptrdiff_t>(std::min(lines, lines_.size()));
  const auto size = others_.size() + static_cast<std::size_t>(end - lines_.begin());
  ZVChatBatch batch;
  if (size == 0) return batch;
  batch.items.reserve(size);
  others_.reserve(size);
  std::move(lines_.begin(), end, std::back_inserter(others_));
  lines_.erase(lines_.begin(), end);
  std::ranges::sort(others_, {}, &Waiting::number);
  for (auto& each : others_) batch.items.push_back(std::move(each.item));
  others_.clear();
  places_.clear();
  batch.droppedLines = std::exchange(droppedLines_, 0);
  ++counters.batches;
  counters.items += size;
  return batch;
}

void PendingChat::append(Key key, Waiting newest) {
  others_.push_back(std::move(newest));
  places_.insert_or_assign(std::move(key), others_.size() - 1);
}

bool PendingChat::addTo(Key key, Waiting newest) {
  const auto place = places_.find(key);
  if (place == places_.end()) {
    append(std::move(key), std::move(newest));
    return false;
  }
  Waiting& older = others_[place->second];
  newest.item.event = joined(older.item.event, std::move(newest.item.event));
  newest.item.count += older.item.count;
  older = std::move(newest);
  return true;
}

void PendingChat::dropOldestLine() {
  lines_.pop_front();
  ++droppedLines_;
  ++counters.droppedLines;
}

}  // namespace zavelo::detail
