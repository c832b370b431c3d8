#pragma once

#include <array>

#include "sandbox/state/channel_tables.hpp"
#include "sandbox/state/gift_tables.hpp"
#include "sandbox/state/stream_tables.hpp"
#include "sandbox/state/user_tables.hpp"

namespace zavelo::sandbox {

/// Marks a database file as a sandbox's ("ZvSb"; SQLite file format, offset 68).
inline constexpr int applicationId = 0x5A765362;

/// Builds the tables. Each step takes a file of one version to the next; a published step never
/// changes, because files were made with it.
inline constexpr std::array schemaSteps{userTables, streamTables, giftTables, channelTables,
                                        hostPollColumns};
inline constexpr int schemaVersion = schemaSteps.size();

}  // namespace zavelo::sandbox
