#include "sandbox/control/control_endpoints.hpp"

#include <utility>

#include "sandbox/channels/channels.hpp"
#include "sandbox/control/actions.hpp"
#include "zavelo/testing/fault_script.hpp"

namespace zavelo::sandbox {
namespace {

Response health(ControlRoom& room, const Call&) {
  const auto url = room.channels.url();
  return jsonResponse(R"({"status":"ok","version":")" ZAVELO_VERSION R"(","rtmUrl":)" +
                      (url ? '"' + *url + '"' : "null") + "}");
}

Response listFaults(ControlRoom& room, const Call&) {
  json::Array pending;
  for (const auto& fault : room.faults.pending()) pending.emplace_back(testing::scriptOf(fault));
  return succeed(json::Value(json::Object{{"pending", std::move(pending)}}));
}

Response addFaults(ControlRoom& room, const Call& call) {
  const auto faults = testing::readFaults(call.arguments.object());
  if (!faults) return fail({Code::modelInvalid, faults.error()});
  if (const auto problem = room.faults.add(*faults)) return fail({Code::modelInvalid, *problem});
  return listFaults(room, call);
}

Response clearFaults(ControlRoom& room, const Call& call) {
  room.faults.clear();
  return listFaults(room, call);
}

}  // namespace

std::vector<Endpoint> controlEndpoints(ControlRoom& room) {
  const auto at = handlersIn(room);
  return {
      get("/sandbox/health", at(health)),
      get("/sandbox/faults", at(listFaults)),
      post("/sandbox/faults", Access::open, at(addFaults), {anything()}),
      {"DELETE", "/sandbox/faults", Access::open, at(clearFaults), {}},
      actionEndpoint(room),
  };
}

}  // namespace zavelo::sandbox
