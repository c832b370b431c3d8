#pragma once

#include <functional>
#include <utility>

#include "zavelo/api/api_error.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo {

/// The one argument of every completion of the REST layer: the data, or the error.
///
///     [](ZVAPIResult<bool> result) {
///       if (!result.isOk()) return show(result.error().description);
///       use(result.data());
///     }
template <class T>
class ZVAPIResult {
 public:
  [[nodiscard]] static ZVAPIResult ok(T data) { return ZVAPIResult(State(std::move(data))); }
  [[nodiscard]] static ZVAPIResult error(ZVAPIError error) {
    return ZVAPIResult(State(Failure{std::move(error)}));
  }

  [[nodiscard]] bool isOk() const noexcept { return state_.hasValue(); }
  [[nodiscard]] const T& data() const& { return state_.value(); }
  [[nodiscard]] T&& data() && { return std::move(state_).value(); }
  [[nodiscard]] const ZVAPIError& error() const& { return state_.error(); }

 private:
  using State = Result<T, ZVAPIError>;
  explicit ZVAPIResult(State state) : state_(std::move(state)) {}

  State state_;
};

/// Called exactly once, on the main queue.
template <class T>
using ZVCompletion = std::function<void(ZVAPIResult<T>)>;

}  // namespace zavelo
