#include "tests/support/json_oracle.hpp"

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "zavelo/json/json.hpp"

namespace zavelo::test {
namespace {

using Oracle = nlohmann::json;

bool same(const json::Value& ours, const Oracle& theirs) {
  if (ours.isNull()) return theirs.is_null();
  if (const auto* flag = ours.as<bool>()) return theirs.is_boolean() && theirs == *flag;
  if (const auto* integer = ours.as<std::int64_t>()) return theirs == *integer;
  if (const auto* real = ours.as<double>()) return theirs.is_number() && theirs == *real;
  if (const auto* text = ours.as<std::string>()) return theirs.is_string() && theirs == *text;
  if (const auto* list = ours.as<json::Array>()) {
    if (!theirs.is_array() || theirs.size() != list->size()) return false;
    for (std::size_t i = 0; i < list->size(); ++i)
      if (!same((*list)[i], theirs[i])) return false;
    return true;
  }
  const auto& object = *ours.as<json::Object>();
  if (!theirs.is_object() || theirs.size() != object.size()) return false;
  for (const auto& [key, value] : object)
    if (!theirs.contains(key) || !same(value, theirs.at(key))) return false;
  return true;
}

/// The UTF-16 unit of the escape at a place; 0 when there is no such escape.
unsigned long unitAt(const std::string& text, std::size_t at) {
  const std::string escape = text.substr(std::min(at, text.size()), 6);
  const bool isUnit = escape.size() == 6 && escape.starts_with("\\u") &&
                      escape.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string::npos;
  return isUnit ? std::strtoul(escape.c_str() + 2, nullptr, 16) : 0;
}

/// The text with halves of surrogate pairs replaced, which the other reader refuses.
std::string withWholePairs(std::string text) {
  for (std::size_t at = text.find('\\'); at < text.size(); at = text.find('\\', at)) {
    const bool high = unitAt(text, at) >> 10 == 0xD800 >> 10;
    const bool low = unitAt(text, at) >> 10 == 0xDC00 >> 10;
    const bool pair = high && unitAt(text, at + 6) >> 10 == 0xDC00 >> 10;
    if (low || (high && !pair)) text.replace(at, 6, "\\uFFFD");
    at += pair ? 12 : 2;
  }
  return text;
}

}  // namespace

std::string jsonDisagreement(const std::string& text) {
  const auto ours = json::decode<json::Value>(text);
  const Oracle theirs = Oracle::parse(withWholePairs(text), nullptr, /*allow_exceptions=*/false);
  if (theirs.is_discarded()) return ours ? "accepted what is not JSON" : "";
  if (ours) return same(*ours, theirs) ? "" : "read something else";
  // The other reader takes a NUL for the end of the text.
  const bool onPurpose =
      ours.error().reason == "nested too deeply" || text.find('\0') < text.size();
  return onPurpose ? "" : "refused: " + ours.error().text();
}

}  // namespace zavelo::test
