#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "zavelo/messaging/engines/mqtt/packet_internal.hpp"

namespace zavelo::detail {

/// Cuts what comes in into packets. Of a packet with a body that is larger than allowed only the
/// beginning is kept; the rest is read past, whatever its size.
class MqttPacketReader {
 public:
  explicit MqttPacketReader(std::size_t largestBody) : largestBody_(largestBody) {}

  void add(std::string_view bytes) {
    const auto skipped = std::min(skipped_, bytes.size());
    skipped_ -= skipped;
    bytes_ += bytes.substr(skipped);
  }

  struct Found {
    MqttFrame frame;
    std::string_view body;  ///< until the next call
    bool isCut;
  };
  /// The next packet, if there is one. `framing` says whether there may be one later.
  std::optional<Found> next(MqttFraming& framing) {
    const auto rest = std::string_view(bytes_).substr(taken_);
    std::optional<MqttFrame> frame;
    framing = mqttFrame(rest, frame);
    if (frame) {
      const auto present = std::min(frame->bodySize, rest.size() - frame->headerSize);
      if (present >= std::min(frame->bodySize, largestBody_)) {
        framing = MqttFraming::complete;
        skipped_ = frame->bodySize - present;
        taken_ += frame->headerSize + present;
        return Found{*frame, rest.substr(frame->headerSize, present),
                     frame->bodySize > largestBody_};
      }
    }
    bytes_.erase(0, taken_);
    taken_ = 0;
    constexpr std::size_t mostKept = 32 * 1024;
    if (bytes_.empty() && bytes_.capacity() > mostKept) bytes_ = {};
    return {};
  }

  void clear() {
    bytes_.clear();
    taken_ = skipped_ = 0;
  }

 private:
  const std::size_t largestBody_;
  std::string bytes_;
  std::size_t taken_ = 0;
  std::size_t skipped_ = 0;  // still to come of a packet that is too large
};

}  // namespace zavelo::detail
