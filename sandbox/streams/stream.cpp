#include "sandbox/streams/stream.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "sandbox/media/files.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::array<std::string_view, 4> statusNames{"created", "live", "paused", "ended"};

/// The query of whole streams under that condition.
std::string streamsWhere(std::string_view condition) {
  return std::string(
             "SELECT s.id, s.slug, s.owner, s.title, s.tag, s.latitude, s.longitude, s.address, "
             "s.resolution, s.country_code, s.screen_type, s.stream_type, s.room_type, "
             "s.password, s.status, s.created, s.begun, s.ended, s.live_since, s.live_before, "
             "s.recorded, s.pinned, s.position, "
             "(SELECT count(*) FROM view_sessions WHERE stream = s.id), "
             "(SELECT coalesce(sum(likes), 0) FROM reactions WHERE stream = s.id), "
             "(SELECT name FROM media WHERE shelf = 'covers' AND owner = s.id), "
             "(SELECT name FROM media WHERE shelf = 'chats' AND owner = s.id), "
             "(SELECT coalesce(sum(amount), 0) FROM gifts WHERE stream = s.id), "
             "(SELECT coalesce(sum(gold), 0) FROM gifts WHERE stream = s.id) "
             "FROM streams s WHERE ")
      .append(condition);
}

StreamPlan planIn(const Row& row) {
  return {.title = row.text(3),
          .tag = row.text(4),
          .latitude = row.real(5),
          .longitude = row.real(6),
          .address = row.text(7),
          .resolution = row.integer(8),
          .countryCode = row.text(9),
          .screenType = row.integer(10),
          .streamType = row.integer(11),
          .roomType = row.integerOrNone(12)};
}

std::optional<Time> timeOrNone(const Row& row, std::size_t column) {
  return row.isNull(column) ? std::nullopt : std::optional(fromStored(row.integer(column)));
}

Stream streamIn(const Row& row) {
  return {.id = row.integer(0),
          .slug = row.text(1),
          .owner = row.integer(2),
          .plan = planIn(row),
          .passwordHash = row.textOrNone(13),
          .status = static_cast<StreamStatus>(row.integer(14)),
          .created = fromStored(row.integer(15)),
          .begun = timeOrNone(row, 16),
          .ended = timeOrNone(row, 17),
          .liveSince = timeOrNone(row, 18),
          .liveBefore = std::chrono::milliseconds(row.integer(19)),
          .isRecorded = row.integer(20) != 0,
          .pinned = row.text(21),
          .position = row.text(22),
          .viewCount = row.integer(23),
          .likeCount = row.integer(24),
          .giftCount = row.integer(27),
          .totalGold = row.integer(28),
          .coverName = row.textOrNone(25),
          .chatName = row.textOrNone(26)};
}

std::vector<Stream> streamsIn(const std::vector<Row>& rows) {
  std::vector<Stream> streams;
  for (const auto& row : rows) streams.push_back(streamIn(row));
  return streams;
}

std::chrono::milliseconds timeLive(const Stream& stream, Time now) {
  return stream.liveBefore + (stream.liveSince ? now - *stream.liveSince : Time::duration(0));
}

}  // namespace

std::string_view nameOf(StreamStatus status) {
  return statusNames.at(static_cast<std::size_t>(status));
}

std::optional<StreamStatus> statusNamed(std::string_view name) {
  const auto* found = std::ranges::find(statusNames, name);
  if (found == statusNames.end()) return {};
  return static_cast<StreamStatus>(found - statusNames.begin());
}

std::optional<Stream> streamBySlug(Transaction& transaction, std::string_view slug) {
  static const std::string query = streamsWhere("s.slug = ?");
  const auto row = transaction.first(query, slug);
  return row ? std::optional(streamIn(*row)) : std::nullopt;
}

std::vector<Stream> lockedStreamsByTitle(Transaction& transaction, std::string_view title) {
  static const std::string query =
      streamsWhere("s.title = ? AND s.password IS NOT NULL ORDER BY s.id DESC LIMIT 10");
  return streamsIn(transaction.all(query, title));
}

std::vector<Stream> streamsOf(Transaction& transaction, std::int64_t owner, bool withUnbegun,
                              std::int64_t olderThan, std::int64_t limit) {
  static const std::string query = streamsWhere(
      "s.owner = ?1 AND (?2 OR s.begun IS NOT NULL) AND (?3 = 0 OR s.id < ?3) "
      "ORDER BY s.id DESC LIMIT ?4");
  return streamsIn(transaction.all(query, owner, withUnbegun, olderThan, limit));
}

std::vector<Stream> allStreams(Transaction& transaction) {
  return streamsIn(transaction.all(streamsWhere("true ORDER BY s.id")));
}

Stream addStream(Transaction& transaction, std::string_view slug, std::int64_t owner,
                 const StreamPlan& plan, const std::optional<std::string>& passwordHash, Time now) {
  transaction.run(
      "INSERT INTO streams (slug, owner, title, tag, latitude, longitude, address, resolution, "
      "country_code, screen_type, stream_type, room_type, password, created) "
      "VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
      slug, owner, plan.title, plan.tag, plan.latitude, plan.longitude, plan.address,
      plan.resolution, plan.countryCode, plan.screenType, plan.streamType, plan.roomType,
      passwordHash, stored(now));
  return *streamBySlug(transaction, slug);
}

void dropStream(Transaction& transaction, const Stream& stream) {
  dropFile(transaction, streamCovers, stream.id);
  dropFile(transaction, streamChats, stream.id);
  transaction.run("DELETE FROM streams WHERE id = ?", stream.id);
}

void goLive(Transaction& transaction, const Stream& stream, Time now) {
  transaction.run(
      "UPDATE streams SET status = ?1, live_since = ?2, begun = coalesce(begun, ?2) WHERE id = ?3",
      static_cast<std::int64_t>(StreamStatus::live), stored(now), stream.id);
}

void goPaused(Transaction& transaction, const Stream& stream, Time now) {
  transaction.run("UPDATE streams SET status = ?, live_since = NULL, live_before = ? WHERE id = ?",
                  static_cast<std::int64_t>(StreamStatus::paused), timeLive(stream, now).count(),
                  stream.id);
}

void goEnded(Transaction& transaction, const Stream& stream, Time now) {
  goPaused(transaction, stream, now);
  transaction.run("UPDATE streams SET status = ?, ended = ? WHERE id = ?",
                  static_cast<std::int64_t>(StreamStatus::ended), stored(now), stream.id);
}

void setPassword(Transaction& transaction, const Stream& stream,
                 const std::optional<std::string>& hash) {
  transaction.run("UPDATE streams SET password = ? WHERE id = ?", hash, stream.id);
  transaction.run("UPDATE reactions SET unlocked = 0 WHERE stream = ?", stream.id);
}

void setPinned(Transaction& transaction, const Stream& stream, std::string_view text) {
  transaction.run("UPDATE streams SET pinned = ? WHERE id = ?", text, stream.id);
}

void setPosition(Transaction& transaction, const Stream& stream, std::string_view position) {
  transaction.run("UPDATE streams SET position = ? WHERE id = ?", position, stream.id);
}

std::int64_t secondsLive(const Stream& stream, Time now) {
  return std::chrono::floor<std::chrono::seconds>(timeLive(stream, now)).count();
}

}  // namespace zavelo::sandbox
