#include "sandbox/api/parameters.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "sandbox/api/parameter_values.hpp"
#include "sandbox/api/unicode.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::size_t mostProblems = 20;

Problem bodyProblem(const std::string& what) {
  return {Code::modelInvalid, what};
}

bool isFile(const Parameter& parameter) {
  return parameter.kind == Parameter::Kind::jpeg || parameter.kind == Parameter::Kind::plainText;
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
    const auto* parameter = find(part.name);
    if (parameter == nullptr) return;
    if (part.fileName.empty()) return take(part.name, valueOfField(part.content, *parameter));
    note(part.name, checkFile(part, *parameter));
    arguments_.files_.insert_or_assign(part.name, part);
  }

  Result<Arguments, std::vector<Problem>> finish() && {
    for (const auto& parameter : parameters_) {
      const bool given =
          arguments_.values_.contains(parameter.name) || arguments_.files_.contains(parameter.name);
      if (!given && isRequired(parameter)) note(parameter.name, "missing");
    }
    if (problems_.empty()) return std::move(arguments_);
    if (problems_.size() > mostProblems) problems_.resize(mostProblems);
    return Failure{std::move(problems_)};
  }

 private:
  const Parameter* find(std::string_view name) {
    for (const auto candidate : {name, std::string_view("*")}) {
      const auto found = std::ranges::find(parameters_, candidate, &Parameter::name);
      if (found != parameters_.end()) return &*found;
    }
    note(name, "unknown parameter");
    return nullptr;
  }

  [[nodiscard]] bool isRequired(const Parameter& parameter) const {
    using Presence = Parameter::Presence;
    const bool isBare = arguments_.empty() && problems_.empty();
    return parameter.presence == Presence::required ||
           (parameter.presence == Presence::requiredUnlessBare && !isBare);
  }

  void note(std::string_view name, const Complaint& complaint) {
    if (complaint) problems_.push_back(parameterProblem(name, *complaint));
  }

  std::span<const Parameter> parameters_;
  Arguments arguments_;
  std::vector<Problem> problems_;
};

Result<Arguments, std::vector<Problem>> checkParameters(std::span<const Parameter> parameters,
                                                        const json::Object& object) {
  ParameterCheck check(parameters);
  for (const auto& [name, value] : object) check.take(name, value);
  return std::move(check).finish();
}

Result<Arguments, std::vector<Problem>> checkParameters(std::span<const Parameter> parameters,
                                                        const Request& request) {
  if (!request.query.empty()) {
    return Failure{
        std::vector{bodyProblem("Parameters belong into the body, not into the address")}};
  }
  if (request.isForm) {
    if (std::ranges::none_of(parameters, isFile)) {
      return Failure{std::vector{bodyProblem("\"Content-Type\": expected application/json")}};
    }
    ParameterCheck check(parameters);
    for (const auto& part : request.form) check.take(part);
    return std::move(check).finish();
  }
  const auto object = objectIn(request);
  if (!object) return Failure{std::vector{object.error()}};
  return checkParameters(parameters, *object);
}

const json::Value* Arguments::find(std::string_view name) const {
  const auto found = values_.find(name);
  return found == values_.end() ? nullptr : &found->second;
}

double Arguments::numberOf(const json::Value& value) {
  return *sandbox::numberOf(value);
}

void Arguments::throwMissing(std::string_view name) {
  throw std::logic_error("the endpoint does not require \"" + std::string(name) + "\"");
}

json::Object Arguments::object() const {
  return json::Object(std::vector<json::Object::Member>(values_.begin(), values_.end()));
}

bool Arguments::has(const Parameter& parameter) const {
  return values_.contains(parameter.name) || files_.contains(parameter.name);
}

const FormPart* Arguments::operator[](const Param<FormPart>& parameter) const {
  const auto found = files_.find(parameter.name);
  return found == files_.end() ? nullptr : &found->second;
}

const FormPart& Arguments::operator[](const Param<FormPart, true>& parameter) const {
  const auto found = files_.find(parameter.name);
  if (found == files_.end()) throwMissing(parameter.name);
  return found->second;
}

}  // namespace zavelo::sandbox
