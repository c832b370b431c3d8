#include "tools/zavelo/operations/trigger_action.hpp"

#include <cstdint>
#include <optional>
#include <string>

#include "sandbox/control/action_outline.hpp"

namespace zavelo::command {
namespace {

using sandbox::Parameter;

template <class T>
ArgumentType typeOf(Parameter::Presence presence) {
  return presence == Parameter::Presence::required ? argumentType<T>()
                                                   : argumentType<std::optional<T>>();
}

/// What is typed; the sandbox checks the limits.
ArgumentType typeOf(const Parameter& parameter) {
  if (parameter.kind == Parameter::Kind::integer) return typeOf<std::int64_t>(parameter.presence);
  if (parameter.kind == Parameter::Kind::number) return typeOf<double>(parameter.presence);
  return typeOf<std::string>(parameter.presence);
}

std::vector<TriggerAction> all() {
  std::vector<TriggerAction> actions;
  for (const auto& [name, help, parameters, isTold] : sandbox::actionOutlines()) {
    auto& action = actions.emplace_back(TriggerAction{name, help, {}, isTold});
    for (const auto& parameter : parameters)
      action.arguments.push_back({parameter.name, typeOf(parameter)});
  }
  return actions;
}

}  // namespace

const std::vector<TriggerAction>& triggerActions() {
  static const std::vector<TriggerAction> actions = all();
  return actions;
}

}  // namespace zavelo::command
