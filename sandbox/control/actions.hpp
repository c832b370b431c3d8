#pragma once

#include "sandbox/api/endpoint.hpp"
#include "sandbox/control/control_endpoints.hpp"

namespace zavelo::sandbox {

/// Does what an administrator or another device would do, as its `action` says.
[[nodiscard]] Endpoint actionEndpoint(ControlContext& context);

}  // namespace zavelo::sandbox
