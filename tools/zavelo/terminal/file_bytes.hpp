#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "zavelo/base/result.hpp"

namespace zavelo::command {

/// The whole file of at most 64 MiB; or one sentence that names it and says why not.
[[nodiscard]] Result<std::vector<std::byte>, std::string> fileBytes(const std::string& path);

}  // namespace zavelo::command
