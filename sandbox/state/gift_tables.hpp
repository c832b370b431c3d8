#pragma once

namespace zavelo::sandbox {

/// Wallets and the gifts that were given.
inline constexpr const char* giftTables = R"sql(
ALTER TABLE members ADD COLUMN gold           INTEGER NOT NULL DEFAULT 1000;
ALTER TABLE members ADD COLUMN beans          INTEGER NOT NULL DEFAULT 0;
ALTER TABLE members ADD COLUMN gold_from_fans INTEGER NOT NULL DEFAULT 0;
ALTER TABLE members ADD COLUMN gifts_received INTEGER NOT NULL DEFAULT 0;
ALTER TABLE members ADD COLUMN gifts_sent     INTEGER NOT NULL DEFAULT 0;

CREATE TABLE gifts (
  id       INTEGER PRIMARY KEY AUTOINCREMENT,
  stream   INTEGER REFERENCES streams ON DELETE SET NULL,
  sender   INTEGER NOT NULL REFERENCES members,
  receiver INTEGER NOT NULL REFERENCES members,
  gift     INTEGER NOT NULL,  -- of the catalogue, which may have changed since
  amount   INTEGER NOT NULL,
  gold     INTEGER NOT NULL,  -- for all of them
  given    INTEGER NOT NULL
) STRICT;
CREATE INDEX gifts_of_stream ON gifts (stream, receiver);
CREATE INDEX gifts_of_receiver ON gifts (receiver, given, sender, gold);
)sql";

}  // namespace zavelo::sandbox
