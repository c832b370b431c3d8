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
    Response response = room_.inner.answer(request);
    if (request.method != "GET") room_.changed();
    return response;
  }
  // Asked before: the call may end the session by which the caller is known.
  CallRecord record({room_.log.nextNumber(), room_.now(), room_.callerOf(request), request});
  room_.log.put(record.logged());
  const auto begin = Clock::now();
  Response response = answerOrReject(request);
  record.end(response, std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin));
  room_.log.put(record.logged());
  room_.changed();
  return response;
}

/// Whatever is thrown: the call must not stay pending.
Response CallRecorder::answerOrReject(const Request& request) {
  try {
    return room_.inner.answer(request);
  } catch (const std::exception& error) {
    return room_.inner.reject(500, error.what());
  } catch (...) {
    return room_.inner.reject(500, "Unknown failure");
  }
}

Response CallRecorder::reject(int status, std::string_view reason) {
  const Request nothing;
  Response response = room_.inner.reject(status, reason);
  CallRecord record({room_.log.nextNumber(), room_.now(), {}, nothing});
  record.end(response, {});
  room_.log.put(record.logged());
  return response;
}

}  // namespace zavelo::sandbox
