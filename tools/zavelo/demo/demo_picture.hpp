#pragma once

#include <cstdint>
#include <string>

#include "tools/zavelo/demo/demo_stage.hpp"

namespace zavelo::command {

/// Draws a JPEG of that height into a file of the stage's folder; returns its path.
[[nodiscard]] std::string drawPicture(const DemoStage& stage, const std::string& name,
                                      std::uint32_t height);

/// Fetches the file at an address, which must be a JPEG of that height.
void expectPicture(DemoStage& stage, const std::string& url, std::uint32_t height);

}  // namespace zavelo::command
