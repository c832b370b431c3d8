#include "tools/zavelo/grammar/trigger_grammar.hpp"

namespace zavelo::command {

TriggerGrammar::TriggerGrammar(CLI::App& root) {
  auto* trigger = addCommand(root, "trigger", "Make something happen in a sandbox");
  trigger->require_subcommand(1);
  trigger->footer(
      "In the sandbox at --api, or at http://127.0.0.1:8080 without it. What concerns a stream\n"
      "goes to everybody in its channel; the result says how often it went out.");
  for (const auto& action : triggerActions()) {
    auto* app = addCommand(*trigger, std::string(action.name), action.help);
    app->footer(std::string(globalOptionsNote));
    if (action.name == "start-poll") app->alias("poll");
    leaves_.push_back({app, &action, ArgumentOptions(*app, action.arguments)});
  }
}

std::optional<Request> TriggerGrammar::request(const std::string& help) const {
  for (const auto& [app, action, options] : leaves_)
    if (app->parsed()) return TriggerRequest{action, options.typed(), help};
  return {};
}

}  // namespace zavelo::command
