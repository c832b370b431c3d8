#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sandbox/state/database.hpp"
#include "sandbox/state/time.hpp"

namespace zavelo::sandbox {

/// A stage in the life of a stream, and the `status` of its record.
enum class StreamStatus : std::int64_t {
  created = 0,
  live = 1,
  paused = 2,  ///< its owner left and may resume it
  ended = 3,
};
/// The record's `statusMessage`: "live".
[[nodiscard]] std::string_view nameOf(StreamStatus status);
[[nodiscard]] std::optional<StreamStatus> statusNamed(std::string_view name);

/// What its owner says about a stream when creating it.
struct StreamPlan {
  std::string title;
  std::string tag;  ///< name
  double latitude = 0;
  double longitude = 0;
  std::string address;
  std::int64_t resolution = 0;
  std::string countryCode;
  std::int64_t screenType = 0;
  std::int64_t streamType = 0;
  std::optional<std::int64_t> roomType;
};

/// A stream as the database has it.
struct Stream {
  std::int64_t id = 0;
  std::string slug;
  std::int64_t owner = 0;
  StreamPlan plan;
  std::optional<std::string> passwordHash;  ///< none: not locked
  StreamStatus status = StreamStatus::created;
  Time created{};
  std::optional<Time> begun;
  std::optional<Time> ended;
  std::optional<Time> liveSince;  ///< only while it is live
  std::chrono::milliseconds liveBefore{0};
  bool isRecorded = false;
  std::string pinned;
  std::string position;
  std::int64_t viewCount = 0;
  std::int64_t likeCount = 0;
  std::int64_t giftCount = 0;
  std::int64_t totalGold = 0;            ///< what its gifts cost
  std::optional<std::string> coverName;  ///< of the file on its shelf
  std::optional<std::string> chatName;
};

[[nodiscard]] std::optional<Stream> streamBySlug(Transaction& transaction, std::string_view slug);
/// The newest first, at most ten: each costs its caller the time of a password's check.
[[nodiscard]] std::vector<Stream> lockedStreamsByTitle(Transaction& transaction,
                                                       std::string_view title);
/// Up to `limit` streams, the newest first, all older than the one of that id (0: from the newest
/// on). Those that were never begun only if asked for.
[[nodiscard]] std::vector<Stream> streamsOf(Transaction& transaction, std::int64_t owner,
                                            bool withUnbegun, std::int64_t olderThan,
                                            std::int64_t limit);

/// The oldest first.
[[nodiscard]] std::vector<Stream> allStreams(Transaction& transaction);

/// Adds a stream and returns it. The slug is free.
Stream addStream(Transaction& transaction, std::string_view slug, std::int64_t owner,
                 const StreamPlan& plan, const std::optional<std::string>& passwordHash, Time now);
/// Deletes the stream and everything that hangs off it.
void dropStream(Transaction& transaction, const Stream& stream);

// The steps of its life. The caller knows that the step can be taken now.
void goLive(Transaction& transaction, const Stream& stream, Time now);
void goPaused(Transaction& transaction, const Stream& stream, Time now);
void goEnded(Transaction& transaction, const Stream& stream, Time now);

/// Locks the stream, or unlocks it without a password. Who gave the one before must give this one.
void setPassword(Transaction& transaction, const Stream& stream,
                 const std::optional<std::string>& hash);

void setPinned(Transaction& transaction, const Stream& stream, std::string_view text);
void setPosition(Transaction& transaction, const Stream& stream, std::string_view position);

/// How long it has been live, pauses aside; whole seconds.
[[nodiscard]] std::int64_t secondsLive(const Stream& stream, Time now);

}  // namespace zavelo::sandbox
