#include <utility>

#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/sandbox_call.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

/// How many tokens, members, sessions, streams or messages it concerned.
std::optional<std::int64_t> changedIn(const json::Value& data) {
  const auto* object = data.as<json::Object>();
  const auto* changed = object == nullptr ? nullptr : object->find("changed");
  const auto* count = changed == nullptr ? nullptr : changed->as<std::int64_t>();
  return count == nullptr ? std::nullopt : std::optional(*count);
}

std::string readable(const TriggerAction& action, std::int64_t changed) {
  if (changed > 0) return "done\n";
  return action.isTold ? "nobody is in the channel\n" : "nothing to change\n";
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
  const auto changed = changedIn(*answer);
  if (!changed) return output.error("sandbox", "the answer is no sandbox's");
  return output.result("{\"changed\":" + std::to_string(*changed) + "}",
                       readable(action, *changed));
}

}  // namespace zavelo::command
