#include "zavelo/models/config.hpp"

#include "zavelo/json/record.hpp"

namespace zavelo {

ZVConfig::~ZVConfig() = default;

std::optional<std::string> ZVConfig::profileImageUrl() const {
  return fields_.profileImageUrl;
}
std::optional<std::int64_t> ZVConfig::hoursCacheStatisResources() const {
  return fields_.hoursCacheStatisResources;
}
std::optional<bool> ZVConfig::enableStreamTitle() const {
  return fields_.enableStreamTitle;
}
std::optional<bool> ZVConfig::enableVideoCall() const {
  return fields_.enableVideoCall;
}
std::optional<bool> ZVConfig::enableNewCashOutIOS() const {
  return fields_.enableNewCashOutIOS;
}
std::optional<bool> ZVConfig::enableNewCashOutAndroid() const {
  return fields_.enableNewCashOutAndroid;
}
std::optional<bool> ZVConfig::enableNewVideoCall() const {
  return fields_.enableNewVideoCall;
}
std::optional<std::string> ZVConfig::iosVersion() const {
  return fields_.iosVersion;
}
std::optional<std::string> ZVConfig::androidVersion() const {
  return fields_.androidVersion;
}
std::optional<bool> ZVConfig::disablePurchaseMedals() const {
  return fields_.disablePurchaseMedals;
}
std::optional<bool> ZVConfig::allowRecordChat() const {
  return fields_.allowRecordChat;
}

const json::Record& json::RecordOf<ZVConfig>::get() {
  using T = ZVConfig::Fields;
  static const Record record = [] {
    const ZVConfig config;
    const auto offset =
        reinterpret_cast<const char*>(&config.fields_) - reinterpret_cast<const char*>(&config);
    return fieldsOf<T, &T::profileImageUrl, &T::hoursCacheStatisResources, &T::enableStreamTitle,
                    &T::enableVideoCall, &T::enableNewCashOutIOS, &T::enableNewCashOutAndroid,
                    &T::enableNewVideoCall, &T::iosVersion, &T::androidVersion,
                    &T::disablePurchaseMedals, &T::allowRecordChat>()
        .shiftedBy(static_cast<std::size_t>(offset));
  }();
  return record;
}

}  // namespace zavelo
