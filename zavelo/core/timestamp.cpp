#include "zavelo/core/timestamp.hpp"

#include <chrono>

#include "zavelo/platform/platform.hpp"

namespace zavelo {

std::int64_t millisecondTimestamp() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(platform::clock()->sinceBoot())
      .count();
}

}  // namespace zavelo
