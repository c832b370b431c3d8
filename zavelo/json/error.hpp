#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "zavelo/base/export.hpp"

namespace zavelo::json {

/// Why a JSON text could not be read or written, and where: "data.result[3].price: expected
/// number".
struct ZAVELO_EXPORT Error {
  std::string path;    ///< dotted, from the root; empty at the root itself
  std::string reason;  ///< "expected integer", "invalid UTF-8", ...

  /// "path: reason", or the reason alone at the root.
  [[nodiscard]] std::string text() const;

  /// Called on the way out of a failed value, innermost first.
  void prepend(std::string_view key);
  void prepend(std::size_t index);
};

}  // namespace zavelo::json
