#include "sandbox/control/control_endpoints.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "sandbox/users/members.hpp"

namespace zavelo::sandbox {
namespace {

constexpr double mostCalls = 1'000'000;
constexpr double longestDelayMilliseconds = 600'000;

Response health(ControlRoom&, const Call&) {
  return jsonResponse(R"({"status":"ok","version":")" ZAVELO_VERSION R"("})");
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

/// Does what the action says to a member or, where that is possible without one, to everybody.
/// Returns how many sessions or members it concerned; none when there is no such action.
std::optional<std::int64_t> act(ControlRoom& room, Transaction& transaction,
                                const std::string& action, std::optional<std::int64_t> member) {
  if (action == "expire-tokens") return room.sessions.expireAccessTokens(transaction, member);
  if (action == "sign-in-elsewhere") return Sessions::takeOver(transaction, *member);
  if (action != "ban" && action != "unban") return {};
  return transaction.run("UPDATE members SET banned = ?1 WHERE id = ?2 AND banned <> ?1",
                         action == "ban", *member);
}

Response runAction(ControlRoom& room, const Call& call) {
  const std::string action = *call.arguments.text("action");
  const auto userName = call.arguments.text("userName");
  return room.database.transact([&](Transaction& transaction) {
    std::optional<std::int64_t> id;
    if (userName) {
      const auto member = memberByUserName(transaction, *userName);
      if (!member) return fail({Code::userNotFound, "There is no member of that userName"});
      id = member->id;
    } else if (action != "expire-tokens") {
      return fail(parameterProblem("userName", "missing"));
    }
    const auto count = act(room, transaction, action, id);
    if (!count) {
      return fail(
          parameterProblem("action", "expected expire-tokens, ban, unban or sign-in-elsewhere"));
    }
    return succeed(json::Value(json::Object{{"changed", *count}}));
  });
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
      post("/sandbox/actions", Access::open, at(runAction),
           {required(text("action", 1, 50)), text("userName", 1, 64)}),
  };
}

}  // namespace zavelo::sandbox
