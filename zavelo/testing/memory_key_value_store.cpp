#include "zavelo/testing/memory_key_value_store.hpp"

#include <utility>

namespace zavelo::testing {

Result<std::optional<StoreValue>, StoreError> MemoryKeyValueStore::get(std::string_view key) {
  const std::lock_guard lock(mutex_);
  if (!failure_.empty()) return Failure{StoreError{failure_}};
  const auto entry = values_.find(key);
  return entry == values_.end() ? std::optional<StoreValue>() : entry->second;
}

Status<StoreError> MemoryKeyValueStore::set(std::string_view key, const StoreValue& value) {
  const std::lock_guard lock(mutex_);
  if (!failure_.empty()) return Failure{StoreError{failure_}};
  values_.insert_or_assign(std::string(key), value);
  return noFailure;
}

Status<StoreError> MemoryKeyValueStore::remove(std::string_view key) {
  const std::lock_guard lock(mutex_);
  if (!failure_.empty()) return Failure{StoreError{failure_}};
  if (const auto entry = values_.find(key); entry != values_.end()) values_.erase(entry);
  return noFailure;
}

void MemoryKeyValueStore::failWith(std::string description) {
  const std::lock_guard lock(mutex_);
  failure_ = std::move(description);
}

}  // namespace zavelo::testing
