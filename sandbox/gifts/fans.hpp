#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

/// Who gave gifts to a member, and for how much gold.
struct Fan {
  std::int64_t member = 0;
  std::string userName;
  std::string displayName;
  std::int64_t gold = 0;
};

/// Up to `limit` of those who gave since then, the most generous first.
[[nodiscard]] std::vector<Fan> topFansOf(Transaction& transaction, std::int64_t receiver,
                                         Time since, std::int64_t limit);

/// The sender's place among all who ever gave, from 1.
[[nodiscard]] std::int64_t rankAmongFans(Transaction& transaction, std::int64_t receiver,
                                         std::int64_t sender);

/// The start of the day, UTC.
[[nodiscard]] Time startOfDay(Time now);

}  // namespace zavelo::sandbox
