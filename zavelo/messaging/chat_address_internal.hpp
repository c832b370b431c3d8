#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zavelo::detail {

/// Where a recorded chat is.
struct ChatAddress {
  enum class Kind { file, http };
  Kind kind;
  std::string place;  ///< a path, or the URL
};

/// What a text names: an http or https URL, a file URL of this machine (RFC 8089), or, without a
/// scheme, a path. No value when it names none of them.
[[nodiscard]] std::optional<ChatAddress> chatAddress(std::string_view text);

}  // namespace zavelo::detail
