#pragma once

#include <atomic>

namespace zavelo {

/// One T for the whole process, made at its first use and never destroyed, so that static
/// constructors and destructors of an app may use it. A test puts another one in its place.
///
///     constinit ProcessWide<State> state;
///     state->value = 1;
template <class T>
class ProcessWide {
 public:
  T& operator*() {
    if (T* const current = current_.load(std::memory_order_acquire)) return *current;
    // Of two threads the first one wins.
    T* const made = new T;
    T* other = nullptr;
    if (current_.compare_exchange_strong(other, made, std::memory_order_acq_rel)) return *made;
    delete made;
    return *other;
  }
  T* operator->() { return &**this; }

  /// Puts `next` in its place; none: a new one at the next use. What was there is the caller's.
  T* exchange(T* next) { return current_.exchange(next, std::memory_order_acq_rel); }

 private:
  std::atomic<T*> current_{nullptr};
};

}  // namespace zavelo
