#include "tools/zavelo/run/watched_store.hpp"

namespace zavelo::command {

template <class Outcome>
Outcome WatchedStore::watched(Outcome outcome) {
  if (!outcome) {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = outcome.error().description;
  }
  return outcome;
}

// A change that the store tries again is judged at the end.
Status<StoreError> WatchedStore::watchedChange(Status<StoreError> outcome) {
  return store_->pendingProblem() ? outcome : watched(std::move(outcome));
}

Result<std::optional<StoreValue>, StoreError> WatchedStore::get(std::string_view key) {
  return watched(store_->get(key));
}
Status<StoreError> WatchedStore::set(std::string_view key, const StoreValue& value) {
  return watchedChange(store_->set(key, value));
}
Status<StoreError> WatchedStore::remove(std::string_view key) {
  return watchedChange(store_->remove(key));
}

std::optional<StoreError> WatchedStore::pendingProblem() const {
  return store_->pendingProblem();
}
Status<StoreError> WatchedStore::flush() {
  return store_->flush();
}

std::optional<std::string> WatchedStore::failure() const {
  if (const auto flushed = store_->flush(); !flushed) return flushed.error().description;
  const std::lock_guard lock(mutex_);
  return failure_;
}

}  // namespace zavelo::command
