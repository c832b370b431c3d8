#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

// What users, members and guests alike, do with a stream.

/// Somebody who watches: a member or a guest.
struct Viewer {
  std::optional<std::int64_t> member;
  std::optional<std::int64_t> guest;
};

/// Opens a view session, which counts as a view, or refreshes the one that is open.
void watch(Transaction& transaction, std::int64_t stream, const Identity& user, Time now);
/// The user's open view session.
[[nodiscard]] std::optional<std::int64_t> viewSessionOf(Transaction& transaction,
                                                        std::int64_t stream, const Identity& user);
/// Ends the user's view session. False when there was none.
bool stopWatching(Transaction& transaction, std::int64_t stream, const Identity& user, Time now);
void stopAllWatching(Transaction& transaction, std::int64_t stream, Time now);
/// Up to `limit` of those who watch now, in the order in which they came, without the first `skip`.
[[nodiscard]] std::vector<Viewer> viewersOf(Transaction& transaction, std::int64_t stream,
                                            std::int64_t skip, std::int64_t limit);

struct Reaction {
  bool hasLiked = false;
  bool hasLikedUniquely = false;
  bool hasReported = false;
  bool hasUnlocked = false;  ///< gave the stream's password
};
[[nodiscard]] Reaction reactionOf(Transaction& transaction, std::int64_t stream,
                                  const Identity& user);
void like(Transaction& transaction, std::int64_t stream, const Identity& user, std::int64_t count);
/// One like; a user has at most one of this kind.
void likeUniquely(Transaction& transaction, std::int64_t stream, const Identity& user);
/// In place of the user's report before.
void report(Transaction& transaction, std::int64_t stream, const Identity& user,
            std::string_view reason);
/// False when there was no report.
bool unreport(Transaction& transaction, std::int64_t stream, const Identity& user);
void unlock(Transaction& transaction, std::int64_t stream, const Identity& user);

}  // namespace zavelo::sandbox
