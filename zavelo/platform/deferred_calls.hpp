#pragma once

#include <functional>

#include "zavelo/base/export.hpp"

namespace zavelo {

/// Calls to the app (its log, its handlers) that have to wait: while this thread makes a shared
/// service, the app must not be called, for it may ask for that very service.
class ZAVELO_EXPORT DeferredCalls {
 public:
  DeferredCalls();
  /// The outermost one of a thread makes the calls that have come together. An exception thrown by
  /// one is dropped.
  ~DeferredCalls();
  DeferredCalls(const DeferredCalls&) = delete;
  DeferredCalls& operator=(const DeferredCalls&) = delete;

  /// Makes the call now, or at the end of the outermost DeferredCalls of this thread.
  static void run(std::function<void()> call);

 private:
  const bool isOutermost_;
};

}  // namespace zavelo
