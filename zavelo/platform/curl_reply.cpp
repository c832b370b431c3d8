#include <algorithm>
#include <utility>

#include "zavelo/platform/curl_reply_internal.hpp"

namespace zavelo::detail {

namespace {

/// A JSON reader may look a little past the end; with that room it reads the body in place.
constexpr std::size_t readerPadding = 64;
/// Memory that an announcement alone is worth.
constexpr std::size_t trustedLength = std::size_t{256} * 1024;

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

}  // namespace

void CurlReply::begin(std::size_t limit) {
  *this = CurlReply();
  limit_ = limit;
}

void CurlReply::headerLine(std::string_view line) {
  if (line.starts_with("HTTP/")) {
    reply_.headers.clear();
    part_ = CurlReplyPart::header;
    return;
  }
  const auto text = trimmed(line);
  if (text.empty()) part_ = CurlReplyPart::body;
  if (part_ == CurlReplyPart::body)
    return;  // trailers are not header fields (RFC 9110 section 6.5.1)

  const bool folded = line.front() == ' ' || line.front() == '\t';  // RFC 9112 section 5.2
  if (folded && !reply_.headers.empty()) {
    reply_.headers.back().value.append(" ").append(text);
    return;
  }
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return;
  reply_.headers.push_back(
      {std::string(trimmed(text.substr(0, colon))), std::string(trimmed(text.substr(colon + 1)))});
}

bool CurlReply::bodyBytes(std::string_view bytes, std::int64_t announced) {
  auto& body = reply_.body;
  const bool longAhead = body.empty() && announced > 0 &&
                         static_cast<std::uint64_t>(announced) > limit_ && !compressed();
  if (longAhead || bytes.size() > limit_ - body.size()) {
    tooLarge_ = true;
    return false;
  }
  makeRoom(body.size() + bytes.size(), announced);
  body.append(bytes);
  return true;
}

HttpReply CurlReply::take() {
  auto& body = reply_.body;
  if (!body.empty() && body.capacity() - body.size() < readerPadding) {
    body.reserve(body.size() + readerPadding);
  }
  return std::exchange(reply_, HttpReply());
}

bool CurlReply::compressed() const noexcept {
  return std::any_of(reply_.headers.begin(), reply_.headers.end(), [](const HttpHeader& header) {
    return sameHeaderName(header.name, "Content-Encoding");
  });
}

void CurlReply::makeRoom(std::size_t size, std::int64_t announced) {
  auto& body = reply_.body;
  if (size + readerPadding <= body.capacity()) return;
  // As much as is announced, but never much more than twice what has really come.
  const std::size_t earned = std::max(2 * size, trustedLength);
  const auto wanted = announced > 0 ? static_cast<std::size_t>(announced) : 2 * size;
  body.reserve(std::max(size, std::min(wanted, earned)) + readerPadding);
}

}  // namespace zavelo::detail
