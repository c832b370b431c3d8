#include "sandbox/dashboard/call_recorder.hpp"

#include <chrono>
#include <exception>
#include <utility>

#include "sandbox/dashboard/call_record.hpp"

namespace zavelo::sandbox {
namespace {

bool isCall(std::string_view path) {
  return path != "/" && path != "/favicon.ico" && !path.starts_with("/sandbox/") &&
         !path.starts_with("/dashboard/");
}

}  // namespace

Response CallRecorder::answer(const Request& request) {
  if (!isCall(request.path)) {
    Response response = room_.inner.answer(request);
    if (request.method != "GET") room_.changed();
    return response;
  }
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  const auto at = room_.now();
  // Asked before: the call may end the session by which the caller is known.
  auto caller = room_.callerOf(request);
  Response response = answerOrReject(request);
  const auto took = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
  record({room_.log.nextNumber(), at, took, std::move(caller), request, response});
  room_.changed();
  return response;
}

Response CallRecorder::answerOrReject(const Request& request) {
  try {
    return room_.inner.answer(request);
  } catch (const std::exception& error) {
    return room_.inner.reject(500, error.what());
  }
}

Response CallRecorder::reject(int status, std::string_view reason) {
  const Request nothing;
  Response response = room_.inner.reject(status, reason);
  record({room_.log.nextNumber(), room_.now(), {}, {}, nothing, response});
  return response;
}

void CallRecorder::record(const Exchange& exchange) {
  auto call = recordOf(exchange);
  auto summary = call.summary;
  room_.log.add(std::move(call));
  room_.feed.publish("call", std::move(summary));
}

}  // namespace zavelo::sandbox
