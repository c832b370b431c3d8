#include <array>
#include <optional>
#include <utility>

#include "tools/zavelo/catalogue.hpp"
#include "zavelo/api/api.hpp"
#include "zavelo/api/api_service.hpp"

namespace zavelo::command {
namespace {

template <ZVAPI::Case Endpoint>
Result<ZVCall, ArgumentError> callEndpoint(const std::vector<Argument>& arguments,
                                           const json::Object& given, JsonCompletion done) {
  std::optional<json::Value> parameters;
  const std::array<void*, 1> places{&parameters};
  if (auto error = readArguments(arguments, given, places)) return Failure{std::move(*error)};
  const json::Value value = parameters.value_or(json::Object{});
  const auto* object = value.as<json::Object>();
  if (object == nullptr)
    return Failure{ArgumentError{std::string(arguments.front().name), "expected a JSON object"}};
  const ZVAPI endpoint(Endpoint);
  auto& service = *ZVAPIService::sharedInstance();
  return service.request<json::Value>(
      endpoint.url(), endpoint.method(), *object, ZVParameterEncoding::json, 0, {}, false,
      service.serviceLogLevel(), detail::answering<json::Value>(std::move(done)));
}

template <ZVAPI::Case Endpoint>
Operation endpointOperation() {
  static const std::string help = "POST " + ZVAPI(Endpoint).path();
  return {zavelo::detail::entityName<Endpoint>(),
          help,
          {{"parameters", argumentType<std::optional<json::Value>>()}},
          true,
          false,
          &callEndpoint<Endpoint>};
}

}  // namespace

Group callGroup() {
  return {"call", "Any endpoint of the backend by its name, parameters and answer as they travel",
          []<std::size_t... I>(std::index_sequence<I...>){
              return std::vector{endpointOperation<static_cast<ZVAPI::Case>(I)>()...};
}
(std::make_index_sequence<ZVAPI::count>{})
};  // namespace zavelo::command
}

}  // namespace zavelo::command
