#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "zavelo/messaging/engines/mqtt/loop_internal.hpp"
#include "zavelo/messaging/engines/mqtt/stream_internal.hpp"

namespace zavelo::detail {

/// Looks host names up on threads of its own, as a name server may take long to say nothing. Any
/// thread.
class MqttResolver : public std::enable_shared_from_this<MqttResolver> {
 public:
  struct Answer {
    std::vector<MqttAddress> addresses{};
    std::string problem{};  ///< when there is no address
  };
  using Taker = std::function<void(const Answer&)>;

  /// Calls back on the loop's thread, if that still runs. One look-up serves all who ask for the
  /// same at the same time.
  void resolve(const std::string& host, std::uint16_t port, MqttLoop& loop, const Taker& taker);

 private:
  using Name = std::pair<std::string, std::uint16_t>;

  void lookUpLater(const Name& name, Taker taker);
  void answer(const Name& name, const Answer& answer);

  std::mutex mutex_;
  std::map<Name, std::vector<Taker>> waiting_;
};

}  // namespace zavelo::detail
