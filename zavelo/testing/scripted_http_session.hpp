#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "zavelo/platform/http_session.hpp"

namespace zavelo::testing {

/// An HTTP session that answers from a script and remembers what it was sent. Replies are handed
/// out in order, at once, on the sending thread; a request without a reply waits until one is
/// added, is cancelled, or is dropped. Destroying the session ends those that wait with
/// `cancelled`.
///
///     auto session = std::make_shared<ScriptedHttpSession>();
///     session->reply(200, R"({"code":1,"data":true})");
///     ... the code under test ...
///     EXPECT_EQ(session->requests().at(0).url, "https://example.test/api/users/logout");
class ZAVELO_EXPORT ScriptedHttpSession final : public HttpSession {
 public:
  ScriptedHttpSession();
  ~ScriptedHttpSession() override;

  std::shared_ptr<HttpTask> send(HttpRequest request, HttpReplyHandler done) override;

  void reply(int status, std::string body);
  void fail(HttpFailure failure);
  /// The next request's handler is destroyed uncalled, as by a client that lost the request.
  void lose();

  [[nodiscard]] std::vector<HttpRequest> requests() const;
  /// Requests that still wait for a reply.
  [[nodiscard]] std::size_t waiting() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace zavelo::testing
