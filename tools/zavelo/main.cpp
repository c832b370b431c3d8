#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <string>
#include <string_view>

#include "tools/zavelo/grammar/command_line.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/interruption.hpp"
#include "zavelo/core/version.hpp"

namespace zavelo::command {
namespace {

// A standard stream that is closed would hand its number to the next file or socket; it is replaced
// by one whose use fails.
void holdStandardStreams() {
  if (fcntl(STDIN_FILENO, F_GETFD) < 0) open("/dev/null", O_WRONLY);
  if (fcntl(STDOUT_FILENO, F_GETFD) < 0) open("/dev/null", O_RDONLY);
  if (fcntl(STDERR_FILENO, F_GETFD) < 0) open("/dev/null", O_RDONLY);
}

struct Runner {
  const GlobalOptions& options;
  const Output& output;

  int operator()(const HelpRequest& request) const { return output.text(request.text); }
  int operator()(const VersionRequest&) const {
    const std::string number = version;
    return output.result(R"({"version":")" + number + R"("})", "zavelo " + number + "\n");
  }
  int operator()(const OperationRequest& request) const {
    return runOperation(request, options, output);
  }
  int operator()(const ChatRequest& request) const { return runChat(request, options, output); }
  int operator()(const ChatMembersRequest& request) const {
    return runChatMembers(request, options, output);
  }
  int operator()(const ChatSendRequest& request) const {
    return runChatSend(request, options, output);
  }
  int operator()(const ReplayRequest& request) const { return runReplay(request, output); }
  int operator()(const InspectRequest& request) const { return runInspect(request, output); }
  int operator()(const CensorRequest& request) const { return runCensor(request, options, output); }
  int operator()(const SandboxRequest& request) const { return runSandbox(request, output); }
  int operator()(const TriggerRequest& request) const {
    return runTrigger(request, options, output);
  }
  int operator()(const ExportRequest& request) const { return runExport(request, options, output); }
  int operator()(const DemoRequest& request) const { return runDemo(request, output); }
};

int run(int count, const char* const* texts) {
  const auto line = parseCommandLine(count, texts);
  if (!line) {
    const bool json = std::any_of(
        texts, texts + count, [](const char* text) { return text == std::string_view("--json"); });
    return Output(json).usageError(line.error());
  }
  const Output output(line->json);
  try {
    return std::visit(Runner{line->options, output}, *line->request);
  } catch (const std::exception& failure) {  // of the machine: no thread, no memory, no folder
    return output.error("system", failure.what());
  }
}

}  // namespace
}  // namespace zavelo::command

int main(int count, char** texts) {
  zavelo::command::holdStandardStreams();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that left is an error of the write
  static_cast<void>(zavelo::command::Interruption::shared());
  return zavelo::command::run(count, texts);
}
