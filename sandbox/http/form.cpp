#include "sandbox/http/form.hpp"

#include <algorithm>
#include <string>
#include <utility>

namespace zavelo::sandbox {
namespace {

constexpr std::size_t mostParts = 100;
constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view blanks = " \t";

/// What comes before the mark, which is removed too; all of it when there is no mark.
std::string_view takeUpTo(std::string_view mark, std::string_view& text) {
  const auto at = text.find(mark);
  const auto taken = text.substr(0, at);
  text.remove_prefix(at == std::string_view::npos ? text.size() : at + mark.size());
  return taken;
}

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// A quoted string or a token (RFC 9110 section 5.6), up to the next parameter.
std::string takeValue(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  if (!text.starts_with('"')) return std::string(trimmed(takeUpTo(";", text)));
  std::string value;
  std::size_t at = 1;
  for (; at < text.size() && text[at] != '"'; ++at) {
    // Some clients do not escape the backslashes of a path.
    const bool isEscaped =
        text[at] == '\\' && at + 1 < text.size() && (text[at + 1] == '"' || text[at + 1] == '\\');
    value += text[isEscaped ? ++at : at];
  }
  text.remove_prefix(std::min(at, text.size()));
  takeUpTo(";", text);
  return value;
}

/// Of a header like `form-data; name="a"; filename="b"`.
std::optional<std::string> parameterOf(std::string_view header, std::string_view wanted) {
  takeUpTo(";", header);
  while (!header.empty()) {
    const auto name = trimmed(takeUpTo("=", header));
    auto value = takeValue(header);
    if (equalIgnoringCase(name, wanted)) return value;
  }
  return {};
}

/// The part with those header lines, without its content; none when it has no name.
std::optional<FormPart> partOf(std::string_view lines) {
  FormPart part;
  bool isNamed = false;
  while (!lines.empty()) {
    std::string_view value = takeUpTo(lineEnd, lines);
    const auto header = trimmed(takeUpTo(":", value));
    value = trimmed(value);
    if (equalIgnoringCase(header, "Content-Type")) part.contentType = value;
    if (!equalIgnoringCase(header, "Content-Disposition")) continue;
    auto name = parameterOf(value, "name");
    if (!name) return {};
    isNamed = true;
    part.name = *std::move(name);
    part.fileName = parameterOf(value, "filename").value_or("");
  }
  return isNamed ? std::optional(std::move(part)) : std::nullopt;
}

}  // namespace

std::optional<std::vector<FormPart>> formParts(std::string_view contentType,
                                               std::string_view body) {
  const auto boundary = parameterOf(contentType, "boundary");
  if (!boundary || boundary->empty()) return {};
  const std::string delimiter = std::string(lineEnd) + "--" + *boundary;
  const std::string_view first = std::string_view(delimiter).substr(lineEnd.size());
  takeUpTo(body.starts_with(first) ? first : delimiter, body);
  std::vector<FormPart> parts;
  while (!body.starts_with("--")) {
    if (!trimmed(takeUpTo(lineEnd, body)).empty()) return {};
    // A part without a header has no line before the empty one.
    auto part = partOf(takeUpTo("\r\n\r\n", body));
    const auto end = body.find(delimiter);
    if (!part || end == std::string_view::npos || parts.size() == mostParts) return {};
    part->content = takeUpTo(delimiter, body);
    parts.push_back(*std::move(part));
  }
  return parts;
}

}  // namespace zavelo::sandbox
