#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/messaging/stream_message.hpp"

namespace zavelo {

/// One answer of a poll, with the votes for it.
struct ZAVELO_EXPORT ZVPollOption {
  std::int64_t id = 0;  ///< the answer's position: 1, 2 or 3
  std::string option = {};
  std::int64_t numOption = 0;
  std::int64_t total = 0;  ///< votes for all answers

  /// The answer's share of all votes, 0 to 100; 0 as long as nobody has voted.
  [[nodiscard]] double percent() const noexcept;
};

/// A host's question to the viewers, and how they have voted.
struct ZAVELO_EXPORT ZVPoll {
  std::optional<std::int64_t> id = {};
  std::optional<std::string> title = {};
  std::optional<std::string> question = {};
  std::optional<std::string> option1 = {};
  std::optional<std::string> option2 = {};
  std::optional<std::string> option3 = {};
  std::optional<std::int64_t> status = {};  ///< the backend's code
  std::optional<std::int64_t> numOption1 = {};
  std::optional<std::int64_t> numOption2 = {};
  std::optional<std::int64_t> numOption3 = {};
  std::optional<std::int64_t> total = {};

  /// The answers that have a text, in order. Absent votes count as 0.
  [[nodiscard]] std::vector<ZVPollOption> options() const;
};

/// What `ZVPollMessage` adds.
struct ZVPollMessageFields {
  std::shared_ptr<ZVPoll> pollData = {};
};

/// A poll starts or ends.
class ZAVELO_EXPORT ZVPollMessage final : public ZVStreamMessage, public ZVPollMessageFields {
 public:
  using ZVStreamMessage::ZVStreamMessage;

  [[nodiscard]] json::RecordView asRecord() const override;
};

template <>
struct json::RecordOf<ZVPoll> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVPollMessage> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo
