#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "zavelo/platform/curl_attempts_internal.hpp"
#include "zavelo/platform/curl_failure_internal.hpp"
#include "zavelo/platform/curl_http_session.hpp"
#include "zavelo/platform/curl_reply_internal.hpp"
#include "zavelo/platform/curl_request_internal.hpp"
#include "zavelo/platform/http_session.hpp"

namespace zavelo::detail {

struct CurlOrigin;

/// One request on its way: waiting, then on a curl handle, then answered. Apart from `cancel` it is
/// touched by the loop's thread alone once it was handed to the loop.
class CurlCall final : public HttpTask, public std::enable_shared_from_this<CurlCall> {
 public:
  using Time = std::chrono::steady_clock::time_point;

  CurlCall(std::weak_ptr<CurlLoop> loop, HttpRequest request, HttpReplyHandler done);

  void cancel() override;

  /// "https://host:port" as the request spells it, for queueing.
  [[nodiscard]] std::string_view origin() const noexcept;

  /// Sets the handle up for the request. False when it cannot be sent: the call has ended.
  bool prepare(void* handle, const CurlHttpOptions& options);
  /// The transfer ended with this CURLcode. True when a redirect has to be followed: the call wants
  /// to be prepared again.
  bool ended(int code);
  /// The call ended for want of something, or at its deadline.
  void endedWithout(CurlResource missing) noexcept;
  void endedAtDeadline();
  /// Hands over what came of the call.
  void answerEnded() noexcept;
  void answerCancelled() noexcept;
  void answerFailed(HttpFailure failure) noexcept;
  [[nodiscard]] bool answered() const noexcept { return !done_; }

  /// When the call is to be answered at the latest.
  [[nodiscard]] std::optional<Time> deadline() const noexcept { return deadline_; }
  /// Reports how much of the body has left, unless that was reported already or just now.
  [[nodiscard]] bool reportsUpload() const noexcept { return request_.onUpload != nullptr; }
  void reportUpload(Time now) noexcept;

  /// Whether nothing has moved for so long. To be asked now and then, with the time of asking.
  bool idle(Time now, std::chrono::milliseconds limit);

  /// Where the transfers keep the call: its origin's queue, its curl handle and its place while it
  /// is active.
  CurlOrigin* queue = nullptr;
  void* easy = nullptr;
  std::size_t slot = 0;

 private:
  void setOptions(const CurlHttpOptions& options);
  void setCallbacks();
  bool wantsRedirect();
  [[nodiscard]] HttpTimes measured() const;
  void answer(HttpReply reply) noexcept;

  const std::weak_ptr<CurlLoop> loop_;
  const Time start_ = std::chrono::steady_clock::now();
  HttpRequest request_;
  HttpReplyHandler done_;
  std::optional<Time> deadline_;

  CurlRequest setup_;
  CurlReply gathered_;
  HttpReply reply_;
  CurlAttempts attempts_;
  int redirects_ = 0;
  int socketError_ = 0;       ///< errno of a socket that was not to be had
  bool outOfMemory_ = false;  ///< in one of our callbacks
  std::array<char, 256> errorText_{};

  /// Signs of life: connecting, connected, a line, some bytes. None while curl queues the call.
  std::uint64_t steps_ = 0;
  std::uint64_t stepsSeen_ = 0;
  std::int64_t uploadSeen_ = 0;
  Time lastSign_;

  HttpUpload uploadReported_;
  Time lastUploadReport_;

  friend struct CurlCallbacks;
};

}  // namespace zavelo::detail
