#include "zavelo/platform/unicode.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>

namespace zavelo::unicode {
namespace {

struct CodePoint {
  utf8proc_int32_t value;  // negative for a byte that is not UTF-8
  std::size_t size;        // in bytes
};

bool isAscii(char byte) {
  return static_cast<unsigned char>(byte) < 0x80;
}

bool isAscii(std::string_view text) {
  unsigned char all = 0;
  for (const char byte : text) all |= static_cast<unsigned char>(byte);
  return all < 0x80;
}

CodePoint codePointAt(std::string_view text, std::size_t at) {
  if (isAscii(text[at])) return {text[at], 1};
  utf8proc_int32_t value = -1;
  const auto size = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at),
                                     static_cast<utf8proc_ssize_t>(text.size() - at), &value);
  return size > 0 ? CodePoint{value, static_cast<std::size_t>(size)} : CodePoint{-1, 1};
}

std::size_t utf16Units(CodePoint codePoint) {
  return codePoint.value > 0xFFFF ? 2 : 1;
}

void append(std::string& text, utf8proc_int32_t codePoint) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const auto size = utf8proc_encode_char(codePoint, bytes.data());
  text.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(size));
}

bool isAlphanumeric(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  const auto category = utf8proc_category(codePoint);
  return category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_NO;
}
static_assert(UTF8PROC_CATEGORY_LU == 1 && UTF8PROC_CATEGORY_NO == 11,
              "letters, marks and numbers stand together");

bool isSeparator(utf8proc_int32_t codePoint) {
  if (codePoint < 0) return false;
  if ((codePoint >= 0x09 && codePoint <= 0x0D) || codePoint == 0x85) return true;
  const auto category = utf8proc_category(codePoint);
  return (category >= UTF8PROC_CATEGORY_PC && category <= UTF8PROC_CATEGORY_PO) ||
         (category >= UTF8PROC_CATEGORY_ZS && category <= UTF8PROC_CATEGORY_ZP);
}
static_assert(UTF8PROC_CATEGORY_PO - UTF8PROC_CATEGORY_PC == 6 &&
                  UTF8PROC_CATEGORY_ZP - UTF8PROC_CATEGORY_ZS == 2,
              "punctuation stands together, and so do separators");

/// Writes the canonical decomposition of what it is given code point by code point. Marks are put
/// in their order by a sort: a run of them may be as long as the text.
class Decomposition {
 public:
  Decomposition(std::string& text, int options)
      : text_(text), options_(static_cast<utf8proc_option_t>(options | UTF8PROC_DECOMPOSE)) {}

  void add(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
      const CodePoint codePoint = codePointAt(text, at);
      if (codePoint.value < 0)
        addByte(text[at]);
      else
        add(codePoint.value);
      at += codePoint.size;
    }
    flush();
  }

 private:
  void addByte(char byte) {
    flush();
    text_ += byte;
  }

  void add(utf8proc_int32_t codePoint) {
    if (codePoint < 0x80 && options_ == UTF8PROC_DECOMPOSE) return addStarter(codePoint);
    std::array<utf8proc_int32_t, 8> parts{};  // no code point has more than four
    int boundClass = 0;
    const auto count =
        utf8proc_decompose_char(codePoint, parts.data(), parts.size(), options_, &boundClass);
    for (utf8proc_ssize_t i = 0; i < count; ++i) {
      const utf8proc_int32_t part = parts[static_cast<std::size_t>(i)];
      if (combiningClass(part) == 0) flush();
      pending_.push_back(part);
    }
  }

  void addStarter(utf8proc_int32_t codePoint) {
    flush();
    pending_.push_back(codePoint);
  }

  static utf8proc_propval_t combiningClass(utf8proc_int32_t codePoint) {
    return utf8proc_get_property(codePoint)->combining_class;
  }

  void flush() {
    if (pending_.size() > 2)
      std::ranges::stable_sort(pending_, {}, combiningClass);
    else if (pending_.size() == 2 && combiningClass(pending_[1]) < combiningClass(pending_[0]))
      std::swap(pending_[0], pending_[1]);
    for (const utf8proc_int32_t codePoint : pending_) append(text_, codePoint);
    pending_.clear();
  }

  std::string& text_;
  const utf8proc_option_t options_;
  std::vector<utf8proc_int32_t> pending_;  // a starter and the marks behind it
};

std::string asciiLowercased(std::string_view text) {
  std::string lower(text);
  for (char& byte : lower)
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + ('a' - 'A'));
  return lower;
}

}  // namespace

bool isUtf8(std::string_view text) {
  if (isAscii(text)) return true;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint codePoint = codePointAt(text, at);
    if (codePoint.value < 0) return false;
    at += codePoint.size;
  }
  return true;
}

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

std::vector<std::string_view> splitAtPunctuationAndWhiteSpace(std::string_view text) {
  std::vector<std::string_view> pieces;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint codePoint = codePointAt(text, at);
    if (isSeparator(codePoint.value)) {
      pieces.push_back(text.substr(begin, at - begin));
      begin = at + codePoint.size;
    }
    at += codePoint.size;
  }
  pieces.push_back(text.substr(begin));
  return pieces;
}

std::string lowercased(std::string_view text) {
  if (isAscii(text)) return asciiLowercased(text);
  std::string lower;
  lower.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint codePoint = codePointAt(text, at);
    if (codePoint.value < 0)
      lower += text[at];
    else if (codePoint.value == 0x130)  // the one code point whose lower case is two, everywhere
      lower += "i\u0307";
    else
      append(lower, utf8proc_tolower(codePoint.value));
    at += codePoint.size;
  }
  return lower;
}

std::string decomposed(std::string_view text) {
  if (isAscii(text)) return std::string(text);
  std::string result;
  Decomposition(result, 0).add(text);
  return result;
}

std::string caseFolded(std::string_view text) {
  if (isAscii(text)) return asciiLowercased(text);
  std::string result;
  Decomposition(result, UTF8PROC_CASEFOLD).add(decomposed(text));
  return result;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(firstCharacterSize(text));
  return count;
}

std::size_t firstCharacterSize(std::string_view text) {
  if (text.empty()) return 0;
  CodePoint previous = codePointAt(text, 0);
  std::size_t end = previous.size;
  if (previous.value < 0) return end;
  utf8proc_int32_t state = 0;
  while (end < text.size()) {
    const CodePoint next = codePointAt(text, end);
    if (next.value < 0 || utf8proc_grapheme_break_stateful(previous.value, next.value, &state))
      break;
    previous = next;
    end += next.size;
  }
  return end;
}

std::size_t utf16Length(std::string_view text) {
  if (isAscii(text)) return text.size();
  std::size_t length = 0;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint codePoint = codePointAt(text, at);
    length += utf16Units(codePoint);
    at += codePoint.size;
  }
  return length;
}

std::optional<std::size_t> utf16PrefixSize(std::string_view text, std::size_t units) {
  std::size_t at = 0;
  while (units > 0) {
    if (at == text.size()) return std::nullopt;
    const CodePoint codePoint = codePointAt(text, at);
    const std::size_t length = utf16Units(codePoint);
    if (length > units) return std::nullopt;
    units -= length;
    at += codePoint.size;
  }
  return at;
}

}  // namespace zavelo::unicode
