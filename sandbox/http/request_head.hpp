#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zavelo::sandbox {

/// Looks for the end of a request's header in what has arrived so far, and refuses what RFC 9112
/// section 2.2 and 5.2 let a server refuse: control characters, a CR or LF alone, folded lines.
class HeadScan {
 public:
  enum class State { incomplete, complete, malformed };

  /// `received` begins with the request and has at least what it had at the last call.
  State look(std::string_view received);
  /// The header's length with the empty line, once it is complete.
  [[nodiscard]] std::size_t length() const noexcept { return at_; }

 private:
  std::size_t at_ = 0;
};

/// Resolves "%41"; what is no such escape stays as it is.
[[nodiscard]] std::string percentDecoded(std::string_view text);

/// The path and query of a request's target, whether it names a server before them or not
/// (RFC 9112 section 3.2). Empty when there is no path.
[[nodiscard]] std::string_view withoutAuthority(std::string_view target);

}  // namespace zavelo::sandbox
