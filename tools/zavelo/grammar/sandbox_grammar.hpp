#pragma once

#include <CLI/CLI.hpp>
#include <optional>

#include "tools/zavelo/request/request.hpp"

namespace zavelo::command {

/// The sandbox on the command line, and what is done with its state. Tells what was asked for when
/// it was, and throws a CLI::ParseError at a text that it cannot take.
class SandboxGrammar {
 public:
  explicit SandboxGrammar(CLI::App& root);
  [[nodiscard]] std::optional<Request> request() const;

 private:
  void addExport();
  [[nodiscard]] SandboxRequest sandboxRequest() const;
  [[nodiscard]] ExportRequest exportRequest() const;

  CLI::App* sandbox_;
  CLI::Option* port_;
  CLI::Option* state_;
  CLI::Option* seed_;
  CLI::Option* faults_;
  CLI::Option* ephemeral_;
  CLI::Option* brokerPort_;
  CLI::Option* noBroker_;
  CLI::App* export_ = nullptr;
  CLI::Option* exportState_ = nullptr;
  CLI::Option* running_ = nullptr;
  CLI::Option* exportSeed_ = nullptr;
  CLI::Option* output_ = nullptr;
  CLI::Option* pictures_ = nullptr;
};

}  // namespace zavelo::command
