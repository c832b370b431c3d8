#pragma once

#include <memory>

#include "zavelo/base/export.hpp"

namespace zavelo::detail {

struct ConfigurationState;
struct EngineState;
struct PlatformState;
struct ServicesState;

/// What the library keeps once a process.
struct ProcessState {
  PlatformState* platform = nullptr;
  ConfigurationState* configuration = nullptr;
  EngineState* engine = nullptr;
  ServicesState* services = nullptr;
};

/// Puts `next` in place of the current state and returns that; an empty one is that of a process
/// which has not used the library yet. No other thread may use the library at that time.
ZAVELO_EXPORT ProcessState exchangeProcessState(ProcessState next);
/// Destroys a state that is not the current one.
ZAVELO_EXPORT void destroy(ProcessState state);

}  // namespace zavelo::detail
