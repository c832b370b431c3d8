#pragma once

#include <string>
#include <string_view>

#include "zavelo/base/result.hpp"

namespace zavelo::command {

/// One line, without its end. On a terminal it asks for `what` and does not show what is typed.
[[nodiscard]] Result<std::string, std::string> readSecretLine(std::string_view what);

/// Everything up to the end, at most 64 MiB.
[[nodiscard]] Result<std::string, std::string> readStandardInput();

}  // namespace zavelo::command
