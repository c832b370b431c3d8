#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "zavelo/platform/key_value_store.hpp"

namespace zavelo::command {

/// A store that remembers its first failure: the library goes on without its store and only logs
/// it, but the user of a command must learn that the session was not read or kept.
class WatchedStore final : public KeyValueStore {
 public:
  explicit WatchedStore(std::unique_ptr<KeyValueStore> store) : store_(std::move(store)) {}

  Result<std::optional<StoreValue>, StoreError> get(std::string_view key) override;
  Status<StoreError> set(std::string_view key, const StoreValue& value) override;
  Status<StoreError> remove(std::string_view key) override;
  [[nodiscard]] std::optional<StoreError> pendingProblem() const override;
  Status<StoreError> flush() override;

  /// The first failure, or why a change cannot be stored even when it is tried again now.
  [[nodiscard]] std::optional<std::string> failure() const;

 private:
  template <class Outcome>
  Outcome watched(Outcome outcome);
  Status<StoreError> watchedChange(Status<StoreError> outcome);

  const std::unique_ptr<KeyValueStore> store_;
  mutable std::mutex mutex_;
  std::optional<std::string> failure_;
};

}  // namespace zavelo::command
