#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"
#include "zavelo/json/value.hpp"

namespace zavelo {

/// A record that becomes the parameters of a call.
template <class Request>
concept ZVAPIRequest = json::RecordType<Request>;

namespace detail {
[[nodiscard]] ZAVELO_EXPORT json::Object parametersOf(const json::Codec& codec, const void* record);
}  // namespace detail

/// Each field under its own name with its type; an absent one is left out. A record that cannot be
/// written as JSON gives no parameters and an entry in the log.
template <ZVAPIRequest Request>
[[nodiscard]] json::Object toParameters(const Request& request) {
  return detail::parametersOf(json::codecOf<Request>, &request);
}

struct ZVLoginRequest {
  std::string zaveloId = {};
  std::string password = {};
  std::string deviceUdid = {};
  std::int64_t deviceType = 0;
  double latitude = 0;
  double longitude = 0;
};

struct ZVLoginZaveloRequest {
  std::optional<std::string> zaveloId = {};
  std::optional<std::string> displayName = {};
  std::optional<double> latitude = {};
  std::optional<double> longitude = {};
  std::optional<std::string> deviceUdid = {};
  std::int64_t deviceType = 0;
};

struct ZVRegisterZaveloRequest {
  std::optional<std::string> zaveloId = {};
  std::optional<std::string> userName = {};
  std::optional<std::string> displayName = {};
  std::optional<std::string> gender = {};
  std::optional<std::string> deviceUdid = {};
  std::optional<std::string> deviceType = {};  ///< a text here, an integer when signing in
  std::optional<double> latitude = {};
  std::optional<double> longitude = {};
  std::optional<std::string> profileImage = {};
  std::optional<std::string> version = {};
  std::optional<std::string> deviceName = {};
  std::optional<std::string> osVersion = {};
};

struct ZVEditProfileRequest {
  std::string displayName = {};
  std::string dob = {};
  std::string gender = {};
  std::string about = {};
};

struct ZVCreateStreamRequest {
  std::string streamTitle = {};
  std::int64_t tagId = 0;
  double latitude = 0;
  double longitude = 0;
  std::string address = {};
  std::int64_t resolution = 0;
  std::string countryCode = {};
  std::int64_t screenType = 0;
  std::int64_t streamType = 0;
  std::optional<std::int64_t> roomType = {};
};

struct ZVAddStreamCoHostRequest {
  std::int64_t position = 0;
  std::int64_t guestId = 0;
  std::int64_t userId = 0;
  std::string slug = {};
};

template <>
struct json::RecordOf<ZVLoginRequest> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVLoginZaveloRequest> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVRegisterZaveloRequest> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVEditProfileRequest> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVCreateStreamRequest> {
  ZAVELO_EXPORT static const Record& get();
};
template <>
struct json::RecordOf<ZVAddStreamCoHostRequest> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo
