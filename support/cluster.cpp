#include "support/cluster.hpp"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace zavelo::test {

Cluster::Cluster(const std::string& kind) : script_({ZAVELO_CLUSTER_SCRIPT, kind}) {
  // "node 1: mqtt://127.0.0.1:18831" for each node, then "all: " and the addresses in one.
  const auto first = script_.readLine();
  for (int node = 2; node <= nodeCount; ++node) (void)script_.readLine();
  const auto last = script_.readLine();
  if (!last.starts_with("all: ")) throw std::runtime_error("the cluster does not start");
  port_ = first.substr(first.rfind(':') + 1);
  addressOfAll_ = last.substr(last.find("mqtt:"));
}

std::string Cluster::addressOf(int node) const {
  return "mqtt://127.0.0.1:" + std::to_string(std::stoi(port_) + node - 1);
}

pid_t Cluster::processOf(int node) const {
  const auto folder = std::filesystem::temp_directory_path() / ("zavelo-cluster-" + port_);
  pid_t process = 0;
  std::ifstream(folder / (std::to_string(node) + ".pid")) >> process;
  return process;
}

void Cluster::control(const char* action, int node) const {
  if (ChildProcess({ZAVELO_CLUSTER_SCRIPT, action, std::to_string(node), port_}).wait() != 0)
    throw std::runtime_error(std::string("the cluster's script cannot ") + action + " a node");
}

}  // namespace zavelo::test
