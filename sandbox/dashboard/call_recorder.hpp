#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "sandbox/dashboard/call_log.hpp"
#include "sandbox/http/message.hpp"
#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

/// Passes every call on to another service, and writes down in the log that it arrived and how it
/// ended. The dashboard's own requests are no calls.
class CallRecorder final : public Service {
 public:
  struct Context {
    Service& inner;
    CallLog& log;
    std::function<Time()> now;
    std::function<std::string(const Request&)> callerOf;
    std::function<void()> changed;  ///< called when a call may have changed the state
  };

  explicit CallRecorder(Context context) : context_(std::move(context)) {}

  [[nodiscard]] Response answer(const Request& request) override;
  [[nodiscard]] Response reject(int status, std::string_view reason) override;

 private:
  [[nodiscard]] Response answerOrReject(const Request& request);

  Context context_;
};

}  // namespace zavelo::sandbox
