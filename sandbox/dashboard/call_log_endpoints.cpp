#include <charconv>
#include <string>
#include <string_view>

#include "sandbox/api/envelope.hpp"
#include "sandbox/dashboard/dashboard_endpoints.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::string_view root = "/sandbox/requests/";

Response listCalls(DashboardContext& context, const Call&) {
  const auto [calls, position] = context.log.list();
  return succeedWith(R"({"now":)" + std::to_string(stored(context.now())) + R"(,"position":")" +
                     position + R"(","calls":)" + calls + "}");
}

Response showCall(DashboardContext& context, const Call& call) {
  const auto text = std::string_view(call.request.path).substr(root.size());
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const auto found = error == std::errc() && end == text.data() + text.size()
                         ? context.log.find(number)
                         : std::nullopt;
  if (!found) return failWithStatus(404, "The log does not have this call, or no longer");
  return succeedWith(R"({"summary":)" + found->summary + R"(,"detail":)" + found->detail + "}");
}

Response clearCalls(DashboardContext& context, const Call& call) {
  context.log.clear();
  return listCalls(context, call);
}

Response listPaths(DashboardContext& context, const Call&) {
  json::Array paths;
  for (auto& path : context.paths()) {
    if (path.starts_with("/api/")) paths.emplace_back(std::move(path));
  }
  return succeed(json::Value(json::Object{{"paths", std::move(paths)}}));
}

}  // namespace

std::vector<Endpoint> callLogEndpoints(DashboardContext& context) {
  const auto at = handlersIn(context);
  return {
      get("/sandbox/requests", at(listCalls)),
      get("/sandbox/requests/*", at(showCall)),
      {"DELETE", "/sandbox/requests", Access::open, at(clearCalls), {}},
      get("/sandbox/endpoints", at(listPaths)),
  };
}

}  // namespace zavelo::sandbox
