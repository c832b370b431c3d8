#pragma once

#include <cstddef>
#include <functional>

namespace zavelo::bench {

/// How many bytes more than before are in memory at the peak of the work, which is done in a
/// process of its own. 0 when the system does not say.
[[nodiscard]] std::size_t extraPeakMemory(const std::function<void()>& work);

}  // namespace zavelo::bench
