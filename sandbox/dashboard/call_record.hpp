#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "sandbox/dashboard/call_log.hpp"
#include "sandbox/http/message.hpp"
#include "sandbox/state/time.hpp"
#include "zavelo/json/json.hpp"

namespace zavelo::sandbox {

/// A call for the log, pending until its answer is there: readable whatever was sent, without
/// secrets, and long bodies cut.
class CallRecord {
 public:
  struct Arrival {
    std::int64_t number;
    Time at;
    std::string caller;      ///< a member's userName or a guest; empty if unknown
    const Request& request;  ///< an empty one of what never became a request
  };

  explicit CallRecord(const Arrival& arrival);

  void end(const Response& response, std::chrono::microseconds took);
  [[nodiscard]] LoggedCall logged() const;

 private:
  std::int64_t number_;
  bool isPending_ = true;
  json::Object summary_;
  json::Object detail_;
};

}  // namespace zavelo::sandbox
