#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zavelo/base/call_completion.hpp"
#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo {

/// Where a failure outside the REST calls comes from.
class ZAVELO_EXPORT ZVErrorType {
 public:
  enum class Case { fail, rtc, rtm, unknown };

  [[nodiscard]] static ZVErrorType fail(std::string message);
  [[nodiscard]] static ZVErrorType rtc(std::string message);
  [[nodiscard]] static ZVErrorType rtm(std::string message);
  [[nodiscard]] static ZVErrorType unknown();

  [[nodiscard]] Case kind() const noexcept { return kind_; }
  [[nodiscard]] const std::string& message() const noexcept { return message_; }
  /// The message, behind "rtc: " or "rtm: " where it comes from there; "unknown error".
  [[nodiscard]] std::string description() const;

  bool operator==(const ZVErrorType&) const = default;

 private:
  ZVErrorType(Case kind, std::string message);

  Case kind_;
  std::string message_;
};

/// The error of real-time messaging and of general failures.
struct ZAVELO_EXPORT ZVError {
  ZVErrorType type;
  std::optional<std::int64_t> code = {};
  std::optional<std::string> extra = {};

  [[nodiscard]] static ZVError fail(std::string message, std::optional<std::int64_t> code = {},
                                    std::optional<std::string> extra = {});
  [[nodiscard]] static ZVError rtc(std::string message, std::optional<std::int64_t> code = {},
                                   std::optional<std::string> extra = {});
  [[nodiscard]] static ZVError rtm(std::string message, std::optional<std::int64_t> code = {},
                                   std::optional<std::string> extra = {});

  /// The type's description, ", code: 5" and ", extra: text" where they are present.
  [[nodiscard]] std::string description() const;

  bool operator==(const ZVError&) const = default;
};

template <class T>
struct detail::CancelledResult<Result<T, ZVError>> {
  static Result<T, ZVError> make() { return Failure{ZVError::rtm("cancelled")}; }
};

}  // namespace zavelo
