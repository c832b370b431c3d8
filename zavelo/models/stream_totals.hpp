#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/fixed.hpp"

namespace zavelo {

/// The answer to a like.
struct ZVLikeStream {
  std::optional<std::int64_t> likeCount = {};  ///< of the stream, after the like

  bool operator==(const ZVLikeStream&) const = default;
};

/// What a stream came to. Handed out as fixed.
struct ZVEndStream {
  std::optional<std::int64_t> viewCount = {};
  std::optional<std::int64_t> giftCount = {};
  std::optional<std::int64_t> likeCount = {};
  std::optional<std::int64_t> totalGold = {};
  std::optional<std::int64_t> duration = {};
};

/// The totals of a running stream.
struct ZVStreamStatistic {
  std::optional<std::int64_t> viewCount{};
  std::optional<std::int64_t> giftCount{};
  std::optional<std::int64_t> likeCount{};
  std::optional<std::int64_t> followerCount{};  ///< of the publisher
  std::optional<std::int64_t> totalGold{};
  std::optional<std::int64_t> status{};
  std::optional<std::string> statusMessage{};
  std::optional<std::int64_t> duration{};
  std::optional<std::int64_t> afkStatus{};  ///< whether the broadcaster is away
  std::optional<bool> isShowLike{};
  std::optional<bool> isShowView{};
  std::optional<std::string> promoCode{};
  std::optional<std::string> promoCodeDescription{};
  std::optional<std::string> cartUrl{};
  json::Fixed<std::int64_t> bitRate{};
};

/// What a guest of a co-hosted stream came to. Handed out as fixed.
struct ZVStreamCoHostCredits {
  std::optional<std::int64_t> userId = {};  ///< the host
  std::optional<std::int64_t> guestId = {};
  std::optional<std::string> userName = {};
  std::optional<std::string> displayName = {};
  std::optional<std::int64_t> totalGold = {};
  std::optional<std::int64_t> totalGoldFans = {};
  std::optional<std::int64_t> position = {};  ///< of the guest
};

template <>
struct json::RecordOf<ZVLikeStream> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVEndStream> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVStreamStatistic> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVStreamCoHostCredits> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo
