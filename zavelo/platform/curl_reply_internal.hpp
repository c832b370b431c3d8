#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zavelo/platform/http_session.hpp"

namespace zavelo::detail {

/// ASCII letters match in either case (RFC 9110 section 5.1), whatever the process locale.
[[nodiscard]] bool sameHeaderName(std::string_view a, std::string_view b) noexcept;

/// Gathers a reply as it arrives, within its limit.
class CurlReply {
 public:
  void begin(std::size_t limit);

  /// A line of the header section as it stands on the wire. A status line begins a new reply: the
  /// one before it was an interim response (RFC 9110 section 15.2).
  void headerLine(std::string_view line);
  /// Bytes of the body, decompressed. `announced` is Content-Length, or negative when absent. False
  /// when the reply is or is going to be longer than the limit.
  bool bodyBytes(std::string_view bytes, std::int64_t announced);

  [[nodiscard]] bool tooLarge() const noexcept { return tooLarge_; }
  [[nodiscard]] HttpReply take();

 private:
  [[nodiscard]] bool compressed() const noexcept;
  void makeRoom(std::size_t size, std::int64_t announced);

  std::size_t limit_ = 0;
  bool headersEnded_ = false;
  bool tooLarge_ = false;
  HttpReply reply_;
};

}  // namespace zavelo::detail
