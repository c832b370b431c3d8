#pragma once

#include <sys/types.h>

#include <string>

#include "support/child_process.hpp"

namespace zavelo::test {

/// Three brokers that are one to their clients, started by `scripts/cluster` as a developer does
/// it. They end with this object, and with this process.
class Cluster {
 public:
  static constexpr int nodeCount = 3;

  /// `kind`: "bridge" or "ejabberd". Throws when it does not start, with the reason on standard
  /// error.
  explicit Cluster(const std::string& kind);

  /// Of a node, from 1 on.
  [[nodiscard]] std::string addressOf(int node) const;
  [[nodiscard]] const std::string& addressOfAll() const { return addressOfAll_; }
  [[nodiscard]] pid_t processOf(int node) const;
  /// Ends a node as a power cut does.
  void kill(int node) const { control("kill", node); }
  /// Starts a node that was killed, and waits until it is ready.
  void start(int node) const { control("start", node); }

 private:
  void control(const char* action, int node) const;

  ChildProcess script_;
  std::string port_;  // of node 1
  std::string addressOfAll_;
};

}  // namespace zavelo::test
