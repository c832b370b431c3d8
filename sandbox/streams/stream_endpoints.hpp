#pragma once

#include <vector>

#include "sandbox/streams/stream_operation.hpp"

namespace zavelo::sandbox {

/// Creating, beginning, pausing, resuming and ending a stream, its details and its totals.
[[nodiscard]] std::vector<Endpoint> streamLifeEndpoints(StreamRoom& room);

/// Finding streams: those of a user, a locked one by its password, and the tags.
[[nodiscard]] std::vector<Endpoint> streamListEndpoints(StreamRoom& room);

/// Views, likes, reports and shares.
[[nodiscard]] std::vector<Endpoint> audienceEndpoints(StreamRoom& room);

/// What an owner shows beside the video: cover, chat, pinned message, floating text, co-hosts.
[[nodiscard]] std::vector<Endpoint> studioEndpoints(StreamRoom& room);

}  // namespace zavelo::sandbox
