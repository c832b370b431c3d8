#pragma once

#include <chrono>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// What time it is: for a person's log and for measuring.
class Clock {
 public:
  virtual ~Clock() = default;
  [[nodiscard]] virtual std::chrono::system_clock::time_point now() const = 0;
  /// The media clock: time since the device started, never set back.
  [[nodiscard]] virtual std::chrono::nanoseconds sinceBoot() const = 0;
};

/// The device's own clocks.
class ZAVELO_EXPORT SystemClock final : public Clock {
 public:
  [[nodiscard]] std::chrono::system_clock::time_point now() const override;
  [[nodiscard]] std::chrono::nanoseconds sinceBoot() const override;
};

}  // namespace zavelo
