#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/http/message.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {

/// What the envelope's `code` says, as far as the sandbox says it by itself; a fault can say any.
enum class Code : std::int64_t {
  error = 0,  ///< what has no code of its own; the message says it
  ok = 1,
  unauthorized = 401,  ///< with HTTP 401: no access token, or one that no longer holds
  banned = 603,
  userNotFound = 652,  ///< also for a wrong password
  modelInvalid = 750,  ///< a parameter; the message names it
  invalidRefreshToken = 1018,
  streamEnd = 1059,
  alreadyLikeStream = 1068,
  noPermission = 1098,
  loggedInOtherDevice = 1341,
};

/// Why a call failed.
struct Problem {
  Code code;
  std::string message;
};

/// `{"code":1,"data":…,"message":"","codeDetails":[]}` around anything that JSON can say.
template <class T>
[[nodiscard]] Response succeed(const T& data);

/// The same with a null `data`. Several problems are listed in `codeDetails` as well, and the first
/// one in `code` and `message`.
[[nodiscard]] Response fail(const Problem& problem);
[[nodiscard]] Response fail(const std::vector<Problem>& problems);
/// An outcome that HTTP tells: its status is the code too.
[[nodiscard]] Response failWithStatus(int status, std::string_view message);

/// A response of that JSON text.
[[nodiscard]] Response jsonResponse(std::string body, int status = 200);

/// The envelope around JSON text; a failure to write it becomes HTTP 500.
[[nodiscard]] Response succeedWith(const Result<std::string, json::Error>& data);

template <class T>
Response succeed(const T& data) {
  return succeedWith(json::encode(data));
}

}  // namespace zavelo::sandbox
