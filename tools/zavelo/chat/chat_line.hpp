#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/messaging/rtm_status.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::command {

/// Something that happened in a chat, as one line: for a program and for a person.
///
///     {"channel":"s1","kind":"gift","senderUserId":7,...,"giftName":"Rose","giftCount":3}
///     [gift] Ann: 3 x Rose
struct ChatLine {
  std::string json;
  std::string text;  ///< fit for a terminal, without a line break
};

/// The name of a kind of event, "hostMuted"; of an unknown one its code.
[[nodiscard]] std::string kindName(std::int64_t type);

/// An event that came under that type. Without a channel and a sender (in a recording) none are
/// named. A sender for whom the service vouches is shown where the event claims another one.
[[nodiscard]] ChatLine eventLine(std::string_view channel, std::int64_t type,
                                 const ZVStreamMessage& event, const std::string& senderId = {});
[[nodiscard]] bool claimsAnother(const ZVStreamMessage& event, const std::string& senderId);
/// "12 viewers, 40 likes": what is known of how a stream is doing.
[[nodiscard]] std::string statisticText(const ZVStatisticMessage& event);
/// A text that is no event.
[[nodiscard]] ChatLine undecodableLine(std::string_view channel, const std::string& text,
                                       const std::string& fault);
[[nodiscard]] ChatLine joinedLine(std::string_view channel);
/// Display names by user id, where they are known.
using MemberNames = std::map<std::string, std::string>;
[[nodiscard]] ChatLine membersLine(std::string_view channel, const std::vector<std::string>& ids,
                                   const MemberNames& names);
/// `came`: or went.
[[nodiscard]] ChatLine memberLine(std::string_view channel, const std::string& userId, bool came,
                                  const MemberNames& names);
/// The channel was interrupted, or has been resumed or given up.
[[nodiscard]] ChatLine channelLine(std::string_view channel, const ZVRTMStatus::Channel& status);

}  // namespace zavelo::command
