#include "tools/zavelo/terminal/readable.hpp"

#include <algorithm>
#include <cstddef>

#include "zavelo/base/number_text.hpp"

namespace zavelo::command {
namespace {

constexpr std::size_t step = 2;  // of the indentation

bool isNested(const json::Value& value) {
  const auto* object = value.as<json::Object>();
  const auto* array = value.as<json::Array>();
  return (object != nullptr && !object->empty()) || (array != nullptr && !array->empty());
}

std::string scalarText(const json::Value& value) {
  if (const auto* flag = value.as<bool>()) return *flag ? "yes" : "no";
  if (const auto* integer = value.as<std::int64_t>()) return numberText(*integer);
  if (const auto* number = value.as<double>()) return numberText(*number);
  if (const auto* text = value.as<std::string>()) return printable(*text);
  return "none";  // null, and what is empty
}

void append(std::string& out, const json::Value& value, std::size_t indent);

void appendMember(std::string& out, const std::string& key, const json::Value& value,
                  std::size_t indent, std::size_t width) {
  out.append(indent, ' ').append(key);
  if (isNested(value)) {
    out += '\n';
    append(out, value, indent + step);
  } else {
    out.append(width - key.size() + step, ' ').append(scalarText(value)) += '\n';
  }
}

void append(std::string& out, const json::Value& value, std::size_t indent) {
  if (const auto* object = value.as<json::Object>(); object != nullptr && isNested(value)) {
    std::size_t width = 0;
    for (const auto& [key, member] : *object)
      if (!isNested(member)) width = std::max(width, printable(key).size());
    for (const auto& [key, member] : *object)
      appendMember(out, printable(key), member, indent, width);
  } else if (const auto* array = value.as<json::Array>(); array != nullptr && isNested(value)) {
    std::int64_t index = 0;
    const std::size_t width = numberText(static_cast<std::int64_t>(array->size())).size();
    for (const auto& element : *array)
      appendMember(out, numberText(++index), element, indent, width);
  } else {
    out.append(indent, ' ').append(scalarText(value)) += '\n';
  }
}

}  // namespace

std::string readableText(const json::Value& value) {
  std::string text;
  append(text, value, 0);
  return text;
}

std::string byteText(unsigned char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  return {'\\', 'x', digits[byte >> 4U], digits[byte & 0xFU]};
}

std::string printable(std::string_view text) {
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    // U+0080 to U+009F, the controls of eight bits, are C2 80 to C2 9F in UTF-8.
    const bool isC1 =
        byte == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
    if (isC1)
      shown += byteText(static_cast<unsigned char>(text[++i]));
    else if (byte < 0x20 || byte == 0x7F)
      shown += byteText(byte);
    else
      shown += text[i];
  }
  return shown;
}

}  // namespace zavelo::command
