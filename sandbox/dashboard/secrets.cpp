#include "sandbox/dashboard/secrets.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

#include "sandbox/http/message.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::array<std::string_view, 3> tokens{"accessToken", "refreshToken", "Authorization"};
constexpr std::string_view blank = " \t\r\n";
constexpr std::size_t shownOfToken = 6;

bool isToken(std::string_view name) {
  return std::ranges::any_of(tokens, [&](auto token) { return equalIgnoringCase(name, token); });
}

bool isPassword(std::string_view name) {
  return equalIgnoringCase(name, "password");
}

/// From the quote at `begin` to after the closing one, or to the end.
std::size_t endOfText(std::string_view json, std::size_t begin) {
  for (std::size_t i = begin + 1; i < json.size(); ++i) {
    if (json[i] == '\\') {
      ++i;
    } else if (json[i] == '"') {
      return i + 1;
    }
  }
  return json.size();
}

std::size_t endOfValue(std::string_view json, std::size_t begin) {
  if (begin < json.size() && json[begin] == '"') return endOfText(json, begin);
  return std::min(json.find_first_of(",}] \t\r\n", begin), json.size());
}

std::size_t skip(std::string_view json, std::size_t begin) {
  return std::min(json.find_first_not_of(blank, begin), json.size());
}

/// The texts of JSON with their quotes, and other values bare.
std::string hidden(std::string_view name, std::string_view value) {
  const bool isQuoted = value.starts_with('"');
  if (isQuoted) value.remove_prefix(1);
  if (isQuoted && value.ends_with('"')) value.remove_suffix(1);
  const std::string shown = withoutSecret(name, value);
  return isQuoted ? '"' + shown + '"' : shown;
}

}  // namespace

std::string withoutSecret(std::string_view name, std::string_view value) {
  if (isPassword(name)) return "•••";
  if (!isToken(name)) return std::string(value);
  const auto scheme = value.find(' ');
  const auto kept = (scheme == std::string_view::npos ? 0 : scheme + 1) + shownOfToken;
  if (value.size() <= kept) return std::string(value);
  return std::string(value.substr(0, kept)) + "…";
}

std::string withoutSecrets(std::string_view json) {
  std::string shown;
  std::size_t copied = 0;
  for (std::size_t at = json.find('"'); at < json.size(); at = json.find('"', at)) {
    const std::size_t end = endOfText(json, at);
    const auto name = json.substr(at + 1, end - at - 1 - (end > at + 1 ? 1 : 0));
    const std::size_t colon = skip(json, end);
    at = end;
    if (colon == json.size() || json[colon] != ':' || (!isPassword(name) && !isToken(name))) {
      continue;
    }
    const std::size_t value = skip(json, colon + 1);
    at = endOfValue(json, value);
    shown.append(json.substr(copied, value - copied));
    shown.append(hidden(name, json.substr(value, at - value)));
    copied = at;
  }
  return shown.append(json.substr(copied));
}

}  // namespace zavelo::sandbox
