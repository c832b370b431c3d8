#pragma once

#include <string>

namespace zavelo::sandbox {

struct GivenGift;

/// Somebody in a channel. A stream's channel has the stream's slug as its id.
struct ChannelMember {
  std::string appId;  ///< of the messaging engine; empty: none was set
  std::string channelId;
  std::string userId;
};

/// Told of what goes on in the channels and of gifts, on the thread where it happens, one at a time
/// or not: keep it short.
class ChannelListener {
 public:
  virtual ~ChannelListener() = default;
  /// A text in a channel, as it travels: the JSON of a `ZVMessage` if its sender is an app.
  virtual void received(const ChannelMember& sender, const std::string& text) {
    (void)sender, (void)text;
  }
  virtual void came(const ChannelMember& member) { (void)member; }
  virtual void went(const ChannelMember& member) { (void)member; }
  virtual void given(const GivenGift& gift) { (void)gift; }
};

}  // namespace zavelo::sandbox
