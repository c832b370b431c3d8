#pragma once

#include <cstdint>

#include "zavelo/base/coded_enum.hpp"

namespace zavelo {

/// Which media back end serves a stream.
enum class ZVStreamServiceType : std::int64_t { wowza = 0, huawei = 1, ivs = 2, tencent = 3 };
template <>
inline constexpr auto codedCases<ZVStreamServiceType> =
    caseTable<ZVStreamServiceType::wowza, ZVStreamServiceType::huawei, ZVStreamServiceType::ivs,
              ZVStreamServiceType::tencent>();

/// The kind of a stream: `fromRawValue<ZVStreamType>(*stream.streamType)`.
enum class ZVStreamType : std::int64_t {
  user = 0,
  admin = 1,
  multiguest = 2,
  game = 3,
  vip = 4,
  pk = 5,
};
template <>
inline constexpr auto codedCases<ZVStreamType> =
    caseTable<ZVStreamType::user, ZVStreamType::admin, ZVStreamType::multiguest, ZVStreamType::game,
              ZVStreamType::vip, ZVStreamType::pk>();

/// The orientation that a stream is created with.
enum class ZVStreamScreenType : std::int64_t { portrait = 0, landscape = 1 };
template <>
inline constexpr auto codedCases<ZVStreamScreenType> =
    caseTable<ZVStreamScreenType::portrait, ZVStreamScreenType::landscape>();

/// The orientation that a screen reads from `ZVStream::screenType`.
enum class ZVScreenType : std::int64_t { portrait = 0, landscape = 1 };
template <>
inline constexpr auto codedCases<ZVScreenType> =
    caseTable<ZVScreenType::portrait, ZVScreenType::landscape>();

/// `fromRawValue<ZVStreamMode>(*stream.streamMode)`
enum class ZVStreamMode : std::int64_t { simple = 0, advance = 1 };
template <>
inline constexpr auto codedCases<ZVStreamMode> =
    caseTable<ZVStreamMode::simple, ZVStreamMode::advance>();

}  // namespace zavelo
