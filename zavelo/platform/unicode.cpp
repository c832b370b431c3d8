#include "zavelo/platform/unicode.hpp"

#include <utf8proc.h>

namespace zavelo::unicode {
namespace {

struct CodePoint {
  utf8proc_int32_t value;  // negative for a byte that is not UTF-8
  std::size_t size;        // in bytes
};

CodePoint codePointAt(std::string_view text, std::size_t at) {
  utf8proc_int32_t value = -1;
  const auto size = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at),
                                     static_cast<utf8proc_ssize_t>(text.size() - at), &value);
  return size > 0 ? CodePoint{value, static_cast<std::size_t>(size)} : CodePoint{-1, 1};
}

bool isAlphanumeric(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  const auto category = utf8proc_category(codePoint);
  return category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_NO;
}
static_assert(UTF8PROC_CATEGORY_LU == 1 && UTF8PROC_CATEGORY_NO == 11,
              "letters, marks and numbers stand together");

}  // namespace

std::string_view trimmedToAlphanumerics(std::string_view text) {
  std::size_t first = text.size();
  std::size_t end = 0;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint codePoint = codePointAt(text, at);
    if (isAlphanumeric(codePoint.value)) {
      if (first == text.size()) first = at;
      end = at + codePoint.size;
    }
    at += codePoint.size;
  }
  return end > first ? text.substr(first, end - first) : std::string_view{};
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  utf8proc_int32_t previous = -1;
  utf8proc_int32_t state = 0;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint codePoint = codePointAt(text, at);
    if (previous < 0 || codePoint.value < 0 ||
        utf8proc_grapheme_break_stateful(previous, codePoint.value, &state))
      ++count;
    previous = codePoint.value;
    at += codePoint.size;
  }
  return count;
}

}  // namespace zavelo::unicode
