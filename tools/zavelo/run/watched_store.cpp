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

Result<std::optional<StoreValue>, StoreError> WatchedStore::get(std::string_view key) {
  return watched(store_->get(key));
}
Status<StoreError> WatchedStore::set(std::string_view key, const StoreValue& value) {
  return watched(store_->set(key, value));
}
Status<StoreError> WatchedStore::remove(std::string_view key) {
  return watched(store_->remove(key));
}

std::optional<std::string> WatchedStore::failure() const {
  const std::lock_guard lock(mutex_);
  return failure_;
}

}  // namespace zavelo::command
