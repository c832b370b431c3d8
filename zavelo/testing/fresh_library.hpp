#pragma once

#include "zavelo/base/export.hpp"
#include "zavelo/core/process_state.hpp"
#include "zavelo/platform/platform.hpp"

namespace zavelo::testing {

/// The library as in a process that has not used it yet: nothing is initialised, no shared service
/// exists. With the object all of that ends, and what was before is back, so that no state of one
/// test meets the next one. Make it before anything that uses the library, and use the library on
/// no other thread when it is made or destroyed.
class ZAVELO_EXPORT FreshLibrary {
 public:
  FreshLibrary();
  /// With a platform installed.
  explicit FreshLibrary(ZVPlatform platform);
  ~FreshLibrary();
  FreshLibrary(const FreshLibrary&) = delete;
  FreshLibrary& operator=(const FreshLibrary&) = delete;

 private:
  const detail::ProcessState before_;
};

}  // namespace zavelo::testing
