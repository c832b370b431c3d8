#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/platform/http_session.hpp"

struct curl_slist;
struct curl_mime;

namespace zavelo::detail {

/// Why a request cannot be sent as it is; empty when it can.
[[nodiscard]] std::optional<std::string> requestProblem(const HttpRequest& request);

/// Why a redirect is not followed: from https to http nothing goes, and a body goes to no other
/// origin, as it may hold a password. Empty when it may be followed.
[[nodiscard]] std::optional<std::string> redirectProblem(const HttpRequest& request, int status,
                                                         const std::string& url);

/// Changes the request into the one that a redirect asks for, as browsers do (Fetch, section "HTTP-
/// redirect fetch"): 303, and 301 or 302 after a POST, fetch by GET; `Authorization` and `Cookie`
/// stay with their origin.
void redirect(HttpRequest& request, int status, std::string url);

/// The method, headers and body of a request on a curl handle. Must outlive the transfer, as must
/// the request, whose bytes are not copied.
class CurlRequest {
 public:
  CurlRequest() = default;
  ~CurlRequest();
  CurlRequest(const CurlRequest&) = delete;
  CurlRequest& operator=(const CurlRequest&) = delete;

  /// False when memory is short.
  bool apply(void* easy, const HttpRequest& request);
  void release();

 private:
  struct Reader {
    std::string_view data;
    std::size_t position = 0;
  };

  void applyMethod(void* easy, const HttpRequest& request);
  bool applyHeaders(void* easy, const HttpRequest& request);
  bool addHeader(const std::string& line);
  bool applyForm(void* easy, const std::vector<HttpFormPart>& parts);
  static std::size_t read(char* buffer, std::size_t size, std::size_t count, void* reader);
  static int seek(void* reader, std::int64_t offset, int origin);

  curl_slist* headers_ = nullptr;
  curl_mime* mime_ = nullptr;
  std::vector<Reader> readers_;
};

}  // namespace zavelo::detail
