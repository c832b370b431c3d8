#include "zavelo/platform/clock.hpp"

namespace zavelo {

std::chrono::system_clock::time_point SystemClock::now() const {
  return std::chrono::system_clock::now();
}

std::chrono::nanoseconds SystemClock::sinceBoot() const {
  return std::chrono::steady_clock::now().time_since_epoch();
}

}  // namespace zavelo
