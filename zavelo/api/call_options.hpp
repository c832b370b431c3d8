#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "zavelo/platform/http_session.hpp"

namespace zavelo {

/// What one call of the API service does other than the rest.
///
///     ZVCallOptions options;
///     options.deadline = std::chrono::seconds(10);
///     options.onProgress = [](const HttpUpload& upload) { bar->set(upload.sent, upload.total); };
struct ZVCallOptions {
  /// From the call to its answer, the wait for a connection and a renewal of the session included;
  /// then the call ends with an error that says so. The renewal itself goes on. Absent: as long as
  /// bytes move.
  std::optional<std::chrono::milliseconds> deadline = {};
  /// Called as the request's body leaves, on the main queue and before the completion: a few times
  /// a second, and once with sent == total when everything was sent. A call that is sent again
  /// after a renewal begins anew. Never called for a request without a body.
  std::function<void(const HttpUpload&)> onProgress = {};
  /// Sent beside the library's own headers and in place of those of the same name. `Authorization`
  /// and `Content-Type` are left out: they belong to the session and to the encoding.
  std::vector<HttpHeader> headers = {};
  /// A longer reply, measured after decompression, is an error. Absent: the HTTP session's limit.
  std::optional<std::size_t> replyLimit = {};
};

}  // namespace zavelo
