#pragma once

#include <string>

#include "zavelo/testing/fault.hpp"

namespace zavelo::testing {

// What faults make of an answer, wherever it travels.

/// An answer given in the backend's stead.
struct FaultAnswer {
  int status = 200;
  std::string body;  ///< an envelope
};

/// Of a fault that answers by itself: `unauthorized` or `code`.
[[nodiscard]] ZAVELO_EXPORT FaultAnswer answerOf(const Fault& fault);

/// The body of `wrongType` and of `invalidJson` in place of that one; of others the same.
[[nodiscard]] ZAVELO_EXPORT std::string spoiltBody(FaultKind kind, std::string body);

}  // namespace zavelo::testing
