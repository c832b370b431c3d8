#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace zavelo::test {

/// Gives a variable of the process's environment back the value that it has now.
class EnvironmentVariable {
 public:
  explicit EnvironmentVariable(const char* name) : name_(name) {
    if (const char* value = std::getenv(name)) before_ = value;
  }
  ~EnvironmentVariable() {
    if (before_) {
      setenv(name_, before_->c_str(), 1);
    } else {
      unsetenv(name_);
    }
  }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

 private:
  const char* const name_;
  std::optional<std::string> before_;
};

}  // namespace zavelo::test
