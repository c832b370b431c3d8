#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/zavelo/arguments/argument.hpp"
#include "tools/zavelo/arguments/argument_text.hpp"

namespace zavelo::command {

// What the command line is made of. Texts stay texts; what they must be, their readers say.

/// An option takes one text literally: "[a,b]" is no list and "-5" no option.
CLI::Option* addOption(CLI::App& app, const std::string& name, std::string_view help,
                       std::string_view placeholder);
/// The options of a command's arguments, with what their notes say.
class ArgumentOptions {
 public:
  /// The arguments outlive this.
  ArgumentOptions(CLI::App& app, const std::vector<Argument>& arguments);
  [[nodiscard]] std::vector<TypedArgument> typed() const;

 private:
  struct Entry {
    const Argument* argument;
    CLI::Option* option;
  };
  std::vector<Entry> entries_;
};
/// A subcommand; the options of its parents may come after it, too.
CLI::App* addCommand(CLI::App& parent, const std::string& name, std::string_view help);

/// The text that was given; empty when none was.
[[nodiscard]] std::string textOf(const CLI::Option* option);
[[nodiscard]] std::optional<std::string> givenText(const CLI::Option* option);

/// Throws what the command line answers to a text that the option cannot take.
[[noreturn]] void refuse(const CLI::Option* option, const std::string& expected);

inline constexpr std::string_view globalOptionsNote =
    "The options of \"zavelo --help\" may be given here, too.";

}  // namespace zavelo::command
