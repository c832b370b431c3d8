#pragma once

#include <array>

namespace zavelo::detail {

/// Keeps programs that the app starts from inheriting what curl opens for itself while this lives:
/// the pairs by which its threads wake each other, which curl does not mark close-on-exec.
class UninheritedDescriptors {
 public:
  UninheritedDescriptors() noexcept;
  ~UninheritedDescriptors();
  UninheritedDescriptors(const UninheritedDescriptors&) = delete;
  UninheritedDescriptors& operator=(const UninheritedDescriptors&) = delete;

 private:
  int first_ = -1;  ///< the lowest descriptor that was free
  std::array<bool, 16> open_{};
};

}  // namespace zavelo::detail
