#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "zavelo/base/result.hpp"

struct mosquitto;

namespace zavelo::sandbox {

/// A connection to a broker on this machine, with a thread of its own. Comes back after a break.
class BrokerConnection {
 public:
  struct Handlers {
    std::function<void()> lost;  ///< until it comes back, and what is retained with it
    std::function<void(const std::string& topic, const std::string& payload)> received;
  };
  /// Listens to the topics of the filter when it returns.
  static Result<std::unique_ptr<BrokerConnection>, std::string> open(std::uint16_t port,
                                                                     const std::string& userName,
                                                                     const std::string& filter,
                                                                     Handlers handlers);
  BrokerConnection(const BrokerConnection&) = delete;
  BrokerConnection& operator=(const BrokerConnection&) = delete;
  ~BrokerConnection();

  /// Sends it at least once, if later. False: the broker would never take it.
  bool publish(const std::string& topic, const std::string& payload);

 private:
  struct Callbacks;
  BrokerConnection(std::string filter, Handlers handlers);
  [[nodiscard]] bool waitUntilItListens();

  const std::string filter_;
  const Handlers handlers_;
  mosquitto* handle_ = nullptr;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool listens_ = false;
};

}  // namespace zavelo::sandbox
