#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/zavelo/grammar/options.hpp"
#include "tools/zavelo/request/request.hpp"

namespace zavelo::command {

/// A sandbox's actions on the command line, each a command of its own.
class TriggerGrammar {
 public:
  explicit TriggerGrammar(CLI::App& root);
  [[nodiscard]] std::optional<Request> request(const std::string& help) const;

 private:
  struct Leaf {
    CLI::App* app;
    const TriggerAction* action;
    ArgumentOptions options;
  };

  std::vector<Leaf> leaves_;
};

}  // namespace zavelo::command
