#include "tools/zavelo/grammar/sandbox_grammar.hpp"

#include <limits>

#include "tools/zavelo/grammar/options.hpp"

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
      faults_(addOption(*sandbox_, "--faults",
                        "A script of faults that wait from the start, as JSON", "FILE")),
      ephemeral_(sandbox_->add_flag("--ephemeral")->description("Keep nothing")->excludes(state_)),
      brokerPort_(addOption(*sandbox_, "--broker-port",
                            "Where its message broker listens; 0 for any free port; 1883 if left "
                            "out, or any beside --port 0",
                            "INTEGER")),
      noBroker_(sandbox_->add_flag("--no-broker")
                    ->description("Start no message broker")
                    ->excludes(brokerPort_)) {
  addExport();
}

void SandboxGrammar::addExport() {
  export_ = addCommand(*sandbox_, "export", "Write what a state holds as a seed file");
  exportState_ =
      addOption(*export_, "--state", "The state file, of a sandbox that does not run", "FILE");
  running_ = export_->add_flag("--running")
                 ->description("What the sandbox at --api holds now, in place of a file")
                 ->excludes(exportState_);
  exportSeed_ = addOption(*export_, "--seed",
                          "The seed file of its runs, whose words, configuration, tags and gifts "
                          "go along",
                          "FILE")
                    ->excludes(running_);
  output_ = addOption(*export_, "--output",
                      "The file to write, or to replace; standard output if left out", "FILE");
  pictures_ = export_->add_flag("--pictures")
                  ->description("With the pictures of members, streams and products");
  export_->footer(
      "The seed has the members, streams and products, with hashes of their passwords. It has no\n"
      "guests, sessions or saved chats, and nothing of what viewers did: a warning counts them.\n"
      "Words, configuration, tags and gifts are those of a run and not in its state file.\n" +
      std::string(globalOptionsNote));
}

std::optional<Request> SandboxGrammar::request() const {
  if (export_->parsed()) return exportRequest();
  if (sandbox_->parsed()) return sandboxRequest();
  return {};
}

SandboxRequest SandboxGrammar::sandboxRequest() const {
  return {.port = portIn(port_).value_or(SandboxRequest().port),
          .state = givenText(state_),
          .isEphemeral = ephemeral_->count() > 0,
          .seed = givenText(seed_),
          .faults = givenText(faults_),
          .hasBroker = noBroker_->count() == 0,
          .brokerPort = portIn(brokerPort_)};
}

ExportRequest SandboxGrammar::exportRequest() const {
  for (const auto* option : sandbox_->get_options()) {
    if (option->count() == 0 || option == sandbox_->get_help_ptr()) continue;
    const std::string name = option->get_name();
    const bool isShared = export_->get_option_no_throw(name) != nullptr;
    throw CLI::ValidationError(name + (isShared ? " must come after \"export\""
                                                : " is for a sandbox that runs, not for export"));
  }
  return {givenText(exportState_), givenText(exportSeed_), givenText(output_),
          pictures_->count() > 0, running_->count() > 0};
}

}  // namespace zavelo::command
