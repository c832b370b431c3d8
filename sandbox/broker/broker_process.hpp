#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

struct BrokerOptions {
  std::uint16_t port = 0;  ///< 0: any free one
  /// A user of the broker who may read and write everything; empty: no one may. Users need no
  /// password, so it should be no guess.
  std::string master{};
  /// More lines for the broker's configuration, of its listener.
  std::vector<std::string> settings{};
};

/// A message broker (mosquitto) as a child process, on 127.0.0.1 alone. It lets every user read a
/// channel, and write only topics of the user's own name. Ends with this object, and with
/// this process, however that ends.
class BrokerProcess {
 public:
  /// Takes connections when it returns. The error is a sentence for a person.
  static Result<std::unique_ptr<BrokerProcess>, std::string> start(const BrokerOptions& options);
  BrokerProcess(const BrokerProcess&) = delete;
  BrokerProcess& operator=(const BrokerProcess&) = delete;
  ~BrokerProcess();

  [[nodiscard]] std::uint16_t port() const noexcept { return port_; }
  [[nodiscard]] pid_t process() const noexcept { return process_; }
  /// Whether it still runs.
  [[nodiscard]] bool runs() const;

 private:
  BrokerProcess() = default;
  Status<std::string> spawn(const std::filesystem::path& program);
  Status<std::string> waitUntilItListens();

  std::filesystem::path folder_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
  int lifeline_ = -1;  // the child's end reads nothing but its end
};

}  // namespace zavelo::sandbox
