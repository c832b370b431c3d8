#pragma once

#include <array>
#include <tuple>
#include <utility>

#include "tools/zavelo/operations/operation.hpp"
#include "zavelo/api/api.hpp"
#include "zavelo/api/api_service.hpp"

namespace zavelo::command {

/// Calls an endpoint of the backend that no service wraps.
template <ZVAPI::Case Endpoint, class Answer>
[[nodiscard]] ZVCall callEndpoint(json::Object parameters, JsonCompletion done) {
  const ZVAPI endpoint(Endpoint);
  auto& service = *ZVAPIService::sharedInstance();
  return service.request<Answer>(endpoint.url(), endpoint.method(), std::move(parameters),
                                 ZVParameterEncoding::json, 0, {}, false, service.serviceLogLevel(),
                                 detail::answering<Answer>(std::move(done)));
}

/// The operation that such an endpoint is, with the types of its parameters:
///
///     endpointOperation<ZVAPI::sendGift, ZVSentGift, std::string, std::int64_t>(
///         "sendGift", "Give a gift", "slug", "giftId")
template <ZVAPI::Case Endpoint, class Answer, class... Values,
          std::convertible_to<std::string_view>... Names>
[[nodiscard]] Operation endpointOperation(std::string_view name, std::string_view help,
                                          Names... names) {
  static_assert(sizeof...(Names) == sizeof...(Values), "an operation's arguments are named all");
  const auto invoke = [](const std::vector<Argument>& arguments, const json::Object& given,
                         JsonCompletion done) -> Result<ZVCall, ArgumentError> {
    std::tuple<Values...> values;
    const auto fill = [&](auto&... value) {
      const std::array<void*, sizeof...(value)> places{&value...};
      return readArguments(arguments, given, places);
    };
    if (auto error = std::apply(fill, values)) return Failure{std::move(*error)};
    return callEndpoint<Endpoint, Answer>(given, std::move(done));
  };
  return {.name = name,
          .help = help,
          .arguments = {{names, argumentType<Values>()}...},
          .hasResult = true,
          .isPaged = false,
          .invoke = invoke};
}

}  // namespace zavelo::command
