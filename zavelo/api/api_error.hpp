#pragma once

#include <cstdint>
#include <string>

#include "zavelo/base/coded_enum.hpp"
#include "zavelo/base/export.hpp"

namespace zavelo {

/// What went wrong with a call of the backend. The positive values are the backend's own codes.
enum class ZVAPIErrorType : std::int64_t {
  noConnection = -512,
  unknown = -2,
  invalidData = -1,
  error = 0,
  userNotFound = 652,
  modelInvalid = 750,
  noPermission = 1098,
  otpCodeInvalid = 964,
  alreadyLikeStream = 1068,
  loggedInOtherDevice = 1341,
  canNotLogOut = 1001,
  banned = 603,
  streamEnd = 1059,
  invalidRefreshToken = 1018,
  unauthorized = 401,
};
template <>
inline constexpr auto codedCases<ZVAPIErrorType> = caseTable<
    ZVAPIErrorType::noConnection, ZVAPIErrorType::unknown, ZVAPIErrorType::invalidData,
    ZVAPIErrorType::error, ZVAPIErrorType::userNotFound, ZVAPIErrorType::modelInvalid,
    ZVAPIErrorType::noPermission, ZVAPIErrorType::otpCodeInvalid, ZVAPIErrorType::alreadyLikeStream,
    ZVAPIErrorType::loggedInOtherDevice, ZVAPIErrorType::canNotLogOut, ZVAPIErrorType::banned,
    ZVAPIErrorType::streamEnd, ZVAPIErrorType::invalidRefreshToken, ZVAPIErrorType::unauthorized>();

/// The error of a call of the backend.
struct ZVAPIError {
  ZVAPIErrorType type = ZVAPIErrorType::unknown;
  std::string description = {};  ///< the backend's message, or one of the texts below
  /// More for whoever looks for the cause: "data.result[3].price: expected number". Often empty;
  /// not for an app's users.
  std::string detail = {};

  bool operator==(const ZVAPIError&) const = default;
};

/// The texts of errors that the backend did not word.
namespace errorText {
inline constexpr const char* noConnection =
    "Please ensure that you are in an area with strong WIFI/3G signal!";
inline constexpr const char* unknown = "Unknown error occured!";
inline constexpr const char* invalidData = "Invalid data!";
inline constexpr const char* unauthorized = "Unauthorized!";
inline constexpr const char* cancelled = "cancelled";
}  // namespace errorText

}  // namespace zavelo
