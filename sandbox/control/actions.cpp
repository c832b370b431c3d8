#include "sandbox/control/actions.hpp"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

#include "sandbox/control/action.hpp"
#include "sandbox/control/channel_actions.hpp"
#include "sandbox/gifts/wallet.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

using Changed = Result<std::int64_t, Problem>;

Changed expireTokens(const ActionCall& of) {
  return of.room.sessions.expireAccessTokens(
      of.transaction, of.member ? std::optional(of.member->id) : std::nullopt);
}

Changed signInElsewhere(const ActionCall& of) {
  return Sessions::takeOver(of.transaction, of.member->id);
}

template <int Banned>
Changed setBanned(const ActionCall& of) {
  return of.transaction.run("UPDATE members SET banned = ?1 WHERE id = ?2 AND banned <> ?1", Banned,
                            of.member->id);
}

Changed giveGold(const ActionCall& of) {
  if (auto problem = addGold(of.transaction, *of.member, *of.arguments.integer("gold"))) {
    return Failure{*std::move(problem)};
  }
  return 1;
}

Changed lock(const ActionCall& of) {
  setPassword(of.transaction, *of.stream, of.passwordHash);
  return 1;
}

Changed unlock(const ActionCall& of) {
  setPassword(of.transaction, *of.stream, std::nullopt);
  return 1;
}

std::vector<Action> administrativeActions() {
  return {
      {"expire-tokens", {{"userName", false}}, expireTokens},
      {"ban", {{"userName"}}, setBanned<1>},
      {"unban", {{"userName"}}, setBanned<0>},
      {"sign-in-elsewhere", {{"userName"}}, signInElsewhere},
      {"give-gold", {{"userName"}, {"gold"}}, giveGold},
      {"lock-stream", {{"slug"}, {"password"}}, lock},
      {"unlock-stream", {{"slug"}}, unlock},
  };
}

const std::vector<Action>& actions() {
  static const std::vector<Action> all = [] {
    auto first = administrativeActions();
    std::ranges::move(channelActions(), std::back_inserter(first));
    return first;
  }();
  return all;
}

std::string actionNames() {
  std::string names;
  for (const auto& action : actions()) {
    names.append(names.empty() ? "expected " : ", ").append(action.name);
  }
  return names;
}

/// "action" belongs to all of them.
std::vector<Parameter> actionParameters() {
  std::vector<Parameter> parameters{required(text("action", 1, 50)), text("userName", 1, 64),
                                    slugParameter, streamPasswordParameter,
                                    integer("gold", 1, mostGoldAtOnce)};
  std::ranges::copy(channelActionParameters(), std::back_inserter(parameters));
  return parameters;
}

std::vector<Problem> misplaced(const Action& action, const Arguments& arguments) {
  std::vector<Problem> problems;
  for (const auto& parameter : actionParameters()) {
    if (parameter.name == "action") continue;
    const auto taken =
        std::ranges::find(action.parameters, parameter.name, &Action::Takes::parameter);
    const bool isTaken = taken != action.parameters.end();
    const bool isGiven = arguments.has(parameter.name);
    if (isGiven && !isTaken) {
      problems.push_back(parameterProblem(parameter.name, "does not belong to this action"));
    }
    if (!isGiven && isTaken && taken->isRequired) {
      problems.push_back(parameterProblem(parameter.name, "missing"));
    }
  }
  return problems;
}

/// Fills in the member and the stream that are named.
std::optional<Problem> find(ActionCall& of) {
  if (const auto userName = of.arguments.text("userName")) {
    of.member = memberByUserName(of.transaction, *userName);
    if (!of.member) return Problem{Code::userNotFound, "There is no member of that userName"};
  }
  if (const auto slug = of.arguments.text("slug")) {
    of.stream = streamBySlug(of.transaction, *slug);
    if (!of.stream) return parameterProblem("slug", "there is no such stream");
  }
  return {};
}

Response runAction(ControlRoom& room, const Call& call) {
  const auto action = std::ranges::find(actions(), *call.arguments.text("action"), &Action::name);
  if (action == actions().end()) return fail(parameterProblem("action", actionNames()));
  const auto problems = misplaced(*action, call.arguments);
  if (!problems.empty()) return fail(problems);
  std::optional<std::string> passwordHash;
  if (const auto password = call.arguments.text("password")) {
    passwordHash = room.throttle.run([&] { return hashPassword(*password); });
  }
  std::function<std::int64_t()> then = [] { return 0; };
  const auto changed = room.database.transact([&](Transaction& transaction) -> Changed {
    ActionCall of{room, transaction, call.arguments, passwordHash, then};
    if (auto problem = find(of)) return Failure{*std::move(problem)};
    return action->act(of);
  });
  if (!changed) return fail(changed.error());
  return succeed(json::Value(json::Object{{"changed", *changed + then()}}));
}

}  // namespace

Endpoint actionEndpoint(ControlRoom& room) {
  return post("/sandbox/actions", Access::open, handlersIn(room)(runAction), actionParameters());
}

}  // namespace zavelo::sandbox
