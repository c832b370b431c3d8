#pragma once

#include <utility>

#include "zavelo/api/api_error.hpp"
#include "zavelo/base/call_completion.hpp"
#include "zavelo/base/misuse.hpp"
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
  /// Of an error: writes the error's text to standard error and aborts, in every build. Ask `isOk`
  /// first.
  [[nodiscard]] const T& data() const& { return expectOk(), state_.value(); }
  [[nodiscard]] T&& data() && { return expectOk(), std::move(state_).value(); }
  /// Of a success: aborts in the same way.
  [[nodiscard]] const ZVAPIError& error() const& { return state_.error(); }

 private:
  using State = Result<T, ZVAPIError>;
  explicit ZVAPIResult(State state) : state_(std::move(state)) {}

  void expectOk() const {
    if (!isOk()) detail::abortMisuse("data() of a failed call: " + error().description);
  }

  State state_;
};

/// Called exactly once, on the main queue. Move-only: it may own what it captures.
template <class T>
using ZVCompletion = CallCompletion<ZVAPIResult<T>>;

/// A call of the backend: to be cancelled, and with `awaitable` for a completion to be awaited.
template <class T>
using ZVAPICall = AwaitableCall<ZVAPIResult<T>>;

template <class T>
struct detail::CancelledResult<ZVAPIResult<T>> {
  static ZVAPIResult<T> make() {
    return ZVAPIResult<T>::error({ZVAPIErrorType::unknown, errorText::cancelled});
  }
};

}  // namespace zavelo
