#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zavelo::sandbox {

using Headers = std::vector<std::pair<std::string, std::string>>;

/// One part of a multipart/form-data body (RFC 7578).
struct FormPart {
  std::string name;
  std::string fileName;     ///< empty for a plain field
  std::string contentType;  ///< empty when the part does not say
  std::string content;
};

/// What a client sent, read whole.
struct Request {
  std::string method;
  std::string path;     ///< percent-decoded
  std::string query{};  ///< what follows "?", as it was sent
  Headers headers{};
  bool isForm = false;           ///< the body was declared as multipart/form-data
  std::string body{};            ///< empty when it was a form
  std::vector<FormPart> form{};  ///< in the order in which the parts were sent

  /// The first header of that name, in any case; empty when there is none.
  [[nodiscard]] std::string_view header(std::string_view name) const noexcept;
};

/// The access token that came with it (RFC 6750 section 2.1); empty when there is none.
[[nodiscard]] std::string_view bearerToken(const Request& request) noexcept;

/// How much of a response reaches the client.
enum class Delivery {
  whole,
  cutMidBody,  ///< the connection closes after half of the announced body
  none,        ///< the connection closes without a byte
};

/// Sends one more piece of a body. False when the client is gone; an empty piece only asks that.
using SendPiece = std::function<bool(std::string_view piece)>;

struct Response {
  int status = 200;
  std::string contentType{};
  std::string body{};
  Headers headers{};
  Delivery delivery = Delivery::whole;
  /// Writes the body piece by piece, in place of `body`, for as long as it likes. The status
  /// is 200, and the connection ends with it.
  std::function<void(const SendPiece&)> stream{};
};

/// What answers the requests of the HTTP server. Called on many threads at once.
class Service {
 public:
  virtual ~Service() = default;
  [[nodiscard]] virtual Response answer(const Request& request) = 0;
  /// The response to what never became a request, or whose answer failed.
  [[nodiscard]] virtual Response reject(int status, std::string_view reason) = 0;
};

/// ASCII letters only, as in header names and host names.
[[nodiscard]] bool equalIgnoringCase(std::string_view a, std::string_view b) noexcept;

}  // namespace zavelo::sandbox
