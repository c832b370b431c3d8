#pragma once

#include <vector>

#include "sandbox/streams/stream_operation.hpp"

namespace zavelo::sandbox {

/// Creating, beginning, pausing, resuming and ending a stream, its details and its totals.
[[nodiscard]] std::vector<Endpoint> streamLifeEndpoints(StreamContext& context);

/// Finding streams: those of a user, a locked one by its password, and the tags.
[[nodiscard]] std::vector<Endpoint> streamListEndpoints(StreamContext& context);

/// Views, likes, reports and shares.
[[nodiscard]] std::vector<Endpoint> audienceEndpoints(StreamContext& context);

/// What an owner shows beside the video: cover, chat, pinned message, floating text, co-hosts.
[[nodiscard]] std::vector<Endpoint> studioEndpoints(StreamContext& context);

}  // namespace zavelo::sandbox
