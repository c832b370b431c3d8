#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "sandbox/channels/channel_listener.hpp"
#include "sandbox/events/event_feed.hpp"
#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

struct UserNames {
  std::string userName;
  std::string displayName;
};

/// The latest that was said in the channels, and who came and went. Tells the feed: `chat`.
class ChatLog final : public ChannelListener {
 public:
  /// What the log works with.
  struct Context {
    EventFeed& feed;
    std::function<Time()> now;
    /// The names of a user of the channel; empty: it is no member.
    std::function<UserNames(const std::string& userId)> namesOf;
    /// Called when what was said or given may have changed the state.
    std::function<void()> changed;
  };

  explicit ChatLog(Context context) : context_(std::move(context)) {}

  void received(const ChannelMember& sender, const std::string& text) override;
  void came(const ChannelMember& member) override;
  void went(const ChannelMember& member) override;
  void given(const GivenGift& gift) override;

  /// Of one channel, the oldest first, as a JSON array.
  [[nodiscard]] std::string entries(std::string_view channelId) const;

 private:
  struct Entry {
    std::string channelId;
    std::string json;
  };
  void add(const ChannelMember& member, std::string_view kind, std::string_view text);

  const Context context_;
  mutable std::mutex mutex_;
  std::int64_t lastNumber_ = 0;
  std::size_t bytes_ = 0;
  std::deque<Entry> entries_;
};

}  // namespace zavelo::sandbox
