#pragma once

#include <cstdint>
#include <optional>

#include "sandbox/api/envelope.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/users/members.hpp"

namespace zavelo::sandbox {

/// What a wallet holds at most: JSON carries it everywhere (RFC 8259 section 6).
inline constexpr std::int64_t walletLimit = 9'007'199'254'740'991;
/// What comes into one at once, from outside.
inline constexpr double mostGoldAtOnce = 1e15;

/// The problem: more than the wallet can hold. Then nothing changes.
[[nodiscard]] std::optional<Problem> addGold(Transaction& transaction, const Member& member,
                                             std::int64_t gold);

/// Takes the gold from one member and gives it to another as beans, one for one, in return for that
/// many gifts. The problem: too little gold, or too many beans. Then nothing changes.
[[nodiscard]] std::optional<Problem> payForGifts(Transaction& transaction, const Member& sender,
                                                 const Member& receiver, std::int64_t gold,
                                                 std::int64_t gifts);

}  // namespace zavelo::sandbox
