#include "sandbox/streams/stream.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "sandbox/media/files.hpp"
#include "sandbox/state/table.hpp"
#include "sandbox/streams/totals.hpp"

namespace zavelo::sandbox {
namespace {

constexpr std::array<std::string_view, 4> statusNames{"created", "live", "paused", "ended"};

constexpr auto table = tableOf<Stream>(
    "streams", key<&Stream::id>(), column<&Stream::slug>(), column<&Stream::owner>(),
    column<&Stream::plan, &StreamPlan::title>(), column<&Stream::plan, &StreamPlan::tag>(),
    column<&Stream::plan, &StreamPlan::latitude>(), column<&Stream::plan, &StreamPlan::longitude>(),
    column<&Stream::plan, &StreamPlan::address>(), column<&Stream::plan, &StreamPlan::resolution>(),
    column<&Stream::plan, &StreamPlan::countryCode>(),
    column<&Stream::plan, &StreamPlan::screenType>(),
    column<&Stream::plan, &StreamPlan::streamType>(),
    column<&Stream::plan, &StreamPlan::roomType>(), column<&Stream::passwordHash>("password"),
    column<&Stream::status>(), column<&Stream::created>(), column<&Stream::begun>(),
    column<&Stream::ended>(), column<&Stream::liveSince>(), column<&Stream::liveBefore>(),
    column<&Stream::isRecorded>("recorded"), column<&Stream::pinned>(), column<&Stream::position>(),
    computed<&Stream::viewCount>(totals::views), computed<&Stream::likeCount>(totals::likes),
    computed<&Stream::giftCount>(totals::gifts), computed<&Stream::totalGold>(totals::gold),
    computed<&Stream::coverName>(
        "(SELECT name FROM media WHERE shelf = 'covers' AND owner = streams.id)"),
    computed<&Stream::chatName>(
        "(SELECT name FROM media WHERE shelf = 'chats' AND owner = streams.id)"));

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
  return table.find(transaction, "slug = ?", slug);
}

std::vector<Stream> lockedStreamsByTitle(Transaction& transaction, std::string_view title) {
  return table.list(transaction, "title = ? AND password IS NOT NULL ORDER BY id DESC LIMIT 10",
                    title);
}

std::vector<Stream> streamsOf(Transaction& transaction, std::int64_t owner, bool withUnbegun,
                              std::int64_t olderThan, std::int64_t limit) {
  return table.list(transaction,
                    "owner = ?1 AND (?2 OR begun IS NOT NULL) AND (?3 = 0 OR id < ?3) "
                    "ORDER BY id DESC LIMIT ?4",
                    owner, withUnbegun, olderThan, limit);
}

std::vector<Stream> allStreams(Transaction& transaction) {
  return table.list(transaction, "true ORDER BY id");
}

Stream addStream(Transaction& transaction, std::string_view slug, std::int64_t owner,
                 const StreamPlan& plan, const std::optional<std::string>& passwordHash, Time now) {
  Stream stream;
  stream.slug = slug;
  stream.owner = owner;
  stream.plan = plan;
  stream.passwordHash = passwordHash;
  stream.created = now;
  stream.id = table.insert(transaction, stream);
  return stream;
}

void dropStream(Transaction& transaction, const Stream& stream) {
  dropFile(transaction, streamCovers, stream.id);
  dropFile(transaction, streamChats, stream.id);
  transaction.run("DELETE FROM streams WHERE id = ?", stream.id);
}

void goLive(Transaction& transaction, const Stream& stream, Time now) {
  transaction.run(
      "UPDATE streams SET status = ?1, live_since = ?2, begun = coalesce(begun, ?2) WHERE id = ?3",
      StreamStatus::live, now, stream.id);
}

void goPaused(Transaction& transaction, const Stream& stream, Time now) {
  transaction.run("UPDATE streams SET status = ?, live_since = NULL, live_before = ? WHERE id = ?",
                  StreamStatus::paused, timeLive(stream, now), stream.id);
}

void goEnded(Transaction& transaction, const Stream& stream, Time now) {
  goPaused(transaction, stream, now);
  transaction.run("UPDATE streams SET status = ?, ended = ? WHERE id = ?", StreamStatus::ended, now,
                  stream.id);
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
