#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

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

/// An event that came under that type. Without a channel (in a recording) none is named.
[[nodiscard]] ChatLine eventLine(std::string_view channel, std::int64_t type,
                                 const ZVStreamMessage& event);
/// "12 viewers, 40 likes": what is known of how a stream is doing.
[[nodiscard]] std::string statisticText(const ZVStatisticMessage& event);
/// A text that is no event.
[[nodiscard]] ChatLine undecodableLine(std::string_view channel, const std::string& text,
                                       const std::string& fault);
[[nodiscard]] ChatLine joinedLine(std::string_view channel);
[[nodiscard]] ChatLine membersLine(std::string_view channel, const std::vector<std::string>& ids);
/// `came`: or went.
[[nodiscard]] ChatLine memberLine(std::string_view channel, const std::string& userId, bool came);

}  // namespace zavelo::command
