#pragma once

#include <map>
#include <mutex>
#include <string>

#include "zavelo/platform/key_value_store.hpp"

namespace zavelo::testing {

/// A store that lives as long as the object. `failWith` makes it refuse every call, as a full disk
/// or a locked file would.
class ZAVELO_EXPORT MemoryKeyValueStore final : public KeyValueStore {
 public:
  Result<std::optional<StoreValue>, StoreError> get(std::string_view key) override;
  Status<StoreError> set(std::string_view key, const StoreValue& value) override;
  Status<StoreError> remove(std::string_view key) override;

  /// Each call fails with this text; an empty text ends that.
  void failWith(std::string description);

 private:
  std::mutex mutex_;
  std::map<std::string, StoreValue, std::less<>> values_;
  std::string failure_;
};

}  // namespace zavelo::testing
