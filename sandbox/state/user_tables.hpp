#pragma once

namespace zavelo::sandbox {

/// Members, guests and their sessions. Times are milliseconds since 1970, ids never come again.
inline constexpr const char* userTables = R"sql(
CREATE TABLE members (
  id                INTEGER PRIMARY KEY AUTOINCREMENT,
  zavelo_id         TEXT NOT NULL UNIQUE,
  user_name         TEXT NOT NULL UNIQUE COLLATE NOCASE,
  display_name      TEXT NOT NULL,
  folded_name       TEXT NOT NULL,  -- of display_name, for the search
  password          TEXT,           -- hash; null: signs in by zaveloId alone
  gender            TEXT NOT NULL DEFAULT '',
  dob               TEXT NOT NULL DEFAULT '',
  about             TEXT NOT NULL DEFAULT '',
  image             TEXT NOT NULL DEFAULT '',  -- address outside the sandbox, where it has no picture
  latitude          REAL,
  longitude         REAL,
  promo_code        TEXT NOT NULL DEFAULT '',
  promo_description TEXT NOT NULL DEFAULT '',
  banned            INTEGER NOT NULL DEFAULT 0,
  created           INTEGER NOT NULL
) STRICT;

CREATE TABLE pictures (
  member  INTEGER PRIMARY KEY REFERENCES members ON DELETE CASCADE,
  hash    TEXT NOT NULL,  -- of the content, part of the picture's address
  content BLOB NOT NULL
) STRICT;

CREATE TABLE guests (
  id      INTEGER PRIMARY KEY AUTOINCREMENT,
  device  TEXT NOT NULL UNIQUE,
  created INTEGER NOT NULL
) STRICT;

-- Of a member or of a guest. A session that ended is deleted, except where another device took it
-- over: the first device is still told so.
CREATE TABLE sessions (
  id         INTEGER PRIMARY KEY AUTOINCREMENT,
  member     INTEGER REFERENCES members ON DELETE CASCADE,
  guest      INTEGER REFERENCES guests ON DELETE CASCADE,
  device     TEXT NOT NULL,
  taken_over INTEGER NOT NULL DEFAULT 0,
  CHECK ((member IS NULL) <> (guest IS NULL))
) STRICT;
CREATE INDEX sessions_of_member ON sessions (member);
CREATE INDEX sessions_of_guest ON sessions (guest);

-- Only hashes: who reads the file cannot sign in with it.
CREATE TABLE access_tokens (
  hash    BLOB PRIMARY KEY,
  session INTEGER NOT NULL REFERENCES sessions ON DELETE CASCADE,
  expires INTEGER NOT NULL
) STRICT, WITHOUT ROWID;
CREATE INDEX access_tokens_of_session ON access_tokens (session);

CREATE TABLE refresh_tokens (
  hash    BLOB PRIMARY KEY,
  session INTEGER NOT NULL REFERENCES sessions ON DELETE CASCADE,
  expires INTEGER NOT NULL,
  used    INTEGER  -- when it was traded for another one
) STRICT, WITHOUT ROWID;
CREATE INDEX refresh_tokens_of_session ON refresh_tokens (session);
)sql";

}  // namespace zavelo::sandbox
