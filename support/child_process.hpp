#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace zavelo::test {

/// A program that the test runs beside itself. It is killed when the object goes.
class ChildProcess {
 public:
  /// `arguments` begin with the program.
  explicit ChildProcess(std::vector<std::string> arguments);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The next line of the child's standard output, without its line break; empty at the end.
  [[nodiscard]] std::string readLine();
  /// Ends it with SIGKILL; what it has printed can still be read.
  void kill();
  /// The exit status, or minus the signal that ended it.
  int wait();

 private:
  pid_t process_ = -1;
  int output_ = -1;
};

}  // namespace zavelo::test
