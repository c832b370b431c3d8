#pragma once

namespace zavelo::sandbox {

/// Polls. A channel has both members and guests, so new guests get ids far from those
/// of members.
inline constexpr const char* channelTables = R"sql(
INSERT INTO sqlite_sequence (name, seq)
  SELECT 'guests', 0 WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE name = 'guests');
UPDATE sqlite_sequence SET seq = seq + 1000000000 WHERE name = 'guests';

CREATE TABLE polls (
  id       INTEGER PRIMARY KEY AUTOINCREMENT,
  stream   INTEGER NOT NULL REFERENCES streams ON DELETE CASCADE,
  title    TEXT NOT NULL,
  question TEXT NOT NULL,
  option1  TEXT NOT NULL,
  option2  TEXT NOT NULL,
  option3  TEXT,
  status   INTEGER NOT NULL DEFAULT 1
) STRICT;
CREATE UNIQUE INDEX running_polls ON polls (stream) WHERE status = 1;

CREATE TABLE poll_votes (
  poll   INTEGER NOT NULL REFERENCES polls ON DELETE CASCADE,
  voter  TEXT,  -- user id in the channel; null: unknown
  choice INTEGER NOT NULL,
  count  INTEGER NOT NULL,
  UNIQUE (poll, voter)
) STRICT;
)sql";

inline constexpr const char* hostPollColumns = R"sql(
ALTER TABLE polls ADD COLUMN host_id INTEGER;  -- the id that the host's app gave it; null: none
)sql";

}  // namespace zavelo::sandbox
