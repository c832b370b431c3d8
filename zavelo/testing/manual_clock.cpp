#include "zavelo/testing/manual_clock.hpp"

namespace zavelo::testing {

std::chrono::system_clock::time_point ManualClock::now() const {
  return start_ + std::chrono::duration_cast<std::chrono::system_clock::duration>(sinceBoot());
}

std::chrono::nanoseconds ManualClock::sinceBoot() const {
  const std::lock_guard lock(mutex_);
  return passed_;
}

void ManualClock::advance(std::chrono::nanoseconds by) {
  const std::lock_guard lock(mutex_);
  passed_ += by;
}

}  // namespace zavelo::testing
