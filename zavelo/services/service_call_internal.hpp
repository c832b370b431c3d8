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
ZVAPICall<T> call(ZVAPIService& service, ZVAPI endpoint, std::optional<json::Object> parameters,
                  ZVCompletion<T> completion) {
  return service.request<T>({.endpoint = endpoint, .parameters = std::move(parameters)},
                            std::move(completion));
}

/// The same as a multipart form with files.
template <class T>
ZVAPICall<T> upload(ZVAPIService& service, ZVAPI endpoint, json::Object parameters,
                    std::vector<ZVMultiPartData> files, ZVCompletion<T> completion) {
  return service.request<T>(
      {.endpoint = endpoint, .parameters = std::move(parameters), .files = std::move(files)},
      std::move(completion));
}

/// Like `call`, with something to do before the caller is answered. `first` takes the result and
/// says whether the caller is to be answered at all.
template <class T, class First>
ZVAPICall<T> callThen(ZVAPIService& service, ZVAPI endpoint, std::optional<json::Object> parameters,
                      ZVCompletion<T> completion, First first) {
  return beginCall(service.mainQueue(), std::move(completion), [&](ZVCompletion<T> answer) {
    return call<T>(
        service, endpoint, std::move(parameters),
        [first = std::move(first), answer = std::move(answer)](ZVAPIResult<T> result) mutable {
          if (first(result) && answer) answer(std::move(result));
        });
  });
}

}  // namespace zavelo::detail
