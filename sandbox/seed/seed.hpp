#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/settings/settings.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// What a seed file says, each entry checked by itself. docs/sandbox.md has its form.
struct Seed {
  Settings settings;
  std::vector<Arguments> members;
  std::vector<Arguments> streams;
  std::vector<Arguments> products;
};

/// An empty path: the built-in settings and nothing else. The error says what is wrong, and where:
/// `streams[2]: "tagId": expected integer`.
[[nodiscard]] Result<Seed, std::string> readSeed(const std::filesystem::path& file);

}  // namespace zavelo::sandbox
