#include <charconv>
#include <string>
#include <string_view>

#include "sandbox/api/envelope.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/sandbox/requests/";

Response listCalls(DashboardRoom& room, const Call&) {
  const auto [calls, position] = room.log.list();
  return succeedWith(R"({"now":)" + std::to_string(stored(room.now())) + R"(,"position":")" +
                     position + R"(","calls":)" + calls + "}");
}

Response showCall(DashboardRoom& room, const Call& call) {
  const auto text = std::string_view(call.request.path).substr(root.size());
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto found = error == std::errc() && end == text.data() + text.size()
                         ? room.log.find(number)
                         : std::nullopt;
  if (!found) return failWithStatus(404, "The log does not have this call, or no longer");
  return succeedWith(R"({"summary":)" + found->summary + R"(,"detail":)" + found->detail + "}");
}

Response clearCalls(DashboardRoom& room, const Call& call) {
  room.log.clear();
  return listCalls(room, call);
}

Response listPaths(DashboardRoom& room, const Call&) {
  json::Array paths;
  for (auto& path : room.paths()) {
    if (path.starts_with("/api/")) paths.emplace_back(std::move(path));
  }
  return succeed(json::Value(json::Object{{"paths", std::move(paths)}}));
}

}  // namespace

std::vector<Endpoint> callLogEndpoints(DashboardRoom& room) {
  const auto at = handlersIn(room);
  return {
      get("/sandbox/requests", at(listCalls)),
      get("/sandbox/requests/*", at(showCall)),
      {"DELETE", "/sandbox/requests", Access::open, at(clearCalls), {}},
      get("/sandbox/endpoints", at(listPaths)),
  };
}

}  // namespace zavelo::sandbox
