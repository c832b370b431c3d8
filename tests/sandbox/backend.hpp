#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sandbox/sandbox.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/testing/manual_clock.hpp"

namespace zavelo::sandbox {

/// What came back. Status 0: the connection ended before a whole response.
struct Answer {
  int status = 0;
  std::string body;
  std::string contentType;
  json::Value envelope;

  [[nodiscard]] std::int64_t code() const;
  [[nodiscard]] std::string message() const;
  /// The value at a dotted path below "data": "userInfo.userId". Null when there is none.
  [[nodiscard]] json::Value data(std::string_view path = {}) const;
  [[nodiscard]] std::string text(std::string_view path) const;
  /// -999 when there is no integer.
  [[nodiscard]] std::int64_t integer(std::string_view path) const;
};

/// A running sandbox and ways to call it.
class Backend {
 public:
  explicit Backend(SandboxOptions options = {});

  [[nodiscard]] std::uint16_t port() const { return sandbox->port(); }
  [[nodiscard]] Answer post(const std::string& path, const json::Object& body = {},
                            const std::string& token = {}) const;
  [[nodiscard]] Answer postText(const std::string& path, const std::string& body,
                                const std::string& contentType = "application/json") const;
  /// A form of plain fields and one file.
  struct File {
    std::string field;
    std::string content;
    std::string type = "image/jpeg";
  };
  [[nodiscard]] Answer upload(const std::string& path,
                              const std::vector<std::pair<std::string, std::string>>& fields,
                              const File& file, const std::string& token) const;
  /// As a form with a file, which is to be a JPEG.
  [[nodiscard]] Answer editProfile(const std::string& token, const std::string& picture,
                                   const std::string& dob = "",
                                   const std::string& about = "") const;
  /// What is served at a whole address of the sandbox's own.
  [[nodiscard]] Answer fetch(const std::string& address) const;
  /// Any method, with headers of the test's choice and no body.
  [[nodiscard]] Answer send(
      const std::string& method, const std::string& path,
      const std::vector<std::pair<std::string, std::string>>& headers = {}) const;

  /// Signs a member in by its zaveloId, which an unknown one joins by.
  [[nodiscard]] Answer join(const std::string& zaveloId, const std::string& device = "d1") const;
  [[nodiscard]] Answer registerMember(const std::string& zaveloId,
                                      const std::string& password) const;
  [[nodiscard]] Answer refresh(const std::string& refreshToken) const;

  std::shared_ptr<testing::ManualClock> clock;
  std::unique_ptr<Sandbox> sandbox;
};

/// A body that the login endpoint takes.
[[nodiscard]] json::Object loginBody(const std::string& zaveloId, const std::string& password,
                                     const std::string& device = "d1");

/// Whether a client ends its side of the connection when it has sent everything.
enum class Ending { closes, waits };
/// Sends the bytes as they are and reads until the server closes.
[[nodiscard]] std::string exchange(std::uint16_t port, std::string_view bytes,
                                   Ending ending = Ending::closes);

/// A valid JPEG of one colour.
[[nodiscard]] std::string jpegFile(std::uint32_t width, std::uint32_t height);

MATCHER_P(HasCode, code, "") {
  *result_listener << "HTTP " << arg.status << " " << arg.body.substr(0, 300);
  return arg.code() == code;
}

}  // namespace zavelo::sandbox
