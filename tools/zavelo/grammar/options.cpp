#include "tools/zavelo/grammar/options.hpp"

#include "tools/zavelo/arguments/argument_note.hpp"
#include "tools/zavelo/arguments/option_name.hpp"

namespace zavelo::command {
namespace {

CLI::Option* addArgument(CLI::App& app, const Argument& argument) {
  const auto& note = noteOf(argument.name);
  auto* option =
      addOption(app, "--" + kebabCase(argument.name), note.help, placeholderOf(argument.type));
  const bool isList = argument.type.kind == ArgumentKind::texts;
  if (isList) option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  return option->required(!isList && !argument.type.isOptional && note.byDefault == nullptr);
}

}  // namespace

CLI::Option* addOption(CLI::App& app, const std::string& name, std::string_view help,
                       std::string_view placeholder) {
  auto* option = app.add_option(
      name, [](const CLI::results_t&) { return true; }, std::string(help));
  return option->type_name(std::string(placeholder))->allow_extra_args(false);
}

ArgumentOptions::ArgumentOptions(CLI::App& app, const std::vector<Argument>& arguments) {
  for (const auto& argument : arguments)
    entries_.push_back({&argument, addArgument(app, argument)});
}

std::vector<TypedArgument> ArgumentOptions::typed() const {
  std::vector<TypedArgument> typed;
  for (const auto& [argument, option] : entries_)
    if (option->count() > 0) typed.push_back({argument, option->results()});
  return typed;
}

CLI::App* addCommand(CLI::App& parent, const std::string& name, std::string_view help) {
  return parent.add_subcommand(name, std::string(help))->fallthrough();
}

std::string textOf(const CLI::Option* option) {
  return option->count() == 0 ? std::string() : option->results().front();
}

std::optional<std::string> givenText(const CLI::Option* option) {
  if (option->count() == 0) return {};
  return textOf(option);
}

void refuse(const CLI::Option* option, const std::string& expected) {
  throw CLI::ValidationError(option->get_name(),
                             "expected " + expected + ", got \"" + textOf(option) + "\"");
}

}  // namespace zavelo::command
