#pragma once

#include <string>

#include "zavelo/api/api_service.hpp"

namespace zavelo::detail {

/// The call that buys new tokens. It is logged by whoever makes it, and never renewed itself.
[[nodiscard]] ApiRequest renewalRequest(const std::string& refreshToken);

}  // namespace zavelo::detail
