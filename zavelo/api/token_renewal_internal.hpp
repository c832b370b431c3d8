#pragma once

#include <memory>
#include <string>
#include <vector>

#include "zavelo/api/api_context_internal.hpp"

namespace zavelo::detail {

/// The call that buys new tokens. It is not renewed itself.
[[nodiscard]] ApiRequest renewalRequest(const std::string& refreshToken);

/// One renewal of a session, on behalf of the calls that met 401. It is never cancelled: with
/// single-use refresh tokens, tokens that are bought and not kept sign the user out. So it keeps
/// itself and the session's owner alive, stores what it got, and only then goes back to the calls.
///
/// Runs on the main queue.
class TokenRenewal : public std::enable_shared_from_this<TokenRenewal> {
 public:
  enum class Outcome {
    renewed,       ///< the session has its new tokens
    refused,       ///< the session could not be renewed, and has been ended
    unanswered,    ///< the backend did not answer; the session goes on
    otherSession,  ///< the session was over before the renewal was
  };
  struct Result {
    Outcome outcome = Outcome::renewed;
    ZVAPIError error;  ///< why there are no new tokens
    bool gotResponse = false;
  };

  /// Renews `session`, or joins the renewal of it that is under way where the policy shares them.
  /// `call` learns the result by `Exchange::onRenewed`.
  static void start(const std::shared_ptr<ApiContext>& context,
                    std::shared_ptr<ZVSessionSource> source, ZVSession session,
                    std::shared_ptr<Exchange> call);

  TokenRenewal(std::shared_ptr<ApiContext> context, std::shared_ptr<ZVSessionSource> source,
               ZVSession session, std::shared_ptr<Exchange> call);

 private:
  using Answer = ZVAPIResult<std::shared_ptr<const ZVRefreshToken>>;

  void send();
  void onAnswer(const Exchange& exchange, const Answer& answer);
  [[nodiscard]] Result settle(const Exchange& exchange, const Answer& answer);
  [[nodiscard]] bool isWanted() const;

  const std::shared_ptr<ApiContext> context_;
  const std::shared_ptr<ZVSessionSource> source_;
  const ZVSession session_;
  std::vector<std::shared_ptr<Exchange>> calls_;
};

}  // namespace zavelo::detail
