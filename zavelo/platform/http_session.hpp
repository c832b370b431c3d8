#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "zavelo/base/coded_enum.hpp"
#include "zavelo/base/export.hpp"
#include "zavelo/base/unique_function.hpp"

namespace zavelo {

/// HTTP methods (RFC 9110 section 9, RFC 5789).
enum class ZVHTTPMethod : std::int64_t {
  options,
  get,
  head,
  post,
  put,
  patch,
  del,
  trace,
  connect
};

/// The method as it stands in a request line: "POST".
[[nodiscard]] ZAVELO_EXPORT std::string_view methodName(ZVHTTPMethod method) noexcept;

struct HttpHeader {
  std::string name = {};
  std::string value = {};
  bool operator==(const HttpHeader&) const = default;
};

/// ASCII letters match in either case (RFC 9110 section 5.1), whatever the process locale.
[[nodiscard]] ZAVELO_EXPORT bool sameHeaderName(std::string_view a, std::string_view b) noexcept;

/// The bytes of a part, fixed. Copies share them: a file is in memory once, however many requests
/// refer to it.
class HttpBytes {
 public:
  HttpBytes() = default;
  HttpBytes(std::string text) { share(std::move(text)); }
  HttpBytes(const char* text) { share(std::string(text)); }
  HttpBytes(std::vector<std::byte> bytes) { share(std::move(bytes)); }

  [[nodiscard]] std::string_view view() const noexcept { return view_; }
  [[nodiscard]] const char* data() const noexcept { return view_.data(); }
  [[nodiscard]] std::size_t size() const noexcept { return view_.size(); }
  [[nodiscard]] bool empty() const noexcept { return view_.empty(); }
  operator std::string_view() const noexcept { return view_; }
  [[nodiscard]] std::string text() const { return std::string(view_); }
  operator std::string() const { return text(); }
  bool operator==(const HttpBytes& other) const noexcept { return view_ == other.view_; }

 private:
  template <class Bytes>
  void share(Bytes bytes) {
    const auto owner = std::make_shared<const Bytes>(std::move(bytes));
    view_ = {reinterpret_cast<const char*>(owner->data()), owner->size()};
    owner_ = owner;
  }

  std::shared_ptr<const void> owner_;
  std::string_view view_;
};

/// One part of a multipart form (RFC 7578). A part without a file name is an ordinary field.
struct HttpFormPart {
  std::string name = {};
  HttpBytes data = {};
  std::string fileName = {};
  std::string mimeType = {};
};

/// How much of a request's body was handed to the system, and its whole length, both in bytes.
struct HttpUpload {
  std::uint64_t sent = 0;
  std::uint64_t total = 0;
  bool operator==(const HttpUpload&) const = default;
};

struct HttpRequest {
  ZVHTTPMethod method = ZVHTTPMethod::get;
  std::string url = {};
  std::vector<HttpHeader> headers = {};
  /// Nothing, the bytes of the body, or a form that the session encodes as multipart/form-data.
  std::variant<std::monostate, std::string, std::vector<HttpFormPart>> body = {};
  /// A longer reply, measured after decompression, fails with `tooLarge`.
  std::size_t replyLimit = std::size_t{32} * 1024 * 1024;
  /// From `send` to the answer, the wait for a connection included; then the request fails with
  /// `timedOut`. Absent: as long as bytes move.
  std::optional<std::chrono::milliseconds> deadline = {};
  /// Called as the body leaves, a few times a second, on the session's thread. `sent` grows from
  /// call to call; the last one, before the reply, has sent == total if everything was sent.
  /// Never called for a request without a body. What it throws is ignored.
  std::function<void(const HttpUpload&)> onUpload = {};
  /// The reply shall have `times`, from a session that can measure them.
  bool isMeasured = false;
};

struct HttpFailure {
  enum class Kind {
    unreachable,
    timedOut,
    untrusted,
    broken,
    tooLarge,
    invalidRequest,
    cancelled,
    noResources,  ///< this machine has no thread, descriptor or memory left for the request
  };
  Kind kind = Kind::broken;
  std::string description = {};  ///< for a person: what went wrong, and with which host
};

/// How long the parts of a request took, and what it moved. Of one that was redirected, the last
/// part's.
struct HttpTimes {
  std::chrono::microseconds queued{};      ///< before anything was sent: no connection was free
  std::chrono::microseconds connecting{};  ///< name, TCP and TLS; 0 on a connection that was open
  std::chrono::microseconds waiting{};     ///< from the connection to the reply's first byte
  std::chrono::microseconds receiving{};   ///< from there to the last one
  std::uint64_t sentBytes = 0;             ///< of the body
  std::uint64_t receivedBytes = 0;         ///< of the body as it travelled, compressed perhaps

  bool operator==(const HttpTimes&) const = default;
};

/// What came of a request. A status of 404 is a successful transport; a failure may stand beside a
/// status when the connection broke inside the body.
struct HttpReply {
  std::optional<int> status = {};  ///< absent: no HTTP response arrived
  std::vector<HttpHeader> headers = {};
  std::string body = {};
  std::optional<HttpFailure> failure = {};
  /// Absent: not asked for, or the session does not measure.
  std::optional<HttpTimes> times = {};
};

/// A request under way.
class HttpTask {
 public:
  virtual ~HttpTask() = default;
  /// Ends the request soon with `cancelled`, unless its reply is on its way already. Any thread.
  virtual void cancel() = 0;
};

/// Answers a request, exactly once, on a thread of the session's own; on the thread that sends if
/// the session has none (any more). A session that loses the request for good may destroy the
/// handler uncalled: the caller then reports an unknown failure.
using HttpReplyHandler = UniqueFunction<void(HttpReply)>;

/// Sends requests. What an app must supply to bring its own HTTP client.
class HttpSession {
 public:
  virtual ~HttpSession() = default;
  /// Starts the request and returns at once; may be called from any thread. A request that cannot
  /// be sent is answered through the handler as well.
  virtual std::shared_ptr<HttpTask> send(HttpRequest request, HttpReplyHandler done) = 0;
};

}  // namespace zavelo
