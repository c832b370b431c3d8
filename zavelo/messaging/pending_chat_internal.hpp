#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "zavelo/messaging/chat_batcher.hpp"

namespace zavelo::detail {

/// What becomes of an event while it waits.
enum class ChatHandling { merge, drop, keep };

/// By the type of the event's envelope.
[[nodiscard]] ChatHandling chatHandling(const ZVStreamMessage& event, std::int64_t type);

/// The events that wait for the next batch, in bounded room. Not synchronised.
class PendingChat {
 public:
  explicit PendingChat(const ZVChatBatcherOptions& options);

  void add(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type, ChatHandling handling);
  /// With so many lines at most, the oldest of them. Where memory is short, all goes on waiting.
  ZVChatBatch take(std::size_t lines);

  [[nodiscard]] std::size_t lines() const { return lines_.size(); }
  [[nodiscard]] std::size_t size() const { return lines_.size() + others_.size(); }

  ZVChatBatcherCounters counters;

 private:
  struct Waiting {
    ZVChatBatchItem item;
    std::uint64_t number;  // of its newest event
  };
  /// Events with the same key may become one item: all of a kind, or those of one origin.
  enum class Scope { kind, origin };
  using Key = std::tuple<Scope, ZVMessageType, std::optional<std::int64_t>,
                         std::optional<std::int64_t>, std::optional<std::string>>;

  [[nodiscard]] static Key keyOf(const ZVStreamMessage& event, std::int64_t type);
  [[nodiscard]] static Key keyOfAll(std::int64_t type);
  void append(Key key, Waiting newest);
  /// Whether an item with this key waited already.
  bool addTo(Key key, Waiting newest);
  void dropOldestLine();

  const std::size_t lineLimit_;
  const std::size_t keptLimit_;
  std::deque<Waiting> lines_;
  std::vector<Waiting> others_;
  std::map<Key, std::size_t> places_;  // in `others_`
  std::uint64_t lastNumber_ = 0;
  std::uint64_t droppedLines_ = 0;  // since the last batch
};

}  // namespace zavelo::detail
