#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "zavelo/base/result.hpp"

namespace zavelo::command {

/// What a process printed and how it ended.
struct ChildOutcome {
  int status = 0;  ///< its exit status, or 128 and the number of the signal that ended it
  std::string output;
  std::string error;  ///< what it wrote to standard error
};

/// A process of ours, reachable through pipes. It inherits the environment but for the variables
/// that this command reads, and no signal settings.
class ChildProcess {
 public:
  /// Starts the program. The error is a sentence.
  [[nodiscard]] static Result<std::unique_ptr<ChildProcess>, std::string> start(
      const std::filesystem::path& program, const std::vector<std::string>& arguments);
  /// A process that was not waited for is killed.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Writes to its standard input, which ends when somebody waits for the process's end.
  void write(std::string_view text);
  /// Waits for the next line of its output and returns it; what there is if it ends before.
  [[nodiscard]] std::string nextLine();
  /// Waits for its end. Its whole output is in the outcome.
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
  int input_ = -1;
  std::size_t read_ = 0;  // how much of the output has been returned by lines
  Stream output_;
  Stream error_;
};

}  // namespace zavelo::command
