#pragma once

#include <vector>

#include "sandbox/control/action.hpp"

namespace zavelo::sandbox {

/// What the apps of a stream's host and of its viewers send into its channel.
[[nodiscard]] std::vector<Action> channelActions();

}  // namespace zavelo::sandbox
