#include "sandbox/control/actions.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

#include "sandbox/streams/stream.hpp"
#include "sandbox/streams/stream_plan.hpp"
#include "sandbox/users/members.hpp"
#include "sandbox/users/passwords.hpp"

namespace zavelo::sandbox {
namespace {

/// What an action was asked about, as far as it takes it.
struct Target {
  std::optional<std::int64_t> member;
  std::optional<Stream> stream;
  std::optional<std::string> passwordHash;
};

/// Each answers how many tokens, members, sessions or streams it concerned.
using Act = std::int64_t (*)(ControlRoom&, Transaction&, const Target&);

std::int64_t expireTokens(ControlRoom& room, Transaction& transaction, const Target& target) {
  return room.sessions.expireAccessTokens(transaction, target.member);
}

std::int64_t signInElsewhere(ControlRoom&, Transaction& transaction, const Target& target) {
  return Sessions::takeOver(transaction, *target.member);
}

template <int Banned>
std::int64_t setBanned(ControlRoom&, Transaction& transaction, const Target& target) {
  return transaction.run("UPDATE members SET banned = ?1 WHERE id = ?2 AND banned <> ?1", Banned,
                         *target.member);
}

std::int64_t setLock(ControlRoom&, Transaction& transaction, const Target& target) {
  setPassword(transaction, *target.stream, target.passwordHash);
  return 1;
}

enum class Need : std::uint8_t { none, allowed, required };

struct Action {
  std::string_view name;
  Need userName;
  Need slug;
  Need password;
  Act act;
};
constexpr std::array actions{
    Action{"expire-tokens", Need::allowed, Need::none, Need::none, expireTokens},
    Action{"ban", Need::required, Need::none, Need::none, setBanned<1>},
    Action{"unban", Need::required, Need::none, Need::none, setBanned<0>},
    Action{"sign-in-elsewhere", Need::required, Need::none, Need::none, signInElsewhere},
    Action{"lock-stream", Need::none, Need::required, Need::required, setLock},
    Action{"unlock-stream", Need::none, Need::required, Need::none, setLock},
};

std::string actionNames() {
  std::string names;
  for (const auto& action : actions) {
    names.append(names.empty() ? "expected " : ", ").append(action.name);
  }
  return names;
}

std::vector<Problem> misplaced(const Action& action, const Arguments& arguments) {
  std::vector<Problem> problems;
  const auto expect = [&](std::string_view name, Need need) {
    const bool isGiven = arguments.text(name).has_value();
    if (isGiven && need == Need::none) {
      problems.push_back(parameterProblem(name, "does not belong to this action"));
    }
    if (!isGiven && need == Need::required) problems.push_back(parameterProblem(name, "missing"));
  };
  expect("userName", action.userName);
  expect("slug", action.slug);
  expect("password", action.password);
  return problems;
}

Response runAction(ControlRoom& room, const Call& call) {
  const auto action = std::ranges::find(actions, *call.arguments.text("action"), &Action::name);
  if (action == actions.end()) return fail(parameterProblem("action", actionNames()));
  const auto problems = misplaced(*action, call.arguments);
  if (!problems.empty()) return fail(problems);
  Target target;
  if (const auto password = call.arguments.text("password")) {
    target.passwordHash = room.throttle.run([&] { return hashPassword(*password); });
  }
  return room.database.transact([&](Transaction& transaction) {
    if (const auto userName = call.arguments.text("userName")) {
      const auto member = memberByUserName(transaction, *userName);
      if (!member) return fail({Code::userNotFound, "There is no member of that userName"});
      target.member = member->id;
    }
    if (const auto slug = call.arguments.text("slug")) {
      target.stream = streamBySlug(transaction, *slug);
      if (!target.stream) return fail(parameterProblem("slug", "there is no such stream"));
    }
    return succeed(json::Value(json::Object{{"changed", action->act(room, transaction, target)}}));
  });
}

}  // namespace

Endpoint actionEndpoint(ControlRoom& room) {
  return post("/sandbox/actions", Access::open, handlersIn(room)(runAction),
              {required(text("action", 1, 50)), text("userName", 1, 64), slugParameter,
               streamPasswordParameter});
}

}  // namespace zavelo::sandbox
