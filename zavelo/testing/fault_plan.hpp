#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

#include "zavelo/testing/fault.hpp"

namespace zavelo::testing {

/// The faults that wait for their calls. Any thread.
class ZAVELO_EXPORT FaultPlan {
 public:
  void add(const std::vector<Fault>& faults);
  void clear();
  /// What still waits, with the counts that are left.
  [[nodiscard]] std::vector<Fault> pending() const;

  /// What befalls a call to that path: one fault, the oldest that fits; nothing most of the time.
  /// A fault that lets the call pass has counted it.
  [[nodiscard]] std::optional<Fault> take(std::string_view path);

 private:
  mutable std::mutex mutex_;
  std::vector<Fault> faults_;
};

}  // namespace zavelo::testing
