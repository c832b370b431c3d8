#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
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
    jpeg,       ///< a file in a form, a well-formed image/jpeg, at most `most` bytes
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

/// A parameter and the type of its value, by which an endpoint asks for it:
///
///     constexpr auto countParameter = required(integer("count", 1, 1000));
///     const std::int64_t count = call.arguments[countParameter];
template <class T, bool isAlwaysGiven = false>
struct Param : Parameter {};

[[nodiscard]] constexpr Param<std::string> text(std::string_view name, double least, double most) {
  return {{name, Parameter::Kind::text, least, most}};
}
[[nodiscard]] constexpr Param<std::int64_t> integer(std::string_view name, double least,
                                                    double most) {
  return {{name, Parameter::Kind::integer, least, most}};
}
[[nodiscard]] constexpr Param<double> number(std::string_view name, double least, double most) {
  return {{name, Parameter::Kind::number, least, most}};
}
[[nodiscard]] constexpr Param<std::string> date(std::string_view name) {
  return {{name, Parameter::Kind::date, 0, 0}};
}
[[nodiscard]] constexpr Param<bool> flag(std::string_view name) {
  return {{name, Parameter::Kind::flag, 0, 0}};
}
[[nodiscard]] constexpr Param<std::string> address(std::string_view name) {
  return {{name, Parameter::Kind::address, 0, 2000}};
}
[[nodiscard]] constexpr Param<FormPart> plainText(std::string_view name, double mostBytes) {
  return {{name, Parameter::Kind::plainText, 0, mostBytes}};
}
[[nodiscard]] constexpr Param<FormPart> jpeg(std::string_view name, double mostBytes) {
  return {{name, Parameter::Kind::jpeg, 0, mostBytes}};
}
/// For an endpoint that reads its object itself.
[[nodiscard]] constexpr Parameter anything() {
  return {"*", Parameter::Kind::any, 0, 0};
}
template <class T>
[[nodiscard]] constexpr Param<T, true> required(Param<T> parameter) {
  parameter.presence = Parameter::Presence::required;
  return {parameter};
}
/// Such an endpoint looks first whether there are any arguments.
template <class T>
[[nodiscard]] constexpr Param<T, true> requiredUnlessBare(Param<T> parameter) {
  parameter.presence = Parameter::Presence::requiredUnlessBare;
  return {parameter};
}

/// Parameters that were found to be what the endpoint takes.
class Arguments {
 public:
  /// The value, if it was sent.
  template <class T>
  [[nodiscard]] std::optional<T> operator[](const Param<T>& parameter) const {
    const json::Value* value = find(parameter.name);
    return value ? std::optional(valueOf<T>(*value)) : std::nullopt;
  }
  /// The value of a parameter that the endpoint requires. Throws std::logic_error where it does
  /// not.
  template <class T>
  [[nodiscard]] T operator[](const Param<T, true>& parameter) const {
    const json::Value* value = find(parameter.name);
    if (value == nullptr) throwMissing(parameter.name);
    return valueOf<T>(*value);
  }
  /// The file, null if it was not sent.
  [[nodiscard]] const FormPart* operator[](const Param<FormPart>& parameter) const;
  [[nodiscard]] const FormPart& operator[](const Param<FormPart, true>& parameter) const;

  [[nodiscard]] bool has(const Parameter& parameter) const;
  /// All that was sent, files aside.
  [[nodiscard]] json::Object object() const;
  [[nodiscard]] bool empty() const { return values_.empty() && files_.empty(); }

 private:
  friend class ParameterCheck;

  template <class T>
  [[nodiscard]] static T valueOf(const json::Value& value) {
    if constexpr (std::is_same_v<T, std::int64_t>) {
      return static_cast<std::int64_t>(numberOf(value));
    } else if constexpr (std::is_same_v<T, double>) {
      return numberOf(value);
    } else {
      return *value.as<T>();
    }
  }
  /// Of a value that was checked to be one.
  [[nodiscard]] static double numberOf(const json::Value& value);
  [[noreturn]] static void throwMissing(std::string_view name);
  [[nodiscard]] const json::Value* find(std::string_view name) const;

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
