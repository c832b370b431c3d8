#include <utility>

#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/sandbox_call.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

/// How many tokens, members, sessions, streams or messages it concerned.
const std::int64_t* changedIn(const json::Object& data) {
  const auto* changed = data.find("changed");
  return changed == nullptr ? nullptr : changed->as<std::int64_t>();
}

std::string readable(const TriggerAction& action, std::int64_t changed) {
  if (changed > 0) return "done\n";
  return action.isTold ? "the channel has no members\n" : "nothing to change\n";
}

}  // namespace

int runTrigger(const TriggerRequest& request, const GlobalOptions& options, const Output& output) {
  const TriggerAction& action = *request.action;
  auto given = jsonArguments(action.arguments, request.arguments);
  if (!given) return output.usageError(given.error(), request.help);
  given->set("action", action.name);
  const auto asked = json::encode(json::Value(*std::move(given)));
  if (!asked) return output.usageError({asked.error().text(), request.help});
  const auto answer = callSandbox(options, "/sandbox/actions", *asked);
  if (!answer) return output.error("sandbox", answer.error());
  const auto* changed = changedIn(*answer);
  if (changed == nullptr) return output.error("sandbox", noSandbox);
  return output.result("{\"changed\":" + std::to_string(*changed) + "}",
                       readable(action, *changed));
}

}  // namespace zavelo::command
