#pragma once

#include <cstdint>
#include <vector>

#include "sandbox/api/envelope.hpp"
#include "sandbox/settings/gift.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"
#include "sandbox/streams/stream.hpp"
#include "sandbox/users/members.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// A gift that was given, and the state after it.
struct GivenGift {
  Stream stream;
  Gift gift;
  std::int64_t amount = 0;
  std::int64_t gold = 0;  ///< what all of them cost
  Member sender;
  Member receiver;
  std::int64_t rank = 0;  ///< the sender's among the receiver's fans
};

/// The gift of that id; the problem names the parameter.
[[nodiscard]] Result<Gift, Problem> offeredGift(const std::vector<Gift>& gifts, std::int64_t id);

/// Pays for the gifts and records them. The problem: the sender is the receiver, or the wallets
/// do not allow it. Then nothing changes.
[[nodiscard]] Result<GivenGift, Problem> give(Transaction& transaction, const Stream& stream,
                                              const Gift& gift, std::int64_t amount,
                                              std::int64_t sender, std::int64_t receiver, Time now);

/// What is given at once, at most.
inline constexpr double mostGiftsAtOnce = 9999;

}  // namespace zavelo::sandbox
