#pragma once

#include <cstdint>
#include <optional>

#include "sandbox/state/database.hpp"

namespace zavelo::sandbox {

struct CoHost {
  std::int64_t member = 0;
  std::int64_t position = 0;
};

[[nodiscard]] std::optional<CoHost> coHostAt(Transaction& transaction, std::int64_t stream,
                                             std::int64_t position);
/// The stream's co-host who is that member.
[[nodiscard]] std::optional<CoHost> coHostWho(Transaction& transaction, std::int64_t stream,
                                              std::int64_t member);
/// The one with the lowest position.
[[nodiscard]] std::optional<CoHost> firstCoHost(Transaction& transaction, std::int64_t stream);

/// What the gifts that the member received in the stream cost.
[[nodiscard]] std::int64_t goldReceivedIn(Transaction& transaction, std::int64_t stream,
                                          std::int64_t member);

/// The position is free, and the member is no co-host of the stream yet.
void addCoHost(Transaction& transaction, std::int64_t stream, const CoHost& coHost);
/// False when that member is not there.
bool removeCoHost(Transaction& transaction, std::int64_t stream, const CoHost& coHost);

}  // namespace zavelo::sandbox
