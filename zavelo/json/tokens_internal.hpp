#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "zavelo/json/json.hpp"

namespace zavelo::json::detail {

/// How many bytes of a text's beginning are a byte order mark, which a reader may ignore (RFC 8259
/// section 8.1).
[[nodiscard]] inline std::size_t byteOrderMarkSize(std::string_view text) noexcept {
  return text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
}

/// Where a token begins: a place in the list that `Tokens` made. Passed by value and returned, so
/// that it stays in a register from one token to the next; null once a fault was found.
using Place = const std::uint32_t*;

/// The tokens of one JSON text: where each bracket, colon, comma and value begins. What is between
/// two tokens belongs to the first of them, white space aside. Copied freely: it owns nothing.
class TokenList {
 public:
  [[nodiscard]] Place begin() const noexcept { return begin_; }
  [[nodiscard]] Place end() const noexcept { return end_; }

  /// The token from its first character on; readable up to the padding after the text.
  [[nodiscard]] const char* start(Place at) const noexcept { return text_ + *at; }
  /// Its first character; NUL at the end.
  [[nodiscard]] char first(Place at) const noexcept { return text_[*at]; }
  /// The whole token; empty at the end.
  [[nodiscard]] std::string_view whole(Place at) const noexcept {
    const char* from = start(at);
    const char* to = at == end_ ? from : text_ + at[1];
    while (to > from && isSpace(to[-1])) --to;
    return {from, static_cast<std::size_t>(to - from)};
  }

 protected:
  const char* text_ = nullptr;
  Place begin_ = nullptr;
  Place end_ = nullptr;

 private:
  static bool isSpace(char c) noexcept {
    if (static_cast<unsigned char>(c) > ' ') return false;  // as nearly always
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
  }
};

/// Finds the tokens by simdjson, in one sweep that also checks UTF-8 and the texts' control
/// characters.
class Tokens : public TokenList {
 public:
  /// What the sweep found wrong with the text as a whole, if anything.
  [[nodiscard]] std::optional<std::string> load(Input text);
  /// Gives memory back that is too much to keep for the next text.
  void shrink();

 private:
  struct Sweep;
  struct SweepDeleter {
    void operator()(Sweep* sweep) const;
  };

  std::unique_ptr<Sweep, SweepDeleter> sweep_;
  std::string copy_;
};

}  // namespace zavelo::json::detail
