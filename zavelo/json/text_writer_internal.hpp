#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zavelo::json::detail {

/// Collects JSON text. The buffer is not cleared before it is filled, which a std::string would do.
class TextWriter {
 public:
  void raw(char c) {
    *room(1) = c;
    ++size_;
  }
  void raw(std::string_view text);
  void number(std::int64_t value);
  void number(double value);
  /// The text in quotes, escaped as RFC 8259 section 7 demands and no further. False when it is not
  /// UTF-8.
  [[nodiscard]] bool quoted(std::string_view text);

  /// Takes the last character back.
  void unwrite() { --size_; }
  [[nodiscard]] char last() const { return buffer_[size_ - 1]; }
  [[nodiscard]] std::string text() const { return {buffer_.get(), size_}; }

 private:
  char* room(std::size_t bytes) {
    if (capacity_ - size_ < bytes) grow(bytes);
    return buffer_.get() + size_;
  }
  void grow(std::size_t bytes);

  std::unique_ptr<char[]> buffer_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace zavelo::json::detail
