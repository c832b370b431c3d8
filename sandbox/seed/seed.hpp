#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "sandbox/api/parameters.hpp"
#include "sandbox/settings/settings.hpp"
#include "zavelo/base/result.hpp"

namespace zavelo::sandbox {

/// The settings of a run.
struct RunSettings {
  Settings settings;
  json::Object written;  ///< what the seed file has of them, as written there
};

/// What a seed file says, each entry checked by itself. docs/sandbox.md has its form.
struct Seed : RunSettings {
  std::vector<Arguments> members;
  std::vector<Arguments> streams;
  std::vector<Arguments> products;
};

/// A larger file is refused, in bytes.
inline constexpr std::uintmax_t seedSizeLimit = 64 * 1024 * 1024;

/// An empty path: the built-in settings and nothing else. The error says what is wrong, and where:
/// `streams[2]: "tagId": expected integer`.
[[nodiscard]] Result<Seed, std::string> readSeed(const std::filesystem::path& file);

/// The sentence for a person about a seed file that cannot be used.
[[nodiscard]] std::string unusableSeed(const std::filesystem::path& file, const std::string& why);

}  // namespace zavelo::sandbox
