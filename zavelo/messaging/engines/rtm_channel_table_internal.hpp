#pragma once

#include <mutex>
#include <string>

#include "zavelo/messaging/agora_rtm_kit.hpp"

namespace zavelo::detail {

/// The channels that a kit has created and not destroyed. Any thread.
class RtmChannelTable {
 public:
  /// The one that was created before, if it was; else what `create` returns. Null for an empty id.
  template <class Create>
  std::shared_ptr<AgoraRtmChannel> findOrCreate(const std::string& channelId, Create create) {
    if (channelId.empty()) return nullptr;
    const std::lock_guard lock(mutex_);
    auto& channel = channels_[channelId];
    if (!channel) channel = create();
    return channel;
  }
  bool remove(const std::string& channelId) {
    const std::lock_guard lock(mutex_);
    return channels_.erase(channelId) > 0;
  }
  [[nodiscard]] AgoraRtmKit::Channels all() const {
    const std::lock_guard lock(mutex_);
    return channels_;
  }

 private:
  mutable std::mutex mutex_;
  AgoraRtmKit::Channels channels_;
};

}  // namespace zavelo::detail
