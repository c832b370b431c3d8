#include "sandbox/control/control_endpoints.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "sandbox/channels/channels.hpp"
#include "sandbox/control/actions.hpp"

namespace zavelo::sandbox {
namespace {

constexpr double mostCalls = 1'000'000;
constexpr double longestDelayMilliseconds = 600'000;

Response health(ControlRoom& room, const Call&) {
  const auto url = room.channels.url();
  return jsonResponse(R"({"status":"ok","version":")" ZAVELO_VERSION R"(","rtmUrl":)" +
                      (url ? '"' + *url + '"' : "null") + "}");
}

Response listFaults(ControlRoom& room, const Call&) {
  json::Array pending;
  for (const auto& rule : room.faults.pending()) {
    json::Object object{
        {"endpoint", rule.endpoint}, {"fault", nameOf(rule.kind)}, {"count", rule.count}};
    if (rule.kind == FaultKind::delay) object.set("milliseconds", rule.delay.count());
    if (rule.kind == FaultKind::code) {
      object.set("code", rule.code);
      object.set("message", rule.message);
    }
    pending.emplace_back(std::move(object));
  }
  return succeed(json::Value(json::Object{{"pending", std::move(pending)}}));
}

/// "milliseconds" belongs to a delay, "code" and "message" to a code; the others take neither.
std::vector<Problem> misplaced(const Arguments& arguments, FaultKind kind) {
  std::vector<Problem> problems;
  const auto expect = [&](std::string_view name, bool isGiven, FaultKind owner) {
    if (isGiven && kind != owner) {
      problems.push_back(
          parameterProblem(name, "belongs to the fault \"" + std::string(nameOf(owner)) + "\""));
    }
    if (!isGiven && kind == owner && name != "message") {
      problems.push_back(parameterProblem(name, "missing"));
    }
  };
  expect("milliseconds", arguments.integer("milliseconds").has_value(), FaultKind::delay);
  expect("code", arguments.integer("code").has_value(), FaultKind::code);
  expect("message", arguments.text("message").has_value(), FaultKind::code);
  return problems;
}

Response addFault(ControlRoom& room, const Call& call) {
  const Arguments& arguments = call.arguments;
  const auto kind = faultKindOf(*arguments.text("fault"));
  if (!kind) {
    return fail(parameterProblem(
        "fault", "expected delay, cut, refuse, unauthorized, code, wrongType or invalidJson"));
  }
  FaultRule rule{.endpoint = *arguments.text("endpoint"),
                 .kind = *kind,
                 .count = arguments.integer("count").value_or(1),
                 .delay = std::chrono::milliseconds(arguments.integer("milliseconds").value_or(0)),
                 .code = arguments.integer("code").value_or(0),
                 .message = arguments.text("message").value_or("")};
  if (rule.endpoint != "*" &&
      (!rule.endpoint.starts_with("/api/") || !room.serves(rule.endpoint))) {
    return fail(parameterProblem("endpoint", R"(expected "*" or the path of an endpoint)"));
  }
  if (const auto problems = misplaced(arguments, *kind); !problems.empty()) return fail(problems);
  room.faults.add(std::move(rule));
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
      post("/sandbox/faults", Access::open, at(addFault),
           {required(text("endpoint", 1, 200)), required(text("fault", 1, 50)),
            integer("count", 1, mostCalls), integer("milliseconds", 0, longestDelayMilliseconds),
            integer("code", -1'000'000, 1'000'000), text("message", 0, 1000)}),
      {"DELETE", "/sandbox/faults", Access::open, at(clearFaults), {}},
      actionEndpoint(room),
  };
}

}  // namespace zavelo::sandbox
