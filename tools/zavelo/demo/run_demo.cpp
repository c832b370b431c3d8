#include <optional>

#include "tools/zavelo/demo/demo_stage.hpp"
#include "tools/zavelo/demo/demo_stories.hpp"
#include "tools/zavelo/run/commands.hpp"
#include "tools/zavelo/terminal/interruption.hpp"

namespace zavelo::command {

int runDemo(const DemoRequest& request, const Output& output) {
  std::optional<Surprise> surprise;
  try {
    DemoStage stage;
    const OnSignal interrupting([children = stage.children()] { interrupt(*children); });
    stage.tell("A sandbox starts; every step from here is a process of its own");
    stage.startSandbox();
    playMember(stage);
    playBroadcast(stage);
    stage.tell("All as expected");
    if (request.stays) {
      stage.stay();
      return succeeded;
    }
    stage.stopSandbox();
  } catch (Surprise& caught) {
    surprise = std::move(caught);
  }
  if (const auto interrupted = Interruption::shared().status()) return *interrupted;
  return surprise ? output.error("demo", surprise->description) : succeeded;
}

}  // namespace zavelo::command
