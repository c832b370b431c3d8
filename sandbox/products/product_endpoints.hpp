#pragma once

#include <vector>

#include "sandbox/api/endpoint.hpp"
#include "sandbox/streams/stream_operation.hpp"

namespace zavelo::sandbox {

/// A seller's catalogue, and the same as a stream's viewers see it.
[[nodiscard]] std::vector<Endpoint> productEndpoints(StreamContext& context);

}  // namespace zavelo::sandbox
