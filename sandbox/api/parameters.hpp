#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/api/envelope.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// One parameter that an endpoint takes: `required(text("displayName", 1, 100))`.
struct Parameter {
  enum class Kind : std::uint8_t {
    text,       ///< `least` to `most` characters
    integer,    ///< `least` to `most`; a number without fraction however it is written
    number,     ///< `least` to `most`
    flag,       ///< true or false
    date,       ///< YYYY-MM-DD or an empty text
    address,    ///< of the web, or an empty text
    jpeg,       ///< a file in a form, a sound image/jpeg, at most `most` bytes
    plainText,  ///< a file in a form, text/plain, at most `most` bytes
    any,        ///< whatever it is; the endpoint looks itself
  };
  enum class Presence : std::uint8_t {
    optional,
    required,
    requiredUnlessBare,  ///< may be missing where no parameter at all is given
  };

  std::string_view name;  ///< "*": every other name
  Kind kind;
  double least;
  double most;
  Presence presence = Presence::optional;
};

[[nodiscard]] constexpr Parameter text(std::string_view name, double least, double most) {
  return {name, Parameter::Kind::text, least, most};
}
[[nodiscard]] constexpr Parameter integer(std::string_view name, double least, double most) {
  return {name, Parameter::Kind::integer, least, most};
}
[[nodiscard]] constexpr Parameter number(std::string_view name, double least, double most) {
  return {name, Parameter::Kind::number, least, most};
}
[[nodiscard]] constexpr Parameter date(std::string_view name) {
  return {name, Parameter::Kind::date, 0, 0};
}
[[nodiscard]] constexpr Parameter flag(std::string_view name) {
  return {name, Parameter::Kind::flag, 0, 0};
}
[[nodiscard]] constexpr Parameter address(std::string_view name) {
  return {name, Parameter::Kind::address, 0, 2000};
}
[[nodiscard]] constexpr Parameter plainText(std::string_view name, double mostBytes) {
  return {name, Parameter::Kind::plainText, 0, mostBytes};
}
[[nodiscard]] constexpr Parameter jpeg(std::string_view name, double mostBytes) {
  return {name, Parameter::Kind::jpeg, 0, mostBytes};
}
/// For an endpoint that reads its object itself.
[[nodiscard]] constexpr Parameter anything() {
  return {"*", Parameter::Kind::any, 0, 0};
}
[[nodiscard]] constexpr Parameter required(Parameter parameter) {
  parameter.presence = Parameter::Presence::required;
  return parameter;
}
[[nodiscard]] constexpr Parameter requiredUnlessBare(Parameter parameter) {
  parameter.presence = Parameter::Presence::requiredUnlessBare;
  return parameter;
}

/// Parameters that were found to be what the endpoint takes. One that was not sent has no value.
class Arguments {
 public:
  [[nodiscard]] std::optional<std::string> text(std::string_view name) const;
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view name) const;
  [[nodiscard]] std::optional<double> number(std::string_view name) const;
  [[nodiscard]] std::optional<bool> flag(std::string_view name) const;
  [[nodiscard]] const FormPart* file(std::string_view name) const;
  [[nodiscard]] bool has(std::string_view name) const;
  /// All that was sent, files aside.
  [[nodiscard]] json::Object object() const;
  [[nodiscard]] bool empty() const { return values_.empty() && files_.empty(); }

 private:
  friend class ParameterCheck;
  std::map<std::string, json::Value, std::less<>> values_;
  std::map<std::string, FormPart, std::less<>> files_;
};

/// Reads a request's body, JSON or a form, and holds it against what the endpoint takes. Every
/// problem names its parameter: `"latitude": expected number`.
[[nodiscard]] Result<Arguments, std::vector<Problem>> checkParameters(
    std::span<const Parameter> parameters, const Request& request);
/// The same for an object that was read already.
[[nodiscard]] Result<Arguments, std::vector<Problem>> checkParameters(
    std::span<const Parameter> parameters, const json::Object& object);

/// A problem with one parameter, for what an endpoint finds out by itself.
[[nodiscard]] Problem parameterProblem(std::string_view name, std::string_view what);

}  // namespace zavelo::sandbox
