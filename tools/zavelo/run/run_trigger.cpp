#include <utility>

#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/run/http_exchange.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::command {
namespace {

constexpr std::string_view usualSandbox = "http://127.0.0.1:8080";

HttpRequest requestTo(const std::string& api, std::string body) {
  HttpRequest request;
  request.method = ZVHTTPMethod::post;
  request.url = (api.empty() ? std::string(usualSandbox) : api) + "/sandbox/actions";
  request.headers = {{"Content-Type", "application/json"}};
  request.body = std::move(body);
  return request;
}

const json::Value* member(const json::Value* value, std::string_view name) {
  const auto* object = value == nullptr ? nullptr : value->as<json::Object>();
  return object == nullptr ? nullptr : object->find(name);
}

/// How many tokens, members, sessions, streams or messages it concerned.
Result<std::int64_t, std::string> changedIn(const std::string& body) {
  const auto answer = json::decode<json::Value>(body);
  const json::Value* envelope = answer ? &answer.value() : nullptr;
  const auto* changed = member(member(envelope, "data"), "changed");
  if (const auto* count = changed == nullptr ? nullptr : changed->as<std::int64_t>()) return *count;
  const auto* message = member(envelope, "message");
  const auto* text = message == nullptr ? nullptr : message->as<std::string>();
  return Failure{text == nullptr ? std::string("the answer is no sandbox's") : *text};
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
  const auto answer = exchange(requestTo(options.api, *asked));
  const auto changed = answer ? changedIn(*answer) : Failure{answer.error()};
  if (!changed) return output.error("sandbox", changed.error());
  return output.result("{\"changed\":" + std::to_string(*changed) + "}",
                       readable(action, *changed));
}

}  // namespace zavelo::command
