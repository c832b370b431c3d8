#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "zavelo/base/call_completion.hpp"
#include "zavelo/base/result.hpp"
#include "zavelo/core/error.hpp"
#include "zavelo/core/log.hpp"
#include "zavelo/messaging/rtm_client.hpp"
#include "zavelo/platform/queue.hpp"

namespace zavelo::detail {

inline void reportRtm(const ZVError& error, const ZVRTMClient::Fail& fail,
                      const ZVLogPosition& where) {
  ZVLog::e(error.description(), where);
  if (fail) fail(error);
}

/// How an operation is told of, in the log and in its error.
struct RtmTelling {
  std::string done;
  const char* failed;
  std::optional<std::string> detail;
  const char* function;
  /// A code that means that it was done before, and what the log says then.
  std::optional<std::int64_t> alreadyCode = {};
  std::string already = {};
};

/// Says in the log how it went, and calls the one or the other. A client that is gone hears
/// nothing.
inline AgoraRtmCompletion rtmCompletion(std::weak_ptr<ZVRTMClient> client, RtmTelling telling,
                                        ZVRTMClient::Success success, ZVRTMClient::Fail fail) {
  return [=, client = std::move(client)](std::int64_t code) {
    if (client.expired()) return;
    const ZVLogPosition where(telling.function);
    const bool isAlready = code == telling.alreadyCode;
    if (code != rtmCode::success && !isAlready)
      return reportRtm(ZVError::rtm(telling.failed, code, telling.detail), fail, where);
    ZVLog::i(isAlready ? telling.already : telling.done, where);
    if (success) success();
  };
}

/// A completion that is answered once on a queue: by the engine, by a cancellation, or when the
/// engine has let go of it without an answer.
template <class T>
class RtmCall final : public Cancellable {
 public:
  using Answer = Result<T, ZVError>;

  RtmCall(std::shared_ptr<Queue> queue, CallCompletion<Answer> completion)
      : queue_(std::move(queue)), completion_(std::move(completion)) {}
  ~RtmCall() override { answer(Failure{ZVError::rtm("Messaging has ended")}); }

  void answer(Answer answer) {
    CallCompletion<Answer> completion;
    {
      const std::lock_guard lock(mutex_);
      std::swap(completion, completion_);
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
  CallCompletion<Answer> completion_;
};

}  // namespace zavelo::detail
