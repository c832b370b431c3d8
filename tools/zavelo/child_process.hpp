#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "zavelo/base/result.hpp"

namespace zavelo::command {

/// What a process left behind.
struct ChildOutcome {
  int status = 0;  ///< its exit status, or 128 and the number of the signal that ended it
  std::string output;
  std::string error;  ///< what it wrote to standard error
};

/// A process of ours, reachable through pipes. It inherits the environment but for the variables
/// that this command reads, and no signal settings.
class ChildProcess {
 public:
  /// Starts the program; `input` is all it finds on its standard input. The error is a sentence.
  [[nodiscard]] static Result<std::unique_ptr<ChildProcess>, std::string> start(
      const std::filesystem::path& program, const std::vector<std::string>& arguments,
      const std::string& input = {});
  /// A process that nobody waited for is killed.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits for the first line of its output and returns it; what there is if it ends before.
  [[nodiscard]] std::string firstLine();
  /// Waits for its end.
  [[nodiscard]] ChildOutcome wait();
  /// Nothing to one that has ended. Any thread.
  void signal(int number);

 private:
  ChildProcess() = default;
  bool readSome();  // false at the end of both streams
  int reap();

  struct Stream {
    int descriptor = -1;
    std::string text;
    ~Stream();
    void readSome();
    void close();
  };

  std::mutex mutex_;  // guards pid_
  pid_t pid_ = 0;     // 0 once it was waited for
  Stream output_;
  Stream error_;
};

}  // namespace zavelo::command
