#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "zavelo/base/call.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/core/error.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo::detail {

/// A completion that is answered once on a queue: by the engine, by a cancellation, or when the
/// engine has let go of it without an answer.
template <class T>
class RtmCall final : public Cancellable {
 public:
  using Answer = Result<T, ZVError>;

  RtmCall(std::shared_ptr<Queue> queue, std::function<void(Answer)> completion)
      : queue_(std::move(queue)), completion_(std::move(completion)) {}
  ~RtmCall() override { answer(Failure{ZVError::rtm("Messaging has ended")}); }

  void answer(Answer answer) {
    std::function<void(Answer)> completion;
    {
      const std::lock_guard lock(mutex_);
      completion.swap(completion_);
    }
    if (!completion) return;
    queue_->post([completion = std::move(completion), answer = std::move(answer)]() mutable {
      completion(std::move(answer));
    });
  }
  void cancel() override { answer(Failure{ZVError::rtm("cancelled")}); }

 private:
  const std::shared_ptr<Queue> queue_;
  std::mutex mutex_;
  std::function<void(Answer)> completion_;
};

}  // namespace zavelo::detail
