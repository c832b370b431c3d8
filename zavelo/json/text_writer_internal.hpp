#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace zavelo::json::detail {

/// Collects JSON text in a buffer that is kept for the next text and never cleared before it is
/// filled, as a std::string would be.
class TextWriter {
 public:
  /// Begins a new text.
  void restart() noexcept { end_ = buffer_.get(); }
  /// Gives memory back that is too much to keep for the next text.
  void shrink();

  void raw(char c) {
    reserve(1);
    *end_++ = c;
  }
  /// A short text that is readable for a block behind its end: whole blocks cost less than finding
  /// out how much is left.
  void padded(const char* text, std::size_t size) {
    constexpr std::size_t block = 8;
    reserve(size + block);
    for (std::size_t at = 0; at < size; at += block) std::memcpy(end_ + at, text + at, block);
    end_ += size;
  }
  void number(std::int64_t value) {
    if (value >= 0 && value <= 9) return raw(static_cast<char>('0' + value));
    longNumber(value);
  }
  void number(double value);
  /// The text in quotes, escaped as RFC 8259 section 7 demands and no further. False when it is not
  /// UTF-8.
  [[nodiscard]] bool quoted(std::string_view text);

  /// Takes the last character back.
  void unwrite() { --end_; }
  [[nodiscard]] char last() const { return end_[-1]; }
  [[nodiscard]] std::string text() const { return {buffer_.get(), end_}; }

 private:
  void longNumber(std::int64_t value);
  void reserve(std::size_t bytes) {
    if (static_cast<std::size_t>(limit_ - end_) < bytes) grow(bytes);
  }
  void grow(std::size_t bytes);

  std::unique_ptr<char[]> buffer_;
  char* end_ = nullptr;
  char* limit_ = nullptr;
};

}  // namespace zavelo::json::detail
