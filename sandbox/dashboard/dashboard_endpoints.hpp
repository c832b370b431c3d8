#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/dashboard/call_log.hpp"
#include "sandbox/dashboard/chat_log.hpp"
#include "sandbox/dashboard/state_watch.hpp"
#include "sandbox/settings/settings.hpp"
#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

/// What the dashboard looks at. Outlives its endpoints.
struct DashboardContext {
  Database& database;
  CallLog& log;
  const ChatLog& chat;
  const StateWatch& watch;
  const Settings& settings;
  std::function<Time()> now;
  std::function<std::vector<std::string>()> paths;  ///< of all endpoints
};

/// The page itself, at "/" and "/dashboard/*".
[[nodiscard]] std::vector<Endpoint> pageEndpoints();
/// What the page shows: reads under "/sandbox/" beside the event stream.
[[nodiscard]] std::vector<Endpoint> callLogEndpoints(DashboardContext& context);
[[nodiscard]] std::vector<Endpoint> peopleEndpoints(DashboardContext& context);
[[nodiscard]] std::vector<Endpoint> broadcastEndpoints(DashboardContext& context);

/// The names of the member with that id, in digits; empty when there is none.
[[nodiscard]] UserNames namesOf(Database& database, const std::string& userId);
/// Whose access token that is, whether it still holds or not: a userName, or "guest 3". Empty when
/// no user has it.
[[nodiscard]] std::string callerOf(Database& database, const Request& request);

}  // namespace zavelo::sandbox
