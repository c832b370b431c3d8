#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "zavelo/api/api.hpp"
#include "zavelo/api/api_service.hpp"

namespace zavelo::detail {

/// What all operations of the services have in common: POST to the endpoint, parameters as JSON, no
/// renewal behind it, logged as the app asked for.
template <class T>
ZVCall call(ZVAPIService& service, ZVAPI endpoint, std::optional<json::Object> parameters,
            ZVCompletion<T> completion) {
  return service.request<T>(endpoint.url(), endpoint.method(), std::move(parameters),
                            ZVParameterEncoding::json, 0, {}, false, service.serviceLogLevel(),
                            std::move(completion));
}

/// The same as a multipart form with files.
template <class T>
ZVCall upload(ZVAPIService& service, ZVAPI endpoint, json::Object parameters,
              std::vector<ZVMultiPartData> files, ZVCompletion<T> completion) {
  return service.request<T>(endpoint.url(), endpoint.method(), std::move(parameters),
                            ZVParameterEncoding::json, 0, std::move(files), true,
                            service.serviceLogLevel(), std::move(completion));
}

}  // namespace zavelo::detail
