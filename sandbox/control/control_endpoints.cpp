#include "sandbox/control/control_endpoints.hpp"

#include <utility>

#include "sandbox/channels/channels.hpp"
#include "sandbox/control/actions.hpp"
#include "zavelo/testing/fault_script.hpp"

namespace zavelo::sandbox {
namespace {

Response health(ControlContext& context, const Call&) {
  const auto url = context.channels.url();
  return jsonResponse(R"({"status":"ok","version":")" ZAVELO_VERSION R"(","rtmUrl":)" +
                      (url ? '"' + *url + '"' : "null") + "}");
}

Response listFaults(ControlContext& context, const Call&) {
  json::Array pending;
  for (const auto& fault : context.faults.pending()) pending.emplace_back(testing::scriptOf(fault));
  return succeed(json::Value(json::Object{{"pending", std::move(pending)}}));
}

Response addFaults(ControlContext& context, const Call& call) {
  const auto faults = testing::readFaults(call.arguments.object());
  if (!faults) return fail({Code::modelInvalid, faults.error()});
  if (const auto problem = context.faults.add(*faults)) return fail({Code::modelInvalid, *problem});
  return listFaults(context, call);
}

Response clearFaults(ControlContext& context, const Call& call) {
  context.faults.clear();
  return listFaults(context, call);
}

}  // namespace

std::vector<Endpoint> controlEndpoints(ControlContext& context) {
  const auto at = handlersIn(context);
  return {
      get("/sandbox/health", at(health)),
      get("/sandbox/faults", at(listFaults)),
      post("/sandbox/faults", Access::open, at(addFaults), {anything()}),
      {"DELETE", "/sandbox/faults", Access::open, at(clearFaults), {}},
      actionEndpoint(context),
  };
}

}  // namespace zavelo::sandbox
