#pragma once

#include "sandbox/api/endpoint.hpp"
#include "sandbox/events/event_feed.hpp"

namespace zavelo::sandbox {

/// The feed as server-sent events (WHATWG HTML, section 9.2) at `/sandbox/events`. A reader goes on
/// behind its Last-Event-ID, or behind `?after=`; the event `resync` says that this was not
/// possible.
[[nodiscard]] Endpoint eventStreamEndpoint(EventFeed& feed);

}  // namespace zavelo::sandbox
