#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "zavelo/messaging/stream_message.hpp"

namespace zavelo::test {

/// The chat of a stream that nobody ever held: the same events every time, in the mixture and with
/// the lengths of a busy channel. Four in five are lines, the others likes, viewers who join,
/// gifts, statistics, floating texts and polls.
class GeneratedChat {
 public:
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> next();
  [[nodiscard]] std::shared_ptr<ZVStreamMessage> next(ZVMessageType type);

 private:
  std::uint64_t below(std::uint64_t limit);
  ZVMessageType someType();
  std::string someLine();
  std::string someUrl(std::string_view folder, std::string_view ending);
  std::shared_ptr<ZVStreamMessage> ofKind(ZVMessageType type);
  std::shared_ptr<ZVStreamMessage> gift();
  std::shared_ptr<ZVStreamMessage> poll();
  std::shared_ptr<ZVStreamMessage> statistic();
  std::shared_ptr<ZVStreamMessage> floatingText();

  std::uint64_t state_ = 88172645463325252u;
  std::int64_t time_ = 0;
};

/// A chat as it is saved: one list of records. About 375 bytes an event.
[[nodiscard]] std::string generatedChatFile(std::size_t events);

}  // namespace zavelo::test
