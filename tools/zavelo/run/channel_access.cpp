#include "tools/zavelo/run/channel_access.hpp"

#include <utility>

#include "tools/zavelo/run/rtm_engine.hpp"
#include "zavelo/json/json.hpp"
#include "zavelo/messaging/messaging_engine.hpp"
#include "zavelo/platform/platform.hpp"
#include "zavelo/services/user_service.hpp"

namespace zavelo::command {
namespace {

/// Messaging knows users by a positive identifier.
bool isSignedIn() {
  const auto user = ZVUserService::shared()->currentUser();
  if (!user) return false;
  const auto& profile = user->userInfo;
  const auto id = profile && profile->userId ? profile->userId : user->guestId;
  return id.value_or(0) >= 1;
}

}  // namespace

Result<ChannelAccess, ExitStatus> openChannel(const std::string& channel,
                                              const GlobalOptions& options, const Output& output,
                                              const std::string& help) {
  if (channel.empty() || !json::encode(channel))
    return Failure{output.usageError({"--channel: expected a name in UTF-8", help})};
  auto engine = rtmEngine(options.rtm);
  if (!engine) return Failure{output.usageError({"--rtm: " + engine.error(), help})};
  auto library = Library::start(options, output);
  if (const auto failure = library.store->failure())
    return Failure{output.error("store", *failure)};
  if (!isSignedIn())
    return Failure{output.error(
        "session",
        "no user is signed in: try \"zavelo user login-guest\" or \"zavelo user login\"")};
  installMessagingEngine(std::move(engine).value());
  auto visit = ChannelVisit::create(
      {ZVRTMService::shared(), platform::notifications(), library.queue}, channel);
  return ChannelAccess{std::move(library), std::move(visit)};
}

}  // namespace zavelo::command
