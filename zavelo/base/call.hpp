#pragma once

#include <memory>
#include <utility>

#include "zavelo/base/export.hpp"

namespace zavelo {

namespace detail {
class Cancellable {
 public:
  virtual ~Cancellable() = default;
  virtual void cancel() = 0;
};
}  // namespace detail

/// A call under way. Dropping the handle leaves the call alone.
class ZAVELO_EXPORT ZVCall {
 public:
  ZVCall() = default;
  explicit ZVCall(std::weak_ptr<detail::Cancellable> call) : call_(std::move(call)) {}

  /// Ends the call soon: unless its completion has begun, it gets `error(unknown, "cancelled")`.
  /// Does nothing to a call that has completed. Any thread.
  void cancel() const {
    if (const auto call = call_.lock()) call->cancel();
  }

 private:
  std::weak_ptr<detail::Cancellable> call_;
};

}  // namespace zavelo
