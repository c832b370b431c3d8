#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "zavelo/base/export.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo {

/// One stored value, with its type: binary data, text, a number, a flag.
using StoreScalar = std::variant<std::vector<std::byte>, std::string, double, bool>;
/// A scalar or a list of scalars.
using StoreValue = std::variant<StoreScalar, std::vector<StoreScalar>>;

struct StoreError {
  std::string description;  ///< for a person: which store, and what is wrong with it
};

/// Small values that outlive the process, under names. Any thread. A failed write changes nothing.
class KeyValueStore {
 public:
  virtual ~KeyValueStore() = default;
  virtual Result<std::optional<StoreValue>, StoreError> get(std::string_view key) = 0;
  virtual Status<StoreError> set(std::string_view key, const StoreValue& value) = 0;
  /// Removing what is not there succeeds.
  virtual Status<StoreError> remove(std::string_view key) = 0;

  /// What is kept in memory only because it could not be written, and why; none when all is stored.
  /// A store that tries a failed removal or replacement again later reports it here until then.
  [[nodiscard]] virtual std::optional<StoreError> pendingProblem() const { return std::nullopt; }
};

}  // namespace zavelo
