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

constexpr auto goldParameter = required(integer("gold", 1, mostGoldAtOnce));
/// Not every action has one.
constexpr auto optionalSlug = text(slugParameter.name, slugParameter.least, slugParameter.most);
constexpr auto nameParameter = required(text("action", 1, 50));

Changed expireTokens(const ActionCall& call) {
  return call.context.sessions.expireAccessTokens(
      call.transaction, call.member ? std::optional(call.member->id) : std::nullopt);
}

Changed signInElsewhere(const ActionCall& call) {
  return Sessions::takeOver(call.transaction, call.member->id);
}

template <int Banned>
Changed setBanned(const ActionCall& call) {
  return call.transaction.run("UPDATE members SET banned = ?1 WHERE id = ?2 AND banned <> ?1",
                              Banned, call.member->id);
}

Changed giveGold(const ActionCall& call) {
  if (auto problem = addGold(call.transaction, *call.member, call.arguments[goldParameter])) {
    return Failure{*std::move(problem)};
  }
  return 1;
}

Changed lock(const ActionCall& call) {
  setPassword(call.transaction, *call.stream, call.passwordHash);
  return 1;
}

Changed unlock(const ActionCall& call) {
  setPassword(call.transaction, *call.stream, std::nullopt);
  return 1;
}

std::vector<Action> administrativeActions() {
  constexpr auto userName = actionMemberParameter;
  return {
      {{"expire-tokens", "Let access tokens expire, of one member or of everybody", {userName}},
       expireTokens},
      {{"ban", "Ban a member", {required(userName)}}, setBanned<1>},
      {{"unban", "Take a ban back", {required(userName)}}, setBanned<0>},
      {{"sign-in-elsewhere",
        "Take a member's session over, as another device does",
        {required(userName)}},
       signInElsewhere},
      {{"give-gold", "Put gold into a member's wallet", {required(userName), goldParameter}},
       giveGold},
      {{"lock-stream",
        "Lock a stream with a password",
        {slugParameter, required(streamPasswordParameter)}},
       lock},
      {{"unlock-stream", "Open a stream to all", {slugParameter}}, unlock},
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
std::optional<Problem> findNamed(ActionCall& call) {
  if (const auto userName = call.arguments[actionMemberParameter]) {
    call.member = memberByUserName(call.transaction, *userName);
    if (!call.member) return Problem{Code::userNotFound, "There is no member of that userName"};
  }
  if (const auto slug = call.arguments[optionalSlug]) {
    call.stream = streamBySlug(call.transaction, *slug);
    if (!call.stream) return parameterProblem("slug", "there is no such stream");
  }
  return {};
}

Response runAction(ControlContext& context, const Call& call) {
  const Action* action = actionNamed(call.arguments[nameParameter]);
  if (action == nullptr) return fail(parameterProblem(nameParameter.name, actionNames()));
  auto parameters = action->outline.parameters;
  parameters.push_back(nameParameter);
  const auto arguments = checkParameters(parameters, call.arguments.object());
  if (!arguments) return fail(arguments.error());
  std::optional<std::string> passwordHash;
  if (const auto password = (*arguments)[streamPasswordParameter]) {
    passwordHash = context.throttle.run([&] { return hashPassword(*password); });
  }
  std::function<std::int64_t()> then = [] { return 0; };
  const auto changed = context.database.transact([&](Transaction& transaction) -> Changed {
    ActionCall named{context, transaction, *arguments, passwordHash, then};
    if (auto problem = findNamed(named)) return Failure{*std::move(problem)};
    return action->act(named);
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

Endpoint actionEndpoint(ControlContext& context) {
  return post("/sandbox/actions", Access::open, handlersIn(context)(runAction),
              {nameParameter, anything()});
}

}  // namespace zavelo::sandbox
