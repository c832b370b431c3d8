#include "sandbox/dashboard/call_recorder.hpp"

#include <chrono>
#include <exception>
#include <utility>

#include "sandbox/dashboard/call_record.hpp"

namespace zavelo::sandbox {
namespace {

using Clock = std::chrono::steady_clock;

bool isCall(std::string_view path) {
  return path != "/" && path != "/favicon.ico" && !path.starts_with("/sandbox/") &&
         !path.starts_with("/dashboard/");
}

}  // namespace

Response CallRecorder::answer(const Request& request) {
  if (!isCall(request.path)) {
    Response response = context_.inner.answer(request);
    if (request.method != "GET") context_.changed();
    return response;
  }
  // Asked before: the call may end the session by which the caller is known.
  CallRecord record(
      {context_.log.nextNumber(), context_.now(), context_.callerOf(request), request});
  context_.log.put(record.logged());
  const auto begin = Clock::now();
  Response response = answerOrReject(request);
  record.end(response, std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin));
  context_.log.put(record.logged());
  context_.changed();
  return response;
}

/// Whatever is thrown: the call must not stay pending.
Response CallRecorder::answerOrReject(const Request& request) {
  try {
    return context_.inner.answer(request);
  } catch (const std::exception& error) {
    return context_.inner.reject(500, error.what());
  } catch (...) {
    return context_.inner.reject(500, "Unknown failure");
  }
}

Response CallRecorder::reject(int status, std::string_view reason) {
  const Request nothing;
  Response response = context_.inner.reject(status, reason);
  CallRecord record({context_.log.nextNumber(), context_.now(), {}, nothing});
  record.end(response, {});
  context_.log.put(record.logged());
  return response;
}

}  // namespace zavelo::sandbox
