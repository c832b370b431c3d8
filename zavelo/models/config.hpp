#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "zavelo/base/export.hpp"
#include "zavelo/json/codec.hpp"

namespace zavelo {

/// The features that the backend switches on or off. The library itself reads none of them. An app
/// may derive from it to answer otherwise, in a test or behind a switch of its own.
class ZAVELO_EXPORT ZVConfig {
 public:
  struct Fields {
    std::optional<std::string> profileImageUrl{};
    std::optional<std::int64_t> hoursCacheStatisResources{};
    std::optional<bool> enableStreamTitle{};
    std::optional<bool> enableVideoCall{};
    std::optional<bool> enableNewCashOutIOS{};
    std::optional<bool> enableNewCashOutAndroid{};
    std::optional<bool> enableNewVideoCall{};
    std::optional<std::string> iosVersion{};
    std::optional<std::string> androidVersion{};
    std::optional<bool> disablePurchaseMedals{};
    std::optional<bool> allowRecordChat{};
  };

  ZVConfig() = default;
  explicit ZVConfig(Fields fields) : fields_(std::move(fields)) {}
  virtual ~ZVConfig();
  ZVConfig(const ZVConfig&) = delete;
  ZVConfig& operator=(const ZVConfig&) = delete;

  /// Where profile images are.
  [[nodiscard]] virtual std::optional<std::string> profileImageUrl() const;
  /// For how many hours statistic resources may be kept.
  [[nodiscard]] virtual std::optional<std::int64_t> hoursCacheStatisResources() const;
  [[nodiscard]] virtual std::optional<bool> enableStreamTitle() const;
  [[nodiscard]] virtual std::optional<bool> enableVideoCall() const;
  [[nodiscard]] virtual std::optional<bool> enableNewCashOutIOS() const;
  [[nodiscard]] virtual std::optional<bool> enableNewCashOutAndroid() const;
  [[nodiscard]] virtual std::optional<bool> enableNewVideoCall() const;
  /// The version of the app that is published for iOS.
  [[nodiscard]] virtual std::optional<std::string> iosVersion() const;
  /// The version of the app that is published for Android.
  [[nodiscard]] virtual std::optional<std::string> androidVersion() const;
  [[nodiscard]] virtual std::optional<bool> disablePurchaseMedals() const;
  [[nodiscard]] virtual std::optional<bool> allowRecordChat() const;

 private:
  friend struct json::RecordOf<ZVConfig>;
  Fields fields_;
};

template <>
struct json::RecordOf<ZVConfig> {
  ZAVELO_EXPORT static const Record& get();
};

}  // namespace zavelo
