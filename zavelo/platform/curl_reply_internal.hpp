#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "zavelo/platform/http_session.hpp"

namespace zavelo::detail {

enum class CurlReplyPart { nothing, header, body };

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
  /// How far the reply has got.
  [[nodiscard]] CurlReplyPart part() const noexcept { return part_; }
  [[nodiscard]] HttpReply take();

 private:
  [[nodiscard]] bool compressed() const noexcept;
  void makeRoom(std::size_t size, std::int64_t announced);

  std::size_t limit_ = 0;
  CurlReplyPart part_ = CurlReplyPart::nothing;
  bool tooLarge_ = false;
  HttpReply reply_;
};

}  // namespace zavelo::detail
