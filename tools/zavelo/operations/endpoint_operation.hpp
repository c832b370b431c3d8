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
  return ZVAPIService::sharedInstance()->request<Answer>(
      {.endpoint = Endpoint, .parameters = std::move(parameters)},
      detail::answering<Answer>(std::move(done)));
}

}  // namespace zavelo::command
