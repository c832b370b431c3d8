#include "sandbox/http/request_head.hpp"

#include <charconv>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {
namespace {

bool isControl(char c) {
  return (static_cast<unsigned char>(c) < 0x20 && c != '\t') || c == 0x7F;
}

}  // namespace

HeadScan::State HeadScan::look(std::string_view received) {
  constexpr std::string_view lineEnd = "\r\n";
  constexpr std::string_view headEnd = "\r\n\r\n";
  for (; at_ < received.size(); ++at_) {
    const auto rest = received.substr(at_, headEnd.size());
    if (rest.front() != '\r') {
      const bool isFirstOdd = at_ == 0 && (rest.front() < 'A' || rest.front() > 'z');
      if (isFirstOdd || isControl(rest.front())) return State::malformed;
      continue;
    }
    if (rest == headEnd) {
      at_ += headEnd.size();
      return State::complete;
    }
    if (headEnd.starts_with(rest)) return State::incomplete;
    const bool isFolded = rest.size() > 2 && (rest[2] == ' ' || rest[2] == '\t');
    if (!rest.starts_with(lineEnd) || rest[2] == '\r' || isFolded) return State::malformed;
    ++at_;
  }
  return State::incomplete;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    unsigned char value = 0;
    const auto digits = text.substr(i, 3);
    const char* end = digits.data() + digits.size();
    const bool isEscape = digits.size() == 3 && digits.front() == '%' &&
                          std::from_chars(digits.data() + 1, end, value, 16).ptr == end;
    decoded += isEscape ? static_cast<char>(value) : text[i];
    if (isEscape) i += 2;
  }
  return decoded;
}

std::string_view withoutAuthority(std::string_view target) {
  constexpr std::string_view scheme = "http://";
  if (target.starts_with('/') || target == "*") return target;
  if (!equalIgnoringCase(target.substr(0, scheme.size()), scheme)) return {};
  target.remove_prefix(scheme.size());
  const auto path = target.find('/');
  return path == std::string_view::npos ? "/" : target.substr(path);
}

}  // namespace zavelo::sandbox
