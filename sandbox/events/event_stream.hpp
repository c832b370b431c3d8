#pragma once

#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/events/event_feed.hpp"

namespace zavelo::sandbox {

/// The feed as server-sent events (WHATWG HTML, section 9.2) at `/sandbox/events`. A reader goes on
/// after its Last-Event-ID, which may also be in the address: `/sandbox/events/<id>`. The event
/// `resync` says that this was not possible.
[[nodiscard]] std::vector<Endpoint> eventStreamEndpoints(EventFeed& feed);

}  // namespace zavelo::sandbox
