#include "zavelo/api/api_request.hpp"

#include "zavelo/core/log.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/json/record.hpp"

namespace zavelo {
namespace {

using Dictionary = Result<json::Object, json::Error>;

/// The record as its JSON says it, parsed again.
Dictionary toDictionary(const json::Codec& codec, const void* record) {
  auto text = json::detail::encodeFrom(codec, record);
  if (!text) return Failure{std::move(text).error()};
  auto value = json::decode<json::Value>(*text);
  if (!value) return Failure{std::move(value).error()};
  if (const auto* object = value->as<json::Object>()) return *object;
  return Failure{json::Error{{}, "Deserialized object is not a dictionary"}};
}

}  // namespace

json::Object detail::parametersOf(const json::Codec& codec, const void* record) {
  auto dictionary = toDictionary(codec, record);
  if (dictionary) return std::move(*dictionary);
  ZVLog::i("Cannot toDictionary " + dictionary.error().text(), ZVLogPosition("toParameters()"));
  return {};
}

const json::Record& json::RecordOf<ZVLoginRequest>::get() {
  using T = ZVLoginRequest;
  static const Record record = fieldsOf<T, &T::zaveloId, &T::password, &T::deviceUdid,
                                        &T::deviceType, &T::latitude, &T::longitude>();
  return record;
}

const json::Record& json::RecordOf<ZVLoginZaveloRequest>::get() {
  using T = ZVLoginZaveloRequest;
  static const Record record = fieldsOf<T, &T::zaveloId, &T::displayName, &T::latitude,
                                        &T::longitude, &T::deviceUdid, &T::deviceType>();
  return record;
}

const json::Record& json::RecordOf<ZVRegisterZaveloRequest>::get() {
  using T = ZVRegisterZaveloRequest;
  static const Record record =
      fieldsOf<T, &T::zaveloId, &T::userName, &T::displayName, &T::gender, &T::deviceUdid,
               &T::deviceType, &T::latitude, &T::longitude, &T::profileImage, &T::version,
               &T::deviceName, &T::osVersion>();
  return record;
}

const json::Record& json::RecordOf<ZVEditProfileRequest>::get() {
  using T = ZVEditProfileRequest;
  static const Record record = fieldsOf<T, &T::displayName, &T::dob, &T::gender, &T::about>();
  return record;
}

const json::Record& json::RecordOf<ZVCreateStreamRequest>::get() {
  using T = ZVCreateStreamRequest;
  static const Record record =
      fieldsOf<T, &T::streamTitle, &T::tagId, &T::latitude, &T::longitude, &T::address,
               &T::resolution, &T::countryCode, &T::screenType, &T::streamType, &T::roomType>();
  return record;
}

const json::Record& json::RecordOf<ZVAddStreamCoHostRequest>::get() {
  using T = ZVAddStreamCoHostRequest;
  static const Record record = fieldsOf<T, &T::position, &T::guestId, &T::userId, &T::slug>();
  return record;
}

}  // namespace zavelo
