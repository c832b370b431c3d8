#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zavelo::command {

/// The file that was asked for, else the one beside the session's.
[[nodiscard]] std::filesystem::path sandboxState(const std::optional<std::string>& asked);

}  // namespace zavelo::command
