#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/base/unique_function.hpp"
#include "zavelo/messaging/stream_message.hpp"
#include "zavelo/platform/clock.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo {

/// An event to show. Where it represents several, it is the newest of them.
struct ZVChatBatchItem {
  std::shared_ptr<const ZVStreamMessage> event = {};
  std::int64_t type = 0;  ///< of `ZVMessageType`, or a newer kind
  std::uint64_t count = 1;
};

struct ZVChatBatch {
  std::vector<ZVChatBatchItem> items = {};  ///< in the order in which they came; never empty
  std::uint64_t droppedLines = 0;           ///< since the batch before
};

struct ZVChatBatcherOptions {
  /// From the first event that waits to its batch, and at least so long from the end of one batch
  /// to the next: 100 to 250 ms suit a chat.
  std::chrono::milliseconds interval{200};
  /// At most so many plain lines a second, for a chat that people can read along; 0: no limit.
  double linesPerSecond = 0;
  /// So many plain lines wait at most; for one more the oldest is dropped.
  std::size_t lineLimit = 100;
  /// So many events that are never dropped wait as they are; more are compacted.
  std::size_t keptLimit = 2'000;
};

/// What has happened so far. Each received event is in one item's `count`, dropped, lost or waits.
struct ZVChatBatcherCounters {
  std::uint64_t received = 0;
  std::uint64_t batches = 0;
  std::uint64_t items = 0;      ///< in all batches
  std::uint64_t merged = 0;     ///< likes, joins, leaves and statistics counted in another's item
  std::uint64_t compacted = 0;  ///< others that went into another's item, beyond `keptLimit`
  std::uint64_t droppedLines = 0;  ///< plain lines
  std::uint64_t lost = 0;          ///< for want of memory
  std::size_t pending = 0;         ///< items that wait now
};

/// Hands chat events to a screen by batch, so that a crowd cannot hold up the main queue: what
/// waits is bounded, and a screen that cannot keep up shows the newest lines.
///
///     ZVChatBatcher batcher([view = weakView](ZVChatBatch batch) { view.lock()->append(batch); });
///     onChannelMessage([&](const ZVMessage& envelope) {
///       batcher.add(envelope.getStreamMessage(), envelope.type);
///     });
///
/// - Likes, joins, leaves and statistics wait as one item a kind, the newest with a count.
/// - Plain lines (what is of no other kind) are dropped beyond `lineLimit`, the oldest first.
/// - All other events are never dropped. Beyond `keptLimit`, as when the main queue is blocked,
///   they are compacted: those of one kind, sender, target and gift into one item, the newest with
///   a count; where none of these waits, all of a kind into one. A gift's `giftCount` is then the
///   sum.
///
/// Any thread. Batches come on the main queue, one after the other; nothing is scheduled while
/// nothing waits.
class ZAVELO_EXPORT ZVChatBatcher {
 public:
  using Deliver = UniqueFunction<void(ZVChatBatch)>;
  struct ZAVELO_EXPORT Collaborators {
    std::shared_ptr<Queue> mainQueue = {};
    std::shared_ptr<const Clock> clock = {};  ///< for `linesPerSecond`

    /// Those of the installed platform.
    [[nodiscard]] static Collaborators ofPlatform();
  };

  explicit ZVChatBatcher(Deliver deliver, Collaborators with = Collaborators::ofPlatform(),
                         const ZVChatBatcherOptions& options = {});
  /// What waits is posted as a last batch, so `deliver` must not refer to what may be destroyed
  /// by then.
  ~ZVChatBatcher();
  ZVChatBatcher(const ZVChatBatcher&) = delete;
  ZVChatBatcher& operator=(const ZVChatBatcher&) = delete;

  /// Null is ignored. The event must not change any more.
  void add(std::shared_ptr<const ZVStreamMessage> event);
  /// An event that came in an envelope of that type, which need not be its own.
  void add(std::shared_ptr<const ZVStreamMessage> event, std::int64_t type);
  /// Never dropped and not merged, whatever its kind: one's own line, or one that names the user.
  void addKept(std::shared_ptr<const ZVStreamMessage> event);
  /// Posts what waits as one batch, now and at any rate.
  void flush();
  [[nodiscard]] ZVChatBatcherCounters counters() const;

 private:
  class State;
  const std::shared_ptr<State> state_;
};

}  // namespace zavelo
