#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "zavelo/base/export.hpp"

namespace zavelo::testing {

/// What may befall a call on purpose.
enum class FaultKind {
  delay,         ///< done, and answered late
  cut,           ///< done; the connection closes in the middle of the answer's body
  refuse,        ///< not done; the connection is closed before the answer
  unauthorized,  ///< not done; HTTP 401
  code,          ///< not done; an envelope with a code and a message
  wrongType,     ///< done; texts for numbers and numbers for texts in the answer's data
  invalidJson,   ///< done; an answer that ends in the middle of its JSON
};

/// As it stands in a script: "wrongType".
[[nodiscard]] ZAVELO_EXPORT std::string_view nameOf(FaultKind kind) noexcept;
[[nodiscard]] ZAVELO_EXPORT std::optional<FaultKind> faultKindOf(std::string_view name) noexcept;

/// One rule: which calls meet which fault.
struct Fault {
  std::string endpoint = "*";  ///< a path under /api/, or "*" for all of them
  FaultKind kind = FaultKind::delay;
  std::int64_t after = 0;              ///< calls that pass unharmed before
  std::int64_t count = 1;              ///< calls that meet it then
  std::chrono::milliseconds delay{0};  ///< of `FaultKind::delay`
  std::int64_t code = 0;               ///< of `FaultKind::code`, like the message
  std::string message{};

  bool operator==(const Fault&) const = default;
};

}  // namespace zavelo::testing
