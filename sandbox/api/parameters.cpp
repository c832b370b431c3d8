#include "sandbox/api/parameters.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <utility>

#include "sandbox/api/unicode.hpp"
#include "zavelo/base/number_text.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::size_t mostProblems = 20;

/// No value when all is well, else what is wrong.
using Complaint = std::optional<std::string>;

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

Complaint checkDate(std::string_view value) {
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

std::optional<double> numberOf(const json::Value& value) {
  if (const auto* integer = value.as<std::int64_t>()) return static_cast<double>(*integer);
  if (const auto* real = value.as<double>()) return *real;
  return {};
}

Complaint checkValue(const json::Value& value, const Parameter& parameter) {
  using Kind = Parameter::Kind;
  if (parameter.kind == Kind::jpeg) return "expected a file in a form";
  if (parameter.kind == Kind::text || parameter.kind == Kind::date) {
    const auto* string = value.as<std::string>();
    if (string == nullptr) return "expected text";
    return parameter.kind == Kind::date ? checkDate(*string) : checkText(*string, parameter);
  }
  const auto found = numberOf(value);
  if (parameter.kind == Kind::number) {
    return found ? checkRange(*found, parameter) : "expected number";
  }
  return found && std::trunc(*found) == *found ? checkRange(*found, parameter) : "expected integer";
}

Complaint checkFile(const FormPart& part, const Parameter& parameter) {
  if (parameter.kind != Parameter::Kind::jpeg) return "expected a plain field, not a file";
  if (!equalIgnoringCase(part.contentType, "image/jpeg")) return "expected type image/jpeg";
  if (static_cast<double>(part.content.size()) > parameter.most) {
    return "at most " + limitText(parameter.most) + " bytes";
  }
  return {};
}

Problem bodyProblem(const std::string& what) {
  return {Code::modelInvalid, what};
}

Result<json::Object, Problem> objectIn(const Request& request) {
  if (request.body.empty()) return json::Object{};
  const auto type = request.header("Content-Type");
  if (!equalIgnoringCase(type.substr(0, type.find_first_of("; ")), "application/json")) {
    return Failure{bodyProblem("\"Content-Type\": expected application/json")};
  }
  auto value = json::decode<json::Value>(request.body);
  if (!value) return Failure{bodyProblem("The body is not JSON: " + value.error().text())};
  const auto* object = value->as<json::Object>();
  if (object == nullptr) return Failure{bodyProblem("The body is not a JSON object")};
  return *object;
}

}  // namespace

Problem parameterProblem(std::string_view name, std::string_view what) {
  std::string text = "\"";
  text += isUtf8(name) ? firstCharacters(name, 64) : "?";
  return {Code::modelInvalid, text.append("\": ").append(what)};
}

/// Collects arguments and problems while a body is gone through.
class ParameterCheck {
 public:
  explicit ParameterCheck(std::span<const Parameter> parameters) : parameters_(parameters) {}

  void take(const std::string& name, const json::Value& value) {
    if (const auto* parameter = find(name); parameter != nullptr) {
      note(name, checkValue(value, *parameter));
      arguments_.values_.insert_or_assign(name, value);
    }
  }

  void take(const FormPart& part) {
    if (part.fileName.empty()) return take(part.name, json::Value(part.content));
    if (const auto* parameter = find(part.name); parameter != nullptr) {
      note(part.name, checkFile(part, *parameter));
      arguments_.files_.insert_or_assign(part.name, part.content);
    }
  }

  Result<Arguments, std::vector<Problem>> finish() && {
    for (const auto& parameter : parameters_) {
      const bool given =
          arguments_.values_.contains(parameter.name) || arguments_.files_.contains(parameter.name);
      if (parameter.isRequired && !given) note(parameter.name, "missing");
    }
    if (problems_.empty()) return std::move(arguments_);
    if (problems_.size() > mostProblems) problems_.resize(mostProblems);
    return Failure{std::move(problems_)};
  }

 private:
  const Parameter* find(std::string_view name) {
    const auto found = std::ranges::find(parameters_, name, &Parameter::name);
    if (found != parameters_.end()) return &*found;
    note(name, "unknown parameter");
    return nullptr;
  }

  void note(std::string_view name, const Complaint& complaint) {
    if (complaint) problems_.push_back(parameterProblem(name, *complaint));
  }

  std::span<const Parameter> parameters_;
  Arguments arguments_;
  std::vector<Problem> problems_;
};

Result<Arguments, std::vector<Problem>> checkParameters(std::span<const Parameter> parameters,
                                                        const Request& request) {
  ParameterCheck check(parameters);
  if (!request.query.empty()) {
    return Failure{
        std::vector{bodyProblem("Parameters belong into the body, not into the address")}};
  }
  if (request.isForm) {
    if (std::ranges::find(parameters, Parameter::Kind::jpeg, &Parameter::kind) ==
        parameters.end()) {
      return Failure{std::vector{bodyProblem("\"Content-Type\": expected application/json")}};
    }
    for (const auto& part : request.form) check.take(part);
  } else {
    const auto object = objectIn(request);
    if (!object) return Failure{std::vector{object.error()}};
    for (const auto& [name, value] : *object) check.take(name, value);
  }
  return std::move(check).finish();
}

std::optional<std::string> Arguments::text(std::string_view name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) return {};
  return *found->second.as<std::string>();
}

std::optional<std::int64_t> Arguments::integer(std::string_view name) const {
  const auto found = number(name);
  if (!found) return {};
  return static_cast<std::int64_t>(*found);
}

std::optional<double> Arguments::number(std::string_view name) const {
  const auto found = values_.find(name);
  if (found == values_.end()) return {};
  return numberOf(found->second);
}

const std::string* Arguments::file(std::string_view name) const {
  const auto found = files_.find(name);
  return found == files_.end() ? nullptr : &found->second;
}

}  // namespace zavelo::sandbox
