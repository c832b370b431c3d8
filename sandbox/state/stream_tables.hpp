#pragma once

namespace zavelo::sandbox {

/// Streams, their audience, products, and the files of all of them, profile pictures included.
inline constexpr const char* streamTables = R"sql(
-- Files that are served under /media/<shelf>/<name>. The name changes with the content.
CREATE TABLE media (
  shelf        TEXT NOT NULL,
  owner        INTEGER NOT NULL,  -- a member, stream or product, as the shelf has it
  name         TEXT NOT NULL,
  content_type TEXT NOT NULL,
  content      BLOB NOT NULL,
  PRIMARY KEY (shelf, owner),
  UNIQUE (shelf, name)
) STRICT;
INSERT INTO media
  SELECT 'profiles', member, member || '-' || hash || '.jpeg', 'image/jpeg', content FROM pictures;
DROP TABLE pictures;

CREATE TABLE streams (
  id           INTEGER PRIMARY KEY AUTOINCREMENT,
  slug         TEXT NOT NULL UNIQUE,
  owner        INTEGER NOT NULL REFERENCES members,
  title        TEXT NOT NULL,
  password     TEXT,  -- hash; null: not locked
  tag          TEXT NOT NULL,
  latitude     REAL NOT NULL,
  longitude    REAL NOT NULL,
  address      TEXT NOT NULL,
  resolution   INTEGER NOT NULL,
  country_code TEXT NOT NULL,
  screen_type  INTEGER NOT NULL,
  stream_type  INTEGER NOT NULL,
  room_type    INTEGER,
  status       INTEGER NOT NULL DEFAULT 0,
  created      INTEGER NOT NULL,
  begun        INTEGER,
  ended        INTEGER,
  live_since   INTEGER,                     -- null unless it is live
  live_before  INTEGER NOT NULL DEFAULT 0,  -- milliseconds that it was live before live_since
  recorded     INTEGER NOT NULL DEFAULT 0,
  pinned       TEXT NOT NULL DEFAULT '',
  position     TEXT NOT NULL DEFAULT '',    -- of the floating text, as the app writes it
  shares       INTEGER NOT NULL DEFAULT 0
) STRICT;
CREATE INDEX streams_of_owner ON streams (owner);
CREATE INDEX streams_of_title ON streams (title) WHERE password IS NOT NULL;

-- From the moment a user starts watching to the moment they stop. Without an end it goes on.
CREATE TABLE view_sessions (
  id     INTEGER PRIMARY KEY AUTOINCREMENT,
  stream INTEGER NOT NULL REFERENCES streams ON DELETE CASCADE,
  member INTEGER REFERENCES members,
  guest  INTEGER REFERENCES guests,
  begun  INTEGER NOT NULL,
  seen   INTEGER NOT NULL,  -- when the viewer's app last said that they watch
  ended  INTEGER,
  CHECK ((member IS NULL) <> (guest IS NULL))
) STRICT;
CREATE INDEX view_sessions_of_stream ON view_sessions (stream);

-- What a user did with a stream: how often they liked it, why they reported it, whether they gave
-- its password.
CREATE TABLE reactions (
  stream         INTEGER NOT NULL REFERENCES streams ON DELETE CASCADE,
  member         INTEGER REFERENCES members,
  guest          INTEGER REFERENCES guests,
  likes          INTEGER NOT NULL DEFAULT 0,
  liked_uniquely INTEGER NOT NULL DEFAULT 0,  -- once more is refused
  report         TEXT,
  unlocked       INTEGER NOT NULL DEFAULT 0,
  CHECK ((member IS NULL) <> (guest IS NULL))
) STRICT;
CREATE UNIQUE INDEX reactions_by_user
  ON reactions (stream, coalesce(member, 0), coalesce(guest, 0));

CREATE TABLE co_hosts (
  stream   INTEGER NOT NULL REFERENCES streams ON DELETE CASCADE,
  position INTEGER NOT NULL,
  member   INTEGER NOT NULL REFERENCES members,
  PRIMARY KEY (stream, position),
  UNIQUE (stream, member)
) STRICT, WITHOUT ROWID;

CREATE TABLE products (
  id              INTEGER PRIMARY KEY AUTOINCREMENT,
  seller          INTEGER NOT NULL REFERENCES members,
  order_index     INTEGER NOT NULL,  -- from 0, without gaps
  name            TEXT NOT NULL,
  price           REAL NOT NULL,
  promotion_price REAL NOT NULL,
  description     TEXT NOT NULL,
  url             TEXT NOT NULL,
  sku             TEXT NOT NULL
) STRICT;
CREATE INDEX products_of_seller ON products (seller, order_index);
)sql";

}  // namespace zavelo::sandbox
