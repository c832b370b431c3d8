#include <array>
#include <optional>
#include <utility>

#include "tools/zavelo/operations/catalogue.hpp"
#include "tools/zavelo/operations/endpoint_operation.hpp"

namespace zavelo::command {
namespace {

template <ZVAPI::Case Endpoint>
Result<ZVCall, ArgumentError> callAnyhow(const std::vector<Argument>& arguments,
                                         const json::Object& given, JsonCompletion done) {
  std::optional<json::Value> parameters;
  const std::array<void*, 1> places{&parameters};
  if (auto error = readArguments(arguments, given, places)) return Failure{std::move(*error)};
  const json::Value value = parameters.value_or(json::Object{});
  const auto* object = value.as<json::Object>();
  if (object == nullptr)
    return Failure{ArgumentError{std::string(arguments.front().name), "expected a JSON object"}};
  return callEndpoint<Endpoint, json::Value>(*object, std::move(done));
}

template <ZVAPI::Case Endpoint>
Operation operationOf() {
  static const std::string help = "POST " + ZVAPI(Endpoint).path();
  return {zavelo::detail::entityName<Endpoint>(),
          help,
          {{"parameters", argumentType<std::optional<json::Value>>()}},
          true,
          false,
          &callAnyhow<Endpoint>};
}

}  // namespace

Group callGroup() {
  return {"call", "Any endpoint of the backend by its name, parameters and answer as they travel",
          []<std::size_t... I>(std::index_sequence<I...>){
              return std::vector{operationOf<static_cast<ZVAPI::Case>(I)>()...};
}
(std::make_index_sequence<ZVAPI::count>{})
};  // namespace zavelo::command
}

}  // namespace zavelo::command
