#include "sandbox/streams/audience.hpp"

namespace zavelo::sandbox {
namespace {

void ensureReaction(Transaction& transaction, std::int64_t stream, const Identity& user) {
  transaction.run("INSERT OR IGNORE INTO reactions (stream, member, guest) VALUES (?, ?, ?)",
                  stream, user.member, user.guest);
}

}  // namespace

void watch(Transaction& transaction, std::int64_t stream, const Identity& user, Time now) {
  const auto refreshed = transaction.run(
      "UPDATE view_sessions SET seen = ? "
      "WHERE stream = ? AND member IS ? AND guest IS ? AND ended IS NULL",
      now, stream, user.member, user.guest);
  if (refreshed > 0) return;
  transaction.run(
      "INSERT INTO view_sessions (stream, member, guest, begun, seen) VALUES (?1, ?2, ?3, ?4, ?4)",
      stream, user.member, user.guest, now);
}

std::optional<std::int64_t> viewSessionOf(Transaction& transaction, std::int64_t stream,
                                          const Identity& user) {
  return transaction.find<std::int64_t>(
      "SELECT id FROM view_sessions "
      "WHERE stream = ? AND member IS ? AND guest IS ? AND ended IS NULL",
      stream, user.member, user.guest);
}

bool stopWatching(Transaction& transaction, std::int64_t stream, const Identity& user, Time now) {
  return transaction.run(
             "UPDATE view_sessions SET ended = ? "
             "WHERE stream = ? AND member IS ? AND guest IS ? AND ended IS NULL",
             now, stream, user.member, user.guest) > 0;
}

void stopAllWatching(Transaction& transaction, std::int64_t stream, Time now) {
  transaction.run("UPDATE view_sessions SET ended = ? WHERE stream = ? AND ended IS NULL", now,
                  stream);
}

std::vector<Viewer> viewersOf(Transaction& transaction, std::int64_t stream, std::int64_t skip,
                              std::int64_t limit) {
  std::vector<Viewer> viewers;
  using Id = std::optional<std::int64_t>;
  for (const auto& [member, guest] :
       transaction.rows<Id, Id>("SELECT member, guest FROM view_sessions WHERE stream = ? "
                                "AND ended IS NULL ORDER BY id LIMIT ? OFFSET ?",
                                stream, limit, skip)) {
    viewers.push_back({member, guest});
  }
  return viewers;
}

Reaction reactionOf(Transaction& transaction, std::int64_t stream, const Identity& user) {
  const auto row = transaction.first<bool, bool, bool, bool>(
      "SELECT likes > 0, liked_uniquely, report IS NOT NULL, unlocked FROM reactions "
      "WHERE stream = ? AND member IS ? AND guest IS ?",
      stream, user.member, user.guest);
  if (!row) return {};
  const auto& [hasLiked, hasLikedUniquely, hasReported, hasUnlocked] = *row;
  return {hasLiked, hasLikedUniquely, hasReported, hasUnlocked};
}

void like(Transaction& transaction, std::int64_t stream, const Identity& user, std::int64_t count) {
  ensureReaction(transaction, stream, user);
  transaction.run(
      "UPDATE reactions SET likes = likes + ? WHERE stream = ? AND member IS ? AND guest IS ?",
      count, stream, user.member, user.guest);
}

void likeUniquely(Transaction& transaction, std::int64_t stream, const Identity& user) {
  like(transaction, stream, user, 1);
  transaction.run(
      "UPDATE reactions SET liked_uniquely = 1 WHERE stream = ? AND member IS ? AND guest IS ?",
      stream, user.member, user.guest);
}

void report(Transaction& transaction, std::int64_t stream, const Identity& user,
            std::string_view reason) {
  ensureReaction(transaction, stream, user);
  transaction.run("UPDATE reactions SET report = ? WHERE stream = ? AND member IS ? AND guest IS ?",
                  reason, stream, user.member, user.guest);
}

bool unreport(Transaction& transaction, std::int64_t stream, const Identity& user) {
  return transaction.run(
             "UPDATE reactions SET report = NULL "
             "WHERE report IS NOT NULL AND stream = ? AND member IS ? AND guest IS ?",
             stream, user.member, user.guest) > 0;
}

void unlock(Transaction& transaction, std::int64_t stream, const Identity& user) {
  ensureReaction(transaction, stream, user);
  transaction.run(
      "UPDATE reactions SET unlocked = 1 WHERE stream = ? AND member IS ? AND guest IS ?", stream,
      user.member, user.guest);
}

}  // namespace zavelo::sandbox
