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

constexpr Parameter nameParameter = required(text("action", 1, 50));

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
  constexpr Parameter userName = actionMemberParameter;
  return {
      {{"expire-tokens", "Let access tokens expire, of one member or of everybody", {userName}},
       expireTokens},
      {{"ban", "Ban a member", {required(userName)}}, setBanned<1>},
      {{"unban", "Take a ban back", {required(userName)}}, setBanned<0>},
      {{"sign-in-elsewhere",
        "Take a member's session over, as another device does",
        {required(userName)}},
       signInElsewhere},
      {{"give-gold",
        "Put gold into a member's wallet",
        {required(userName), required(integer("gold", 1, mostGoldAtOnce))}},
       giveGold},
      {{"lock-stream",
        "Lock a stream with a password",
        {required(slugParameter), required(streamPasswordParameter)}},
       lock},
      {{"unlock-stream", "Open a stream to all", {required(slugParameter)}}, unlock},
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

const Action* actionNamed(std::string_view name) {
  const auto found =
      std::ranges::find(actions(), name, [](const Action& action) { return action.outline.name; });
  return found == actions().end() ? nullptr : &*found;
}

std::string actionNames() {
  std::string names;
  for (const auto& action : actions()) {
    names.append(names.empty() ? "expected " : ", ").append(action.outline.name);
  }
  return names;
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
  const Action* action = actionNamed(*call.arguments.text(nameParameter.name));
  if (action == nullptr) return fail(parameterProblem(nameParameter.name, actionNames()));
  auto parameters = action->outline.parameters;
  parameters.push_back(nameParameter);
  const auto arguments = checkParameters(parameters, call.arguments.object());
  if (!arguments) return fail(arguments.error());
  std::optional<std::string> passwordHash;
  if (const auto password = arguments->text(streamPasswordParameter.name)) {
    passwordHash = room.throttle.run([&] { return hashPassword(*password); });
  }
  std::function<std::int64_t()> then = [] { return 0; };
  const auto changed = room.database.transact([&](Transaction& transaction) -> Changed {
    ActionCall of{room, transaction, *arguments, passwordHash, then};
    if (auto problem = find(of)) return Failure{*std::move(problem)};
    return action->act(of);
  });
  if (!changed) return fail(changed.error());
  return succeed(json::Value(json::Object{{"changed", *changed + then()}}));
}

}  // namespace

std::vector<ActionOutline> actionOutlines() {
  std::vector<ActionOutline> outlines;
  for (const auto& action : actions()) outlines.push_back(action.outline);
  return outlines;
}

Endpoint actionEndpoint(ControlRoom& room) {
  return post("/sandbox/actions", Access::open, handlersIn(room)(runAction),
              {nameParameter, anything()});
}

}  // namespace zavelo::sandbox
