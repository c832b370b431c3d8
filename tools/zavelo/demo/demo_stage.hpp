#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tools/zavelo/demo/child_process.hpp"
#include "tools/zavelo/terminal/story_screen.hpp"
#include "zavelo/json/value.hpp"
#include "zavelo/platform/background_queue.hpp"
#include "zavelo/ui/timer_label.hpp"

namespace zavelo::command {

/// Something in the story that was to be otherwise. Thrown and caught within the demo.
struct Surprise {
  std::string description;
};

/// What happens when one step of the story runs the command.
struct Scene {
  std::string output;  ///< a line of JSON for each result
  json::Value error;   ///< the error's record; null when it succeeded
  std::string log;     ///< all it wrote to standard error
};

/// Where the demo plays: a folder of its own, a sandbox in a process of its own, and one process
/// for each thing that a member does. All of it is gone when the stage is.
class DemoStage {
 public:
  DemoStage();
  ~DemoStage();
  DemoStage(const DemoStage&) = delete;
  DemoStage& operator=(const DemoStage&) = delete;

  /// Starts the next step of the time line.
  void tell(std::string_view what);
  /// What came of it.
  void show(std::string_view what, std::string_view value);

  /// A clock runs for as long as somebody is on air.
  void goOnAir();
  void leaveAir();

  void startSandbox();
  void stopSandbox();
  /// Leaves it running until somebody interrupts.
  void stay();
  /// Starts the command with that person's store against the sandbox.
  std::shared_ptr<ChildProcess> start(std::string_view person,
                                      const std::vector<std::string>& arguments);
  /// Starts it, and waits for its end.
  Scene run(std::string_view person, const std::vector<std::string>& arguments,
            const std::string& input);
  /// Makes the backend do something that a member cannot: "ban --user-name ann".
  void trigger(const std::vector<std::string>& arguments);
  /// The file at an address.
  std::string fetch(const std::string& url);

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

  /// Ends what runs, and with it the story. Any thread.
  class Children;
  [[nodiscard]] const std::shared_ptr<Children>& children() const { return children_; }

 private:
  const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  const std::shared_ptr<StoryScreen> screen_ = std::make_shared<StoryScreen>();
  const std::shared_ptr<BackgroundQueue> ticks_ = std::make_shared<BackgroundQueue>();
  std::shared_ptr<ZVTimerLabel> onAir_;
  std::filesystem::path folder_;
  std::shared_ptr<Children> children_;
  std::shared_ptr<ChildProcess> sandbox_;
  std::string url_;
  std::string rtmUrl_;
};

/// Someone in the story: each thing that they do is a process with their store.
class Actor {
 public:
  Actor(DemoStage& stage, std::string_view name) : stage_(stage), name_(name) {}

  Scene run(const std::vector<std::string>& arguments, const std::string& input = {});
  /// The same where nothing may go wrong: its result.
  json::Value succeed(const std::vector<std::string>& arguments, const std::string& input = {});
  /// The same of a command with several results.
  std::vector<json::Value> succeedWithAll(const std::vector<std::string>& arguments);
  /// The same where that error is to come of it.
  void failWith(std::string_view type, const std::vector<std::string>& arguments);
  /// Starts something that goes on beside the story.
  std::shared_ptr<ChildProcess> start(const std::vector<std::string>& arguments) {
    return stage_.start(name_, arguments);
  }
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  DemoStage& stage_;
  const std::string name_;
};

/// Ends the processes of a stage that run, and lets no other start.
void interrupt(DemoStage::Children& children);

// Checks: they throw a Surprise that tells what was expected.

void expectEqual(std::string_view what, const json::Value& expected, const json::Value& got);
void expectContains(std::string_view what, std::string_view text, std::string_view part);
/// The member at a dotted path, "userInfo.userId".
[[nodiscard]] const json::Value& at(const json::Value& value, std::string_view path);
[[nodiscard]] const std::string& textAt(const json::Value& value, std::string_view path);
[[nodiscard]] std::int64_t integerAt(const json::Value& value, std::string_view path);
/// A line of JSON.
[[nodiscard]] json::Value parsed(const std::string& text);

}  // namespace zavelo::command
