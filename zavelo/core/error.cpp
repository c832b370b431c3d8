#include "zavelo/core/error.hpp"

#include <utility>

namespace zavelo {

ZVErrorType::ZVErrorType(Case kind, std::string message)
    : kind_(kind), message_(std::move(message)) {}

ZVErrorType ZVErrorType::fail(std::string message) {
  return {Case::fail, std::move(message)};
}
ZVErrorType ZVErrorType::rtc(std::string message) {
  return {Case::rtc, std::move(message)};
}
ZVErrorType ZVErrorType::rtm(std::string message) {
  return {Case::rtm, std::move(message)};
}
ZVErrorType ZVErrorType::unknown() {
  return {Case::unknown, {}};
}

std::string ZVErrorType::description() const {
  switch (kind_) {
    case Case::fail:
      return message_;
    case Case::rtc:
      return "rtc: " + message_;
    case Case::rtm:
      return "rtm: " + message_;
    case Case::unknown:
      break;
  }
  return "unknown error";
}

ZVError ZVError::fail(std::string message, std::optional<std::int64_t> code,
                      std::optional<std::string> extra) {
  return {ZVErrorType::fail(std::move(message)), code, std::move(extra)};
}
ZVError ZVError::rtc(std::string message, std::optional<std::int64_t> code,
                     std::optional<std::string> extra) {
  return {ZVErrorType::rtc(std::move(message)), code, std::move(extra)};
}
ZVError ZVError::rtm(std::string message, std::optional<std::int64_t> code,
                     std::optional<std::string> extra) {
  return {ZVErrorType::rtm(std::move(message)), code, std::move(extra)};
}

std::string ZVError::description() const {
  std::string text = type.description();
  if (code) text += ", code: " + std::to_string(*code);
  if (extra) text += ", extra: " + *extra;
  return text;
}

}  // namespace zavelo
