#include "tools/zavelo/sandbox_grammar.hpp"

#include <limits>

#include "tools/zavelo/grammar.hpp"

namespace zavelo::command {
namespace {

std::optional<std::uint16_t> portIn(const CLI::Option* option) {
  if (option->count() == 0) return {};
  const auto port = integerOf(textOf(option));
  if (!port || *port < 0 || *port > std::numeric_limits<std::uint16_t>::max())
    refuse(option, "a port, 0 to 65535");
  return static_cast<std::uint16_t>(*port);
}

}  // namespace

SandboxGrammar::SandboxGrammar(CLI::App& root)
    : sandbox_(addCommand(root, "sandbox", "Run a local backend until SIGINT or SIGTERM")),
      port_(addOption(*sandbox_, "--port",
                      "Where it listens; 0 for any free port; 8080 if left out", "INTEGER")),
      state_(addOption(*sandbox_, "--state", "The file that keeps its users and sessions", "FILE")),
      seed_(addOption(*sandbox_, "--seed",
                      "Its words, configuration, tags, gifts and first members, as JSON", "FILE")),
      ephemeral_(sandbox_->add_flag("--ephemeral")->description("Keep nothing")->excludes(state_)),
      brokerPort_(addOption(*sandbox_, "--broker-port",
                            "Where its message broker listens; 0 for any free port; 1883 if left "
                            "out, or any beside --port 0",
                            "INTEGER")),
      noBroker_(sandbox_->add_flag("--no-broker")
                    ->description("Start no message broker")
                    ->excludes(brokerPort_)) {}

std::optional<Request> SandboxGrammar::request() const {
  if (!sandbox_->parsed()) return {};
  SandboxRequest request;
  request.isEphemeral = ephemeral_->count() > 0;
  request.state = givenText(state_);
  request.seed = givenText(seed_);
  request.port = portIn(port_).value_or(request.port);
  request.hasBroker = noBroker_->count() == 0;
  request.brokerPort = portIn(brokerPort_);
  return request;
}

}  // namespace zavelo::command
