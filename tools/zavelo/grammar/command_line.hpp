#pragma once

#include "tools/zavelo/request/request.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::command {

/// The first argument is the program's name.
[[nodiscard]] Result<CommandLine, UsageError> parseCommandLine(int count, const char* const* texts);

}  // namespace zavelo::command
