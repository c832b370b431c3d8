#pragma once

#include <cstdint>

#include "zavelo/base/coded_enum.hpp"

namespace zavelo {

/// What a chat event is. Apps may iterate over the cases: they stand in this order, which is not
/// that of the codes.
enum class ZVMessageType : std::int64_t {
  message = 1,
  statistic = 2,
  like = 3,
  share = 4,
  follow = 5,
  floatingText = 6,
  gift = 7,
  multiGuest = 8,
  viewerJoined = 100,
  viewerLeft = 101,
  hostStreamEnd = 201,
  hostKicked = 202,
  hostUnkicked = 212,
  hostBlocked = 203,
  hostMuted = 204,
  hostUnmuted = 205,
  hostPause = 206,
  hostRestarted = 207,
  hostDurationLimitReached = 208,
  hostPinnedMessage = 209,
  hostUnpinedMessaged = 210,
  hostUpdatedProductsOrder = 211,
  hostInitedBotList = 300,
  botJoined = 301,
  placeOrder = 333,
  admin = 400,
  adminKicked = 402,
  adminBlocked = 403,
  adminMuted = 404,
  adminUnmuted = 405,
  adminPaused = 406,
  adminUnkicked = 407,
  adminUnblocked = 408,
  adminBan = 409,
  adminStop = 410,
  adminMessage = 411,
  adminPrivateMessage = 412,
  startPoll = 413,
  stopPoll = 414,
  privateChat = 1000,
  privateChatDelete = 1001,
  privateChatDisable = 2001,
  pk = 500,
  pkStatistic = 501,
};
template <>
inline constexpr auto codedCases<ZVMessageType> = caseTable<
    ZVMessageType::message, ZVMessageType::statistic, ZVMessageType::like, ZVMessageType::share,
    ZVMessageType::follow, ZVMessageType::floatingText, ZVMessageType::gift,
    ZVMessageType::multiGuest, ZVMessageType::viewerJoined, ZVMessageType::viewerLeft,
    ZVMessageType::hostStreamEnd, ZVMessageType::hostKicked, ZVMessageType::hostUnkicked,
    ZVMessageType::hostBlocked, ZVMessageType::hostMuted, ZVMessageType::hostUnmuted,
    ZVMessageType::hostPause, ZVMessageType::hostRestarted, ZVMessageType::hostDurationLimitReached,
    ZVMessageType::hostPinnedMessage, ZVMessageType::hostUnpinedMessaged,
    ZVMessageType::hostUpdatedProductsOrder, ZVMessageType::hostInitedBotList,
    ZVMessageType::botJoined, ZVMessageType::placeOrder, ZVMessageType::admin,
    ZVMessageType::adminKicked, ZVMessageType::adminBlocked, ZVMessageType::adminMuted,
    ZVMessageType::adminUnmuted, ZVMessageType::adminPaused, ZVMessageType::adminUnkicked,
    ZVMessageType::adminUnblocked, ZVMessageType::adminBan, ZVMessageType::adminStop,
    ZVMessageType::adminMessage, ZVMessageType::adminPrivateMessage, ZVMessageType::startPoll,
    ZVMessageType::stopPoll, ZVMessageType::privateChat, ZVMessageType::privateChatDelete,
    ZVMessageType::privateChatDisable, ZVMessageType::pk, ZVMessageType::pkStatistic>();

}  // namespace zavelo
