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
  std::string description = {};  ///< for a person: which store, and what is wrong with it
};

/// Small values that outlive the process, under names. Any thread. A failed change leaves what is
/// stored as it was; whether it is tried again later, `pendingProblem` says. An implementation does
/// not call the shared services: it is called while they are made and while a session changes.
class KeyValueStore {
 public:
  virtual ~KeyValueStore() = default;
  virtual Result<std::optional<StoreValue>, StoreError> get(std::string_view key) = 0;
  virtual Status<StoreError> set(std::string_view key, const StoreValue& value) = 0;
  /// Removing what is not there succeeds.
  virtual Status<StoreError> remove(std::string_view key) = 0;

  /// Why a change is kept in memory only, when a store tries failed changes again later; none when
  /// everything is stored. Until then `get` returns the new state, and the next start of the app
  /// would meet the old one.
  [[nodiscard]] virtual std::optional<StoreError> pendingProblem() const { return std::nullopt; }
  /// Tries such changes again now. The platform does so when the process ends.
  virtual Status<StoreError> flush() { return noFailure; }
};

}  // namespace zavelo
