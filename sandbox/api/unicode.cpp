#include "sandbox/api/unicode.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace zavelo::sandbox {
namespace {

const utf8proc_uint8_t* bytesOf(std::string_view text) noexcept {
  return reinterpret_cast<const utf8proc_uint8_t*>(text.data());
}

constexpr bool startsCharacter(char byte) noexcept {
  return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
}

}  // namespace

std::string repaired(std::string_view text) {
  std::string whole;
  whole.reserve(text.size());
  while (!text.empty()) {
    utf8proc_int32_t character = 0;
    const auto length =
        utf8proc_iterate(bytesOf(text), static_cast<utf8proc_ssize_t>(text.size()), &character);
    const auto taken = length > 0 ? static_cast<std::size_t>(length) : 1;
    whole.append(length > 0 ? text.substr(0, taken) : std::string_view("\uFFFD"));
    text.remove_prefix(taken);
  }
  return whole;
}

bool isUtf8(std::string_view text) noexcept {
  while (!text.empty()) {
    utf8proc_int32_t character = 0;
    const auto length =
        utf8proc_iterate(bytesOf(text), static_cast<utf8proc_ssize_t>(text.size()), &character);
    if (length <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(length));
  }
  return true;
}

std::size_t characterCount(std::string_view text) noexcept {
  return static_cast<std::size_t>(std::ranges::count_if(text, startsCharacter));
}

std::string_view firstCharacters(std::string_view text, std::size_t most) noexcept {
  for (std::size_t i = 0, seen = 0; i < text.size(); ++i) {
    if (startsCharacter(text[i]) && ++seen > most) return text.substr(0, i);
  }
  return text;
}

std::string caseFolded(std::string_view text) {
  utf8proc_uint8_t* folded = nullptr;
  constexpr auto options = static_cast<utf8proc_option_t>(
      UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_COMPAT | UTF8PROC_CASEFOLD | UTF8PROC_IGNORE);
  const auto length =
      utf8proc_map(bytesOf(text), static_cast<utf8proc_ssize_t>(text.size()), &folded, options);
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(folded, &std::free);
  if (length < 0) throw std::runtime_error(utf8proc_errmsg(length));
  return {reinterpret_cast<const char*>(folded), static_cast<std::size_t>(length)};
}

}  // namespace zavelo::sandbox
