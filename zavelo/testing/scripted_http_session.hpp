#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "zavelo/platform/http_session.hpp"
#include "zavelo/testing/fault_plan.hpp"

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
  /// The same with headers, times and whatever else a reply has.
  void reply(HttpReply reply);
  void fail(HttpFailure failure);
  /// The next request's handler is destroyed uncalled, as by a client that lost the request.
  void lose();

  /// Faults for the requests to come, by the paths of their addresses. A fault that answers in the
  /// backend's stead leaves the script's next reply for the next request.
  ///
  ///     session->faults().add(readFaultFile("bad_evening.json").value());
  [[nodiscard]] FaultPlan& faults();
  /// Moves time on for the replies that a fault delays: those that are due arrive, in their order.
  void advance(std::chrono::milliseconds by);

  [[nodiscard]] std::vector<HttpRequest> requests() const;
  /// Requests that still wait for a reply, a delayed one too.
  [[nodiscard]] std::size_t waiting() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace zavelo::testing
