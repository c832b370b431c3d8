#include "sandbox/api/parameter_values.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <span>

#include "sandbox/api/throttle.hpp"
#include "sandbox/api/unicode.hpp"
#include "zavelo/base/number_text.hpp"
#include "zavelo/platform/jpeg.hpp"

namespace zavelo::sandbox {
namespace {

std::string limitText(double limit) {
  return std::trunc(limit) == limit ? numberText(static_cast<std::int64_t>(limit))
                                    : numberText(limit);
}

Complaint checkRange(double value, const Parameter& parameter) {
  if (value >= parameter.least && value <= parameter.most) return {};
  return "must be from " + limitText(parameter.least) + " to " + limitText(parameter.most);
}

Complaint checkText(const std::string& value, const Parameter& parameter) {
  if (!isUtf8(value)) return "must be UTF-8";
  if (value.find('\0') != std::string::npos) return "must not contain NUL";
  const auto count = static_cast<double>(characterCount(value));
  if (count < parameter.least && value.empty()) return "must not be empty";
  if (count < parameter.least) return "at least " + limitText(parameter.least) + " characters";
  if (count > parameter.most) return "at most " + limitText(parameter.most) + " characters";
  return {};
}

std::optional<int> digits(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || text.front() == '-') return {};
  return value;
}

Complaint checkDate(const std::string& text, const Parameter&) {
  const std::string_view value = text;
  if (value.empty()) return {};
  const Complaint complaint = "expected a date, YYYY-MM-DD, or an empty text";
  if (value.size() != 10 || value[4] != '-' || value[7] != '-') return complaint;
  const auto year = digits(value.substr(0, 4));
  const auto month = digits(value.substr(5, 2));
  const auto day = digits(value.substr(8, 2));
  if (!year || !month || !day) return complaint;
  const std::chrono::year_month_day date{std::chrono::year(*year),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  return date.ok() ? Complaint{} : complaint;
}

Complaint checkAddress(const std::string& value, const Parameter& parameter) {
  if (auto complaint = checkText(value, parameter)) return complaint;
  if (value.empty() || value.starts_with("http://") || value.starts_with("https://")) return {};
  return "expected an http or https address";
}

/// Whether it is a JPEG that can be decoded from its first byte to its last. Takes its time.
bool isPicture(const std::string& file) {
  static Throttle throttle;
  constexpr std::size_t pixels = std::size_t{16} * 1024 * 1024;
  return throttle.run(
      [&] { return decodeJpeg(std::as_bytes(std::span(file)), pixels).has_value(); });
}

Complaint checkNumber(const json::Value& value, const Parameter& parameter) {
  const auto found = numberOf(value);
  if (parameter.kind == Parameter::Kind::number) {
    return found ? checkRange(*found, parameter) : "expected number";
  }
  return found && std::trunc(*found) == *found ? checkRange(*found, parameter) : "expected integer";
}

}  // namespace

std::optional<double> numberOf(const json::Value& value) {
  if (const auto* integer = value.as<std::int64_t>()) return static_cast<double>(*integer);
  if (const auto* real = value.as<double>()) return *real;
  return {};
}

Complaint checkValue(const json::Value& value, const Parameter& parameter) {
  using Kind = Parameter::Kind;
  const auto checked = [&](Complaint (*check)(const std::string&, const Parameter&)) {
    const auto* string = value.as<std::string>();
    return string != nullptr ? check(*string, parameter) : "expected text";
  };
  switch (parameter.kind) {
    case Kind::text:
      return checked(checkText);
    case Kind::date:
      return checked(checkDate);
    case Kind::address:
      return checked(checkAddress);
    case Kind::integer:
    case Kind::number:
      return checkNumber(value, parameter);
    case Kind::flag:
      return value.as<bool>() != nullptr ? Complaint{} : "expected true or false";
    case Kind::any:
      return {};
    case Kind::jpeg:
    case Kind::plainText:
      break;
  }
  return "expected a file in a form";
}

Complaint checkFile(const FormPart& part, const Parameter& parameter) {
  using Kind = Parameter::Kind;
  if (parameter.kind != Kind::jpeg && parameter.kind != Kind::plainText) {
    return "expected a plain field, not a file";
  }
  const std::string expected = parameter.kind == Kind::jpeg ? "image/jpeg" : "text/plain";
  const std::string_view type = part.contentType;
  if (!equalIgnoringCase(type.substr(0, type.find_first_of("; ")), expected)) {
    return "expected type " + expected;
  }
  if (static_cast<double>(part.content.size()) > parameter.most) {
    return "at most " + limitText(parameter.most) + " bytes";
  }
  if (parameter.kind == Kind::jpeg && !isPicture(part.content)) {
    return "is not a valid JPEG of at most 16 megapixels";
  }
  return {};
}

json::Value valueOfField(const std::string& text, const Parameter& parameter) {
  using Kind = Parameter::Kind;
  if (parameter.kind != Kind::integer && parameter.kind != Kind::number) return text;
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && stop == end ? json::Value(number) : json::Value(text);
}

}  // namespace zavelo::sandbox
